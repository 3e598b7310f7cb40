#pragma once

#include <pugixml.hpp>

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace camera::onvif {

/// "xmlns" or "xmlns:..."
bool isDeclaration(std::string_view attributeName);

/// Namespaces, each with the one prefix that our texts have for it.
class NamespaceTable {
public:
    using Row = std::pair<std::string, std::string>; ///< prefix, namespace

    /// Those of the documents that the analytics service takes: it finds elements by these prefixes.
    static const NamespaceTable& ofDocuments();

    /// The same, and those of messages: SOAP, its headers, the services.
    static const NamespaceTable& ofMessages();

    explicit NamespaceTable(std::vector<Row> rows, std::vector<Row> aliases = {});
    NamespaceTable(const NamespaceTable&) = delete;
    NamespaceTable& operator=(const NamespaceTable&) = delete;

    /// Both are valid as long as the table.
    std::optional<std::string_view> prefixOf(std::string_view uri) const;
    std::optional<std::string_view> uriOf(std::string_view prefix) const;
    const std::vector<Row>& rows() const { return _rows; }

private:
    using Texts = std::unordered_map<std::string_view, std::string_view>;

    const std::vector<Row> _rows;
    const std::vector<Row> _aliases; ///< other names of a namespace
    Texts _uris;                     ///< by prefixes; these look-ups are most of the work on a request's names
    Texts _prefixes;                 ///< by namespaces
};

/// Which prefix stands for which namespace at each element of a document. The prefixes of the table count as declared
/// from the start, because documents without declarations are common.
class NamespaceScopes {
public:
    /// @param table  borrowed
    explicit NamespaceScopes(const NamespaceTable& table) : _table(table) {}

    /// Adds the declarations of an element, until the matching leave().
    void enter(const pugi::xml_node& element);
    void leave();

    /// Nothing: not declared. The empty prefix is the default namespace. Valid until the next leave().
    std::optional<std::string_view> find(std::string_view prefix) const;

private:
    const NamespaceTable& _table;
    std::map<std::string, std::vector<std::string>, std::less<>> _bindings; ///< innermost last; empty: undeclared again
    std::vector<std::string> _declared; ///< prefixes, by the open elements in their order
    std::vector<std::size_t> _entered;  ///< how many were declared outside of each open element
};

} // namespace camera::onvif
