#include "camera/onvif/NamespaceScopes.h"

#include <array>
#include <utility>

namespace camera::onvif {

namespace {

const std::array<std::pair<std::string, std::string>, 8>& known()
{
    static const std::array<std::pair<std::string, std::string>, 8> names = {{
        {"tt", "http://www.onvif.org/ver10/schema"},
        {"tns1", "http://www.onvif.org/ver10/topics"},
        {"axt", "http://www.onvif.org/ver20/analytics"},
        {"tan", "http://www.onvif.org/ver20/analytics/wsdl"},
        {"wsnt", "http://docs.oasis-open.org/wsn/b-2"},
        {"xs", "http://www.w3.org/2001/XMLSchema"},
        {"xsi", "http://www.w3.org/2001/XMLSchema-instance"},
        {"vca", "urn:x-virtual-camera:analytics"},
    }};
    return names;
}

} // namespace

bool isDeclaration(const std::string& attributeName)
{
    return attributeName == "xmlns" || attributeName.compare(0, 6, "xmlns:") == 0;
}

std::optional<std::string> canonicalPrefix(const std::string& uri)
{
    for (const auto& [prefix, knownUri] : known()) {
        if (knownUri == uri) {
            return prefix;
        }
    }
    return std::nullopt;
}

std::optional<std::string> canonicalUri(const std::string& prefix)
{
    for (const auto& [knownPrefix, uri] : known()) {
        if (knownPrefix == prefix) {
            return uri;
        }
    }
    return std::nullopt;
}

NamespaceScopes::NamespaceScopes()
{
    for (const auto& [prefix, uri] : known()) {
        _bindings[prefix].push_back(uri);
    }
}

void NamespaceScopes::enter(const pugi::xml_node& element)
{
    std::vector<std::string> declared;
    for (const pugi::xml_attribute& attribute : element.attributes()) {
        const std::string name = attribute.name();
        if (isDeclaration(name)) {
            const std::string prefix = name == "xmlns" ? "" : name.substr(6);
            _bindings[prefix].push_back(attribute.value());
            declared.push_back(prefix);
        }
    }
    _entered.push_back(std::move(declared));
}

void NamespaceScopes::leave()
{
    for (const std::string& prefix : _entered.back()) {
        _bindings[prefix].pop_back();
    }
    _entered.pop_back();
}

std::optional<std::string> NamespaceScopes::find(const std::string& prefix) const
{
    const auto found = _bindings.find(prefix);
    if (found == _bindings.end() || found->second.empty() || found->second.back().empty()) {
        return std::nullopt;
    }
    return found->second.back();
}

} // namespace camera::onvif
