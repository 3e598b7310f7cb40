#include "camera/onvif/NamespaceScopes.h"

#include <utility>

namespace camera::onvif {

namespace {

using Rows = std::vector<NamespaceTable::Row>;

Rows documentRows()
{
    return {
        {"tt", "http://www.onvif.org/ver10/schema"},          {"tns1", "http://www.onvif.org/ver10/topics"},
        {"axt", "http://www.onvif.org/ver20/analytics"},      {"tan", "http://www.onvif.org/ver20/analytics/wsdl"},
        {"wsnt", "http://docs.oasis-open.org/wsn/b-2"},       {"xs", "http://www.w3.org/2001/XMLSchema"},
        {"xsi", "http://www.w3.org/2001/XMLSchema-instance"}, {"vca", "urn:x-virtual-camera:analytics"},
    };
}

Rows messageRows()
{
    Rows rows = documentRows();
    const Rows more = {
        {"env", "http://www.w3.org/2003/05/soap-envelope"},
        {"wsa", "http://www.w3.org/2005/08/addressing"},
        {"wsse", "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-secext-1.0.xsd"},
        {"wsu", "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-utility-1.0.xsd"},
        {"ter", "http://www.onvif.org/ver10/error"},
        {"tds", "http://www.onvif.org/ver10/device/wsdl"},
        {"trt", "http://www.onvif.org/ver10/media/wsdl"},
        {"tr2", "http://www.onvif.org/ver20/media/wsdl"},
        {"tmd", "http://www.onvif.org/ver10/deviceIO/wsdl"},
        {"timg", "http://www.onvif.org/ver20/imaging/wsdl"},
        {"tev", "http://www.onvif.org/ver10/events/wsdl"},
        {"wstop", "http://docs.oasis-open.org/wsn/t-1"},
        {"wsrf-bf", "http://docs.oasis-open.org/wsrf/bf-2"},
        {"wsrf-r", "http://docs.oasis-open.org/wsrf/r-2"},
        {"tptz", "http://www.onvif.org/ver20/ptz/wsdl"},
    };
    rows.insert(rows.end(), more.begin(), more.end());
    return rows;
}

std::optional<std::string_view> valueOf(const std::unordered_map<std::string_view, std::string_view>& map,
                                        std::string_view key)
{
    const auto found = map.find(key);
    return found == map.end() ? std::nullopt : std::optional(found->second);
}

} // namespace

bool isDeclaration(std::string_view attributeName)
{
    return attributeName == "xmlns" || attributeName.substr(0, 6) == "xmlns:";
}

const NamespaceTable& NamespaceTable::ofDocuments()
{
    static const NamespaceTable table(documentRows());
    return table;
}

const NamespaceTable& NamespaceTable::ofMessages()
{
    // The last one is what a common client writes for the analytics service.
    static const NamespaceTable table(messageRows(), {{"tan", "http://www.onvif.org/ver10/analytics"}});
    return table;
}

NamespaceTable::NamespaceTable(std::vector<Row> rows, std::vector<Row> aliases)
    : _rows(std::move(rows)), _aliases(std::move(aliases))
{
    for (const auto& [prefix, uri] : _rows) {
        _uris.emplace(prefix, uri);
        _prefixes.emplace(uri, prefix);
    }
    for (const auto& [prefix, uri] : _aliases) {
        _prefixes.emplace(uri, prefix);
    }
}

std::optional<std::string_view> NamespaceTable::prefixOf(std::string_view uri) const
{
    return valueOf(_prefixes, uri);
}

std::optional<std::string_view> NamespaceTable::uriOf(std::string_view prefix) const
{
    return valueOf(_uris, prefix);
}

void NamespaceScopes::enter(const pugi::xml_node& element)
{
    _entered.push_back(_declared.size());
    for (pugi::xml_attribute attribute = element.first_attribute(); attribute; attribute = attribute.next_attribute()) {
        const std::string_view name = attribute.name();
        if (isDeclaration(name)) {
            _declared.emplace_back(name == "xmlns" ? "" : name.substr(6));
            _bindings[_declared.back()].emplace_back(attribute.value());
        }
    }
}

void NamespaceScopes::leave()
{
    for (; _declared.size() > _entered.back(); _declared.pop_back()) {
        _bindings[_declared.back()].pop_back();
    }
    _entered.pop_back();
}

std::optional<std::string_view> NamespaceScopes::find(std::string_view prefix) const
{
    const auto found = _bindings.find(prefix);
    if (found == _bindings.end() || found->second.empty()) {
        return _table.uriOf(prefix);
    }
    const std::string& uri = found->second.back();
    return uri.empty() ? std::nullopt : std::optional<std::string_view>(uri);
}

} // namespace camera::onvif
