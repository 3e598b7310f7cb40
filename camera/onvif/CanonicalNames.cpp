#include "camera/onvif/CanonicalNames.h"
#include "camera/onvif/XmlText.h"

#include "camera/base/Text.h"
#include "camera/base/Words.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

namespace camera::onvif {

namespace {

[[noreturn]] void refuse(const std::string& text, const std::string& reason, std::ptrdiff_t offset)
{
    const auto end = text.begin() + std::clamp<std::ptrdiff_t>(offset, 0, static_cast<std::ptrdiff_t>(text.size()));
    const auto line = static_cast<std::size_t>(std::count(text.begin(), end, '\n')) + 1;
    const auto lineBegin = std::find(std::make_reverse_iterator(end), text.rend(), '\n').base();
    throw XmlRefusal(reason, line, static_cast<std::size_t>(end - lineBegin) + 1);
}

/// Calls enter for an element, then the same for those in it, then leave. It follows pointers instead of recursion,
/// because a hostile document may be nested very deeply.
template <class Enter, class Leave>
void walk(const pugi::xml_node& root, const Enter& enter, const Leave& leave)
{
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
                leave(node);
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

std::string_view prefixOf(std::string_view name)
{
    const std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? "" : name.substr(0, colon);
}

/// Whether the value of an attribute is a name itself. The type of a password is an address.
bool isNameValue(std::string_view element, std::string_view attribute)
{
    if (attribute == "Name") {
        return element == "tt:RuleDescription" || element == "tt:AnalyticsModuleDescription";
    }
    if (attribute == "RuleType" || attribute == "AnalyticsModule") {
        return prefixOf(element) == "tan";
    }
    return attribute == "xsi:type" || (attribute == "Type" && prefixOf(element) != "wsse");
}

/// Whether what stands in an element is a list of names, often of one.
bool isNameText(std::string_view element)
{
    return element == "tan:RuleType" || element == "tan:Type" || element == "wsd:Types";
}

/// Whether what stands in an element is a topic or a filter, whose names have prefixes.
bool isExpressionText(std::string_view element)
{
    return element == "wsnt:TopicExpression" || element == "wsnt:MessageContent" || element == "tt:ParentTopic";
}

bool isText(const pugi::xml_node& node)
{
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

bool isBlank(const pugi::xml_node& text)
{
    return text.type() == pugi::node_pcdata &&
           std::string_view(text.value()).find_first_not_of(" \t\r\n") == std::string_view::npos;
}

/// Makes one text of the nodes that the parser leaves where a comment stood in it, because readers look at the first.
/// What references wrote becomes what the parser makes of it without them: a blank text goes, a CR is a line end.
void tidyTexts(pugi::xml_node element)
{
    for (pugi::xml_node child = element.first_child(); child;) {
        const pugi::xml_node text = child;
        child = child.next_sibling();
        if (!isText(text)) {
            continue;
        }
        if (isText(child) || std::string_view(text.value()).find('\r') != std::string_view::npos) {
            std::string whole = text.value();
            for (; isText(child); child = text.next_sibling()) {
                whole += child.value();
                element.remove_child(child);
            }
            std::replace(whole.begin(), whole.end(), '\r', '\n');
            pugi::xml_node(text).set_value(whole.c_str());
        }
        if (isBlank(text)) {
            element.remove_child(text);
        }
    }
}

bool isNameCharacter(char character)
{
    const bool letter = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
    return letter || (character >= '0' && character <= '9') || character == '_' || character == '-' ||
           character == '.' || (static_cast<unsigned char>(character) & 0x80U) != 0;
}

/// An expression with other prefixes: each that stands outside of quotes is replaced.
template <class Replace>
std::string withPrefixes(const std::string& expression, const Replace& replace)
{
    std::string out;
    for (std::size_t at = 0; at < expression.size();) {
        std::size_t end = at + 1;
        if (expression[at] == '"' || expression[at] == '\'') {
            const std::size_t quote = expression.find(expression[at], end);
            end = quote == std::string::npos ? expression.size() : quote + 1;
        }
        while (isNameCharacter(expression[at]) && end < expression.size() && isNameCharacter(expression[end])) {
            ++end;
        }
        const std::string piece = expression.substr(at, end - at);
        const bool isPrefix =
            isNameCharacter(piece[0]) && expression.compare(end, 1, ":") == 0 && expression.compare(end, 2, "::") != 0;
        out += isPrefix ? replace(piece) : piece;
        at = end;
    }
    return out;
}

class Rewriter {
public:
    Rewriter(const std::string& text, const NamespaceTable& table, std::size_t mostDeep)
        : _text(text), _table(table), _mostDeep(mostDeep), _scopes(table)
    {
    }

    void rewrite(const pugi::xml_node& root)
    {
        walk(
            root, [this](pugi::xml_node element) { enter(element); }, [this](const pugi::xml_node&) { leave(); });
    }

private:
    void enter(pugi::xml_node node)
    {
        if (++_depth > _mostDeep) {
            refuse(_text, "more than " + std::to_string(_mostDeep) + " elements stand within each other",
                   node.offset_debug());
        }
        tidyTexts(node);
        _scopes.enter(node);
        const std::optional<std::string> newName = renamed(node, node.name(), true);
        const std::string_view name = newName ? std::string_view(*newName) : node.name();
        std::vector<pugi::xml_attribute> declarations;
        for (pugi::xml_attribute attribute = node.first_attribute(); attribute;
             attribute = attribute.next_attribute()) {
            if (isDeclaration(attribute.name())) {
                refuseEmpty(attribute, node);
                declarations.push_back(attribute);
            } else {
                renameAttribute(node, name, attribute);
            }
        }
        if (isNameText(name)) {
            std::vector<std::string> names = base::wordsIn(node.text().get());
            std::transform(names.begin(), names.end(), names.begin(),
                           [&](const std::string& each) { return renamed(node, each, true).value_or(each); });
            node.text().set(base::spaced(names).c_str());
        }
        if (isExpressionText(name)) {
            const auto ours = [this](const std::string& prefix) { return expressionPrefix(prefix); };
            node.text().set(withPrefixes(base::trimmed(node.text().get()), ours).c_str());
        }
        // Last, so that a refusal names the element as its author wrote it.
        if (newName) {
            node.set_name(newName->c_str());
        }
        for (const pugi::xml_attribute& declaration : declarations) {
            node.remove_attribute(declaration);
        }
        keepWithoutNamespace();
        for (const auto& [prefix, uri] : _carried) {
            node.append_attribute(prefix.empty() ? "xmlns" : ("xmlns:" + prefix).c_str()).set_value(uri.c_str());
        }
        _carried.clear();
    }

    /// Only the default may be taken back (Namespaces in XML 1.0, section 5).
    void refuseEmpty(const pugi::xml_attribute& declaration, const pugi::xml_node& node) const
    {
        if (std::string_view(declaration.name()) != "xmlns" && std::string_view(declaration.value()).empty()) {
            refuse(_text,
                   "the element '" + std::string(node.name()) + "' declares '" + declaration.name() +
                       "' as an empty namespace; only xmlns may be empty",
                   node.offset_debug());
        }
    }

    void leave()
    {
        _scopes.leave();
        _hasDefault.pop_back();
        --_depth;
    }

    /// What its author took out of the default namespace that is carried stays out of it.
    void keepWithoutNamespace()
    {
        const bool inherited = !_hasDefault.empty() && _hasDefault.back();
        const bool own = !_carried.empty() && _carried.count("") != 0;
        const bool takenOut = inherited && !own && !_scopes.find("");
        if (takenOut) {
            _carried[""] = "";
        }
        _hasDefault.push_back(own || (inherited && !takenOut));
    }

    void renameAttribute(const pugi::xml_node& node, std::string_view element, pugi::xml_attribute attribute)
    {
        if (std::string_view(attribute.name()).find(':') != std::string_view::npos) {
            if (const auto name = renamed(node, attribute.name(), false)) {
                attribute.set_name(name->c_str());
            }
        }
        // A value without a prefix stays when there is no default namespace.
        if (isNameValue(element, attribute.name())) {
            if (const auto value = renamed(node, attribute.value(), true)) {
                attribute.set_value(value->c_str());
            }
        }
    }

    /// A prefix that is not declared stays: the operation refuses the expression.
    std::string expressionPrefix(const std::string& prefix)
    {
        const auto uri = _scopes.find(prefix);
        if (const auto ours = uri ? _table.prefixOf(*uri) : std::nullopt) {
            return std::string(*ours);
        }
        if (_table.uriOf(prefix)) {
            return "other"; // the client gives one of our prefixes another meaning
        }
        if (uri) {
            _carried[prefix] = *uri;
        }
        return prefix;
    }

    /// Nothing: the name stays. @throws XmlRefusal
    std::optional<std::string> renamed(const pugi::xml_node& node, std::string_view name, bool defaultApplies)
    {
        const std::string_view prefix = prefixOf(name);
        if (prefix == "xml" || (prefix.empty() && !defaultApplies)) {
            return std::nullopt;
        }
        const auto uri = _scopes.find(prefix);
        if (!uri) {
            if (prefix.empty()) {
                return std::nullopt;
            }
            const std::string missing(prefix);
            refuse(_text,
                   "the element '" + std::string(node.name()) + "' uses the prefix '" + missing +
                       "', which stands for no namespace; declare it with xmlns:" + missing + "=\"...\"",
                   node.offset_debug());
        }
        if (const auto canonical = _table.prefixOf(*uri)) {
            const std::string_view local = prefix.empty() ? name : name.substr(prefix.size() + 1);
            return *canonical == prefix ? std::nullopt
                                        : std::optional(std::string(*canonical) + ":" + std::string(local));
        }
        if (const auto kept = _table.uriOf(prefix)) {
            refuse(_text,
                   "the element '" + std::string(node.name()) + "' uses the prefix '" + std::string(prefix) +
                       "' for '" + std::string(*uri) + "', but it is kept for '" + std::string(*kept) +
                       "'; choose another prefix",
                   node.offset_debug());
        }
        _carried.insert_or_assign(std::string(prefix), *uri);
        return std::nullopt;
    }

    const std::string& _text;
    const NamespaceTable& _table;
    const std::size_t _mostDeep;
    NamespaceScopes _scopes;
    std::size_t _depth = 0;
    std::vector<bool> _hasDefault; ///< of each element within the other, whether it stands in a default that is carried
    std::map<std::string, std::string> _carried; ///< what the element that is entered must declare itself
};

} // namespace

namespace {

/// The number that a reference has, at most one beyond what Unicode has.
std::uint32_t characterOf(std::string_view digits, std::uint32_t base)
{
    constexpr std::uint32_t kBeyond = 0x110000;
    std::uint32_t character = 0;
    for (const char digit : digits) {
        const int lower = std::tolower(static_cast<unsigned char>(digit));
        character =
            std::min(kBeyond, character * base + static_cast<std::uint32_t>(lower - (lower > '9' ? 'a' - 10 : '0')));
    }
    return character;
}

/// A control character passes: a rule that is stored with one stays readable.
bool isCharacter(std::uint32_t character)
{
    return (character > 0 && character < 0xD800) || (character >= 0xE000 && character <= 0x10FFFF);
}

/// Where a reference to no character of Unicode stands. The parser takes it, some as the end of a text, because it
/// counts in 32 bits.
std::size_t wrongReference(const std::string& text)
{
    for (std::size_t at = text.find("&#"); at != std::string::npos; at = text.find("&#", at + 2)) {
        const bool hexadecimal = text.compare(at + 2, 1, "x") == 0;
        const std::size_t begin = at + (hexadecimal ? 3 : 2);
        const std::size_t end = text.find_first_not_of(hexadecimal ? "0123456789abcdefABCDEF" : "0123456789", begin);
        if (end != std::string::npos && end != begin && text[end] == ';' &&
            !isCharacter(characterOf(std::string_view(text).substr(begin, end - begin), hexadecimal ? 16 : 10))) {
            return at;
        }
    }
    return std::string::npos;
}

} // namespace

pugi::xml_document parsed(const std::string& text)
{
    if (const std::size_t at = wrongReference(text); at != std::string::npos) {
        refuse(text, "this is no well-formed XML: a reference to no character", static_cast<std::ptrdiff_t>(at));
    }
    pugi::xml_document document;
    const pugi::xml_parse_result result =
        document.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_doctype, pugi::encoding_utf8);
    if (!result) {
        refuse(text, std::string("this is no well-formed XML: ") + result.description(), result.offset);
    }
    for (const pugi::xml_node& node : document.children()) {
        if (node.type() == pugi::node_doctype) {
            refuse(text, "a DOCTYPE is not accepted", node.offset_debug());
        }
    }
    if (!document.document_element()) {
        refuse(text, "there is no element in it", 0);
    }
    return document;
}

std::string makeCanonical(const pugi::xml_document& document, const std::string& text, const NamespaceTable& table,
                          std::size_t mostDeep)
{
    const pugi::xml_node root = document.document_element();
    std::string original = root.name();
    Rewriter(text, table, mostDeep).rewrite(root);
    return original;
}

void declareUsed(pugi::xml_node element, const NamespaceTable& table)
{
    std::set<std::string> used;
    const auto note = [&used, &table](std::string_view name) {
        if (const std::string_view prefix = prefixOf(name); table.uriOf(prefix)) {
            used.emplace(prefix);
        }
    };
    const auto noteAll = [&note](const pugi::xml_node& node) {
        note(node.name());
        for (const pugi::xml_attribute& attribute : node.attributes()) {
            note(attribute.name());
            if (isNameValue(node.name(), attribute.name())) {
                note(attribute.value());
            }
        }
        if (isNameText(node.name())) {
            for (const std::string& name : base::wordsIn(node.text().get())) {
                note(name);
            }
        }
        if (isExpressionText(node.name())) {
            withPrefixes(node.text().get(), [&note](const std::string& prefix) {
                note(prefix + ":");
                return prefix;
            });
        }
    };
    walk(element, noteAll, [](const pugi::xml_node&) {});
    for (auto prefix = used.rbegin(); prefix != used.rend(); ++prefix) {
        const std::string name = "xmlns:" + *prefix;
        if (!element.attribute(name.c_str())) {
            element.prepend_attribute(name.c_str()).set_value(std::string(*table.uriOf(*prefix)).c_str());
        }
    }
}

std::string canonicalDocument(const std::string& text, const std::string& rootName)
{
    const NamespaceTable& table = NamespaceTable::ofDocuments();
    const pugi::xml_document document = parsed(text);
    const pugi::xml_node root = document.document_element();
    const std::ptrdiff_t offset = root.offset_debug();
    const std::string original = makeCanonical(document, text, table);
    if (rootName != root.name()) {
        refuse(text, "its root element is '" + original + "', but a configuration's is '" + rootName + "'", offset);
    }
    declareUsed(root, table);
    return printed(root);
}

} // namespace camera::onvif
