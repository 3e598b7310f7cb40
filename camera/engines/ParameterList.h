#pragma once

#include <pugixml.hpp>

#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace camera::engines {

/// Why a component is not accepted: which parameter, with which value, and what it takes.
class Refusal : public std::runtime_error {
public:
    explicit Refusal(const std::string& reason) : std::runtime_error(reason) {}
    Refusal(const std::string& parameter, const std::string& value, const std::string& reason);
};

/**
 * The tt:Parameters of one component. Every parameter is asked for by its type: an absent one is
 * filled in with its default, one that no reader asked for is refused at the end.
 *
 * All readers throw Refusal. Thread-bound; borrows the document that it was read from.
 */
class ParameterList {
public:
    /// @param parameters the tt:Parameters element; a null node means that the component has none.
    explicit ParameterList(const pugi::xml_node& parameters);

    long integer(const std::string& name, long fallback, long lowest, long highest);
    double real(const std::string& name, double fallback, double lowest, double highest);
    std::string text(const std::string& name, const std::string& fallback);

    /// As boolean and text, but an absent parameter stays absent.
    bool optionalBoolean(const std::string& name, bool fallback);
    void optionalText(const std::string& name);

    /// The only child of the element item of this name; a null node when there is no such item.
    pugi::xml_node element(const std::string& name);

    /// Replaces the element item by this text of its child.
    void setElement(const std::string& name, const std::string& child);

    /// @throws Refusal when the list holds a parameter that was not asked for.
    void finish() const;

    /// The completed list as one tt:Parameters element: the simple items, then the element items.
    std::string print() const;

private:
    struct Item {
        std::string name;
        std::string value; ///< of an element item: the text of its child
        pugi::xml_node child;
        bool simple = true;
        bool asked = false;
    };

    void add(const pugi::xml_node& node);
    Item* find(const std::string& name, bool simple);
    const std::string& valueOf(const std::string& name, const std::string& fallback);

    std::vector<Item> _items;
};

/// Reads a printed tt:Parameters element that is known to be complete: what read(list) returns.
template <typename Read>
auto readParameters(const std::string& text, Read read)
{
    pugi::xml_document document;
    document.load_string(text.c_str());
    ParameterList parameters(document.child("tt:Parameters"));
    return read(parameters);
}

/// Reads a number of an attribute or value.
long parseInteger(const std::string& name, const std::string& value, long lowest, long highest);
double parseReal(const std::string& name, const std::string& value, double lowest, double highest);
bool parseBoolean(const std::string& name, const std::string& value);

/// @throws Refusal unless the element's children all bear one of the names and its attributes too;
///         declarations of prefixes are no attributes.
void allowOnly(const std::string& parameter, const pugi::xml_node& element, const std::set<std::string>& children,
               const std::set<std::string>& attributes);

/// The shortest text of a number that is read back unchanged to six decimals.
std::string printReal(double value);

} // namespace camera::engines
