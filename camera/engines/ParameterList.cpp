#include "camera/engines/ParameterList.h"

#include "camera/engines/EngineLog.h"

#include <algorithm>
#include <charconv>
#include <sstream>

namespace camera::engines {

namespace {

constexpr char kSimpleItem[] = "tt:SimpleItem";
constexpr char kElementItem[] = "tt:ElementItem";

std::string trimmed(const std::string& text)
{
    constexpr char kBlank[] = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlank);
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

template <typename Number>
bool parseNumber(const std::string& value, Number lowest, Number highest, Number& number)
{
    std::string digits = trimmed(value);
    if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-') {
        digits.erase(0, 1);
    }
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number);
    // A NaN fails both comparisons.
    return error == std::errc() && stop == end && number >= lowest && number <= highest;
}

std::string printNode(const pugi::xml_node& node)
{
    std::ostringstream text;
    node.print(text, "", pugi::format_raw);
    return text.str();
}

} // namespace

Refusal::Refusal(const std::string& parameter, const std::string& value, const std::string& reason)
    : std::runtime_error("parameter '" + forLog(parameter) + "' with value '" + forLog(value) + "': " + reason)
{
}

ParameterList::ParameterList(const pugi::xml_node& parameters)
{
    if (!parameters) {
        throw Refusal("it has no tt:Parameters list");
    }
    for (const pugi::xml_node& child : parameters.children()) {
        add(child);
    }
}

void ParameterList::add(const pugi::xml_node& node)
{
    if (node.type() != pugi::node_element) {
        throw Refusal(node.name(), node.value(), "text is no parameter");
    }
    Item item;
    item.name = node.attribute("Name").value();
    item.simple = std::string(node.name()) == kSimpleItem;
    if (item.simple) {
        item.value = node.attribute("Value").value();
        if (!node.attribute("Value")) {
            throw Refusal(item.name, "", "a simple item needs a Value");
        }
    } else if (std::string(node.name()) == kElementItem) {
        item.child = node.first_child();
        if (item.child.type() != pugi::node_element || item.child.next_sibling()) {
            throw Refusal(item.name, node.child_value(), "an element item holds exactly one element");
        }
        item.value = item.child.name(); // what a refusal shows until the element is replaced
    } else {
        throw Refusal(node.name(), item.name, "only tt:SimpleItem and tt:ElementItem are parameters");
    }
    for (const Item& other : _items) {
        if (other.name == item.name) {
            throw Refusal(item.name, item.value, "the name stands twice");
        }
    }
    _items.push_back(std::move(item));
}

ParameterList::Item* ParameterList::find(const std::string& name, bool simple)
{
    for (Item& item : _items) {
        if (item.name == name) {
            if (item.simple != simple) {
                throw Refusal(name, item.value,
                              simple ? "it is a simple item, not an element" : "it is an element item");
            }
            item.asked = true;
            return &item;
        }
    }
    return nullptr;
}

const std::string& ParameterList::valueOf(const std::string& name, const std::string& fallback)
{
    if (const Item* item = find(name, true)) {
        return item->value;
    }
    Item item;
    item.name = name;
    item.value = fallback;
    item.asked = true;
    _items.push_back(std::move(item));
    return _items.back().value;
}

long ParameterList::integer(const std::string& name, long fallback, long lowest, long highest)
{
    return parseInteger(name, valueOf(name, std::to_string(fallback)), lowest, highest);
}

double ParameterList::real(const std::string& name, double fallback, double lowest, double highest)
{
    return parseReal(name, valueOf(name, printReal(fallback)), lowest, highest);
}

std::string ParameterList::text(const std::string& name, const std::string& fallback)
{
    return valueOf(name, fallback);
}

bool ParameterList::optionalBoolean(const std::string& name, bool fallback)
{
    const Item* item = find(name, true);
    return item == nullptr ? fallback : parseBoolean(name, item->value);
}

void ParameterList::optionalText(const std::string& name)
{
    find(name, true);
}

pugi::xml_node ParameterList::element(const std::string& name)
{
    const Item* item = find(name, false);
    return item == nullptr ? pugi::xml_node() : item->child;
}

void ParameterList::setElement(const std::string& name, const std::string& child)
{
    Item* item = find(name, false);
    if (item == nullptr) {
        item = &_items.emplace_back();
        item->name = name;
        item->simple = false;
        item->asked = true;
    }
    item->child = pugi::xml_node();
    item->value = child;
}

void ParameterList::finish() const
{
    for (const Item& item : _items) {
        if (!item.asked) {
            throw Refusal(item.name, item.value, "there is no such parameter");
        }
    }
}

std::string ParameterList::print() const
{
    pugi::xml_document document;
    pugi::xml_node list = document.append_child("tt:Parameters");
    for (const bool simple : {true, false}) {
        for (const Item& item : _items) {
            if (item.simple != simple) {
                continue;
            }
            pugi::xml_node node = list.append_child(simple ? kSimpleItem : kElementItem);
            node.append_attribute("Name").set_value(item.name.c_str());
            if (simple) {
                node.append_attribute("Value").set_value(item.value.c_str());
            } else if (item.child) {
                node.append_copy(item.child);
            } else {
                node.append_buffer(item.value.data(), item.value.size());
            }
        }
    }
    return printNode(list);
}

long parseInteger(const std::string& name, const std::string& value, long lowest, long highest)
{
    long number = 0;
    if (!parseNumber(value, lowest, highest, number)) {
        throw Refusal(name, value,
                      "it takes a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest));
    }
    return number;
}

double parseReal(const std::string& name, const std::string& value, double lowest, double highest)
{
    double number = 0;
    if (!parseNumber(value, lowest, highest, number)) {
        throw Refusal(name, value, "it takes a number from " + printReal(lowest) + " to " + printReal(highest));
    }
    return number;
}

bool parseBoolean(const std::string& name, const std::string& value)
{
    const std::string word = trimmed(value);
    if (word != "true" && word != "false" && word != "1" && word != "0") {
        throw Refusal(name, value, "it takes true or false");
    }
    return word == "true" || word == "1";
}

void allowOnly(const std::string& parameter, const pugi::xml_node& element, const std::set<std::string>& children,
               const std::set<std::string>& attributes)
{
    for (const pugi::xml_node& child : element.children()) {
        if (children.count(child.name()) == 0) {
            throw Refusal(parameter, child.type() == pugi::node_element ? child.name() : child.value(),
                          std::string(element.name()) + " does not hold this");
        }
    }
    for (const pugi::xml_attribute& attribute : element.attributes()) {
        const std::string name = attribute.name();
        if (attributes.count(name) == 0 && name != "xmlns" && name.rfind("xmlns:", 0) != 0) {
            throw Refusal(parameter, attribute.value(),
                          std::string(element.name()) + " has no attribute '" + forLog(name) + "'");
        }
    }
}

std::string printReal(double value)
{
    char text[400]; // the longest double without an exponent
    const auto [end, error] = std::to_chars(text, text + sizeof(text), value, std::chars_format::fixed, 6);
    std::string digits(text, error == std::errc() ? end : text);
    digits.erase(digits.find_last_not_of('0') + 1);
    if (!digits.empty() && digits.back() == '.') {
        digits.pop_back();
    }
    return digits == "-0" ? "0" : digits;
}

} // namespace camera::engines
