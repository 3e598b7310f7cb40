#include "camera/onvif/CanonicalNames.h"

#include "camera/onvif/NamespaceScopes.h"

#include <pugixml.hpp>

#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <vector>

namespace camera::onvif {

namespace {

/// Walks a document once and renames on the way. It follows pointers instead of recursion, because a
/// hostile document may be nested very deeply.
class Rewriter {
public:
    explicit Rewriter(const std::string& text) : _text(text)
    {
        const pugi::xml_parse_result result = _document.load_buffer(
            text.data(), text.size(), pugi::parse_default | pugi::parse_doctype, pugi::encoding_utf8);
        if (!result) {
            refuse(std::string("this is no well-formed XML: ") + result.description(), result.offset);
        }
        for (const pugi::xml_node& node : _document.children()) {
            if (node.type() == pugi::node_doctype) {
                refuse("a DOCTYPE is not accepted", node.offset_debug());
            }
        }
    }

    std::string rewrite(const std::string& rootName)
    {
        const pugi::xml_node root = _document.document_element();
        if (!root) {
            refuse("there is no element in it", 0);
        }
        walk(root);
        if (rootName != root.name()) {
            refuse("its root element is '" + _originalRootName + "', but a configuration's is '" + rootName + "'",
                   root.offset_debug());
        }
        declareOnRoot(root);
        std::ostringstream out;
        _document.document_element().print(out, "", pugi::format_raw);
        return out.str();
    }

private:
    [[noreturn]] void refuse(const std::string& reason, std::ptrdiff_t offset) const
    {
        std::size_t line = 1;
        std::size_t column = 1;
        for (std::ptrdiff_t i = 0; i < offset && i < static_cast<std::ptrdiff_t>(_text.size()); ++i) {
            if (_text[static_cast<std::size_t>(i)] == '\n') {
                ++line;
                column = 1;
            } else {
                ++column;
            }
        }
        throw XmlRefusal(reason, line, column);
    }

    void walk(pugi::xml_node root)
    {
        _originalRootName = root.name();
        pugi::xml_node node = root;
        for (;;) {
            if (node.type() == pugi::node_element) {
                enter(node);
            }
            if (node.type() == pugi::node_element && node.first_child()) {
                node = node.first_child();
                continue;
            }
            for (;;) {
                if (node.type() == pugi::node_element) {
                    _scopes.leave();
                }
                if (node == root) {
                    return;
                }
                if (node.next_sibling()) {
                    node = node.next_sibling();
                    break;
                }
                node = node.parent();
            }
        }
    }

    void enter(pugi::xml_node node)
    {
        _scopes.enter(node);
        const std::string original = node.name();
        Carried carried;
        // Attributes first, so that a refusal names the element as its author wrote it.
        std::vector<pugi::xml_attribute> declarations;
        for (pugi::xml_attribute attribute : node.attributes()) {
            if (isDeclaration(attribute.name())) {
                declarations.push_back(attribute);
            }
        }
        for (pugi::xml_attribute attribute : node.attributes()) {
            if (!isDeclaration(attribute.name())) {
                renameAttribute(node, attribute, carried);
            }
        }
        node.set_name(renamed(node, original, true, carried).c_str());
        for (pugi::xml_attribute declaration : declarations) {
            node.remove_attribute(declaration);
        }
        for (const auto& [prefix, uri] : carried) {
            node.append_attribute(prefix.empty() ? "xmlns" : ("xmlns:" + prefix).c_str()).set_value(uri.c_str());
        }
    }

    using Carried = std::map<std::string, std::string>;

    void renameAttribute(const pugi::xml_node& node, pugi::xml_attribute attribute, Carried& carried)
    {
        const std::string name = attribute.name();
        std::string localName = name;
        if (const std::size_t colon = name.find(':'); colon != std::string::npos) {
            localName = renamed(node, name, false, carried);
            attribute.set_name(localName.c_str());
        }
        // The values of these two are names. A value without a prefix stays when there is no default namespace.
        if (localName == "Type" || localName == "xsi:type") {
            attribute.set_value(renamed(node, attribute.value(), true, carried).c_str());
        }
    }

    std::string renamed(const pugi::xml_node& node, const std::string& name, bool defaultApplies, Carried& carried)
    {
        const std::size_t colon = name.find(':');
        const std::string prefix = colon == std::string::npos ? "" : name.substr(0, colon);
        const std::string local = colon == std::string::npos ? name : name.substr(colon + 1);
        if (prefix == "xml" || (prefix.empty() && !defaultApplies)) {
            return name;
        }
        const std::optional<std::string> uri = _scopes.find(prefix);
        if (!uri) {
            if (prefix.empty()) {
                return name;
            }
            refuse("the element '" + std::string(node.name()) + "' uses the prefix '" + prefix +
                       "', which stands for no namespace; declare it with xmlns:" + prefix + "=\"...\"",
                   node.offset_debug());
        }
        if (const std::optional<std::string> canonical = canonicalPrefix(*uri)) {
            _used.insert(*canonical);
            return *canonical + ":" + local;
        }
        if (!prefix.empty() && canonicalUri(prefix)) {
            refuse("the element '" + std::string(node.name()) + "' uses the prefix '" + prefix + "' for '" + *uri +
                       "', but it is kept for '" + *canonicalUri(prefix) + "'; choose another prefix",
                   node.offset_debug());
        }
        carried[prefix] = *uri;
        return name;
    }

    void declareOnRoot(pugi::xml_node root)
    {
        _used.insert("tt");
        for (auto prefix = _used.rbegin(); prefix != _used.rend(); ++prefix) {
            root.prepend_attribute(("xmlns:" + *prefix).c_str()).set_value(canonicalUri(*prefix)->c_str());
        }
    }

    const std::string& _text;
    pugi::xml_document _document;
    NamespaceScopes _scopes;
    std::set<std::string> _used;
    std::string _originalRootName;
};

} // namespace

std::string canonicalDocument(const std::string& text, const std::string& rootName)
{
    return Rewriter(text).rewrite(rootName);
}

} // namespace camera::onvif
