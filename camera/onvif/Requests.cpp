#include "camera/onvif/Requests.h"

#include "camera/base/Text.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace camera::onvif {

namespace {

bool boolOf(const char* name, const std::string& text)
{
    if (text == "true" || text == "1") {
        return true;
    }
    if (text == "false" || text == "0") {
        return false;
    }
    throw Fault::sender({"ter:InvalidArgVal"}, std::string(name) + " is true or false");
}

} // namespace

std::optional<std::string> optionalText(const pugi::xml_node& parent, const char* name)
{
    const pugi::xml_node found = parent.child(name);
    return found ? std::optional(base::trimmed(found.text().get())) : std::nullopt;
}

std::string requiredText(const pugi::xml_node& parent, const char* name)
{
    if (auto text = optionalText(parent, name)) {
        return std::move(*text);
    }
    throw Fault::sender({"ter:InvalidArgs"}, std::string(name) + " is missing");
}

std::vector<std::string> textsOf(const pugi::xml_node& parent, const char* name)
{
    std::vector<std::string> texts;
    for (const pugi::xml_node& node : parent.children(name)) {
        texts.push_back(base::trimmed(node.text().get()));
    }
    return texts;
}

bool requiredBool(const pugi::xml_node& parent, const char* name)
{
    return boolOf(name, requiredText(parent, name));
}

bool optionalBool(const pugi::xml_node& parent, const char* name, bool otherwise)
{
    const auto text = optionalText(parent, name);
    return text ? boolOf(name, *text) : otherwise;
}

double numberIn(const char* name, const std::string& text)
{
    double number = 0;
    const char* const begin = text.data() + (text.size() > 1 && text[0] == '+' && text[1] != '-' ? 1 : 0);
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(begin, end, number);
    if (result.ec != std::errc() || result.ptr != end || !std::isfinite(number)) {
        throw Fault::sender({"ter:InvalidArgVal"}, std::string(name) + " is a number");
    }
    return number;
}

int wholeNumberIn(const char* name, const std::string& text)
{
    const double number = numberIn(name, text);
    if (number != std::floor(number) || std::abs(number) > std::numeric_limits<int>::max()) {
        throw Fault::sender({"ter:InvalidArgVal"}, std::string(name) + " is a whole number");
    }
    return static_cast<int>(number);
}

Done answerWhenDone(const std::shared_ptr<const Call>& call, const Reply& reply)
{
    return [call, reply](const std::optional<Fault>& failure) {
        if (failure) {
            reply(*failure);
        } else {
            reply(call->answer());
        }
    };
}

pugi::xml_node put(pugi::xml_node parent, const char* name, const std::string& text)
{
    return put(parent, name, text.c_str());
}

pugi::xml_node put(pugi::xml_node parent, const char* name, const char* text)
{
    pugi::xml_node node = parent.append_child(name);
    node.text().set(text);
    return node;
}

pugi::xml_node put(pugi::xml_node parent, const char* name, bool value)
{
    return put(parent, name, value ? "true" : "false");
}

pugi::xml_node put(pugi::xml_node parent, const char* name, int value)
{
    pugi::xml_node node = parent.append_child(name);
    node.text().set(value);
    return node;
}

pugi::xml_node put(pugi::xml_node parent, const char* name, double value)
{
    return put(parent, name, base::shortNumber(value));
}

} // namespace camera::onvif
