#pragma once

#include <pugixml.hpp>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace camera::onvif {

/// "xmlns" or "xmlns:..."
bool isDeclaration(const std::string& attributeName);

/// The prefix under which the analytics service knows a namespace, if it knows it.
std::optional<std::string> canonicalPrefix(const std::string& uri);
std::optional<std::string> canonicalUri(const std::string& prefix);

/// Which prefix stands for which namespace at each element of a document. The prefixes that the service knows
/// count as declared from the start, because documents without declarations are common.
class NamespaceScopes {
public:
    NamespaceScopes();

    /// Adds the declarations of an element, until the matching leave().
    void enter(const pugi::xml_node& element);
    void leave();

    /// Nothing: not declared. The empty prefix is the default namespace.
    std::optional<std::string> find(const std::string& prefix) const;

private:
    std::map<std::string, std::vector<std::string>> _bindings; ///< innermost last; empty text: undeclared again
    std::vector<std::vector<std::string>> _entered;            ///< prefixes declared by each open element
};

} // namespace camera::onvif
