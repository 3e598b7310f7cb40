#pragma once

#include "camera/onvif/Fault.h"
#include "camera/onvif/Kept.h"
#include "camera/onvif/Operations.h"

#include <pugixml.hpp>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace camera::onvif {

// What operations read of their requests and write into their answers.

/// The text of an element without blanks around it; nothing when there is no such element.
std::optional<std::string> optionalText(const pugi::xml_node& parent, const char* name);

/// @throws Fault ter:InvalidArgs when there is no such element.
std::string requiredText(const pugi::xml_node& parent, const char* name);

/// The texts of all elements of that name.
std::vector<std::string> textsOf(const pugi::xml_node& parent, const char* name);

/// "true", "false", "1" or "0". @throws Fault ter:InvalidArgVal for anything else, ter:InvalidArgs without the element.
bool requiredBool(const pugi::xml_node& parent, const char* name);
bool optionalBool(const pugi::xml_node& parent, const char* name, bool otherwise);

/// A number that is finite. @param name  of what has the text, for a refusal. @throws Fault ter:InvalidArgVal
double numberIn(const char* name, const std::string& text);
/// A whole number that an int can be.
int wholeNumberIn(const char* name, const std::string& text);

/// Adds an element with a text.
pugi::xml_node put(pugi::xml_node parent, const char* name, const std::string& text);
pugi::xml_node put(pugi::xml_node parent, const char* name, const char* text);
pugi::xml_node put(pugi::xml_node parent, const char* name, bool value);
pugi::xml_node put(pugi::xml_node parent, const char* name, int value);
pugi::xml_node put(pugi::xml_node parent, const char* name, double value);

/// Replies with an answer that a function makes, or with the fault that it throws.
template <class Make>
void replyWith(const Reply& reply, const Make& make)
{
    const auto outcome = [&make]() -> Outcome<Answer> {
        try {
            return make();
        } catch (...) {
            return Fault::current();
        }
    };
    reply(outcome());
}

/// Asks for a value, and replies with the answer that is made of it.
template <class T, class Make>
void askAndAnswer(const Ask<T>& ask, const Reply& reply, Make make)
{
    ask([reply, make = std::move(make)](const Outcome<T>& outcome) {
        if (const auto* const fault = std::get_if<Fault>(&outcome)) {
            reply(*fault);
        } else {
            replyWith(reply, [&] { return make(std::get<T>(outcome)); });
        }
    });
}

/// What replies to a call with an empty answer, or with the failure. It keeps the call alive.
Done answerWhenDone(const std::shared_ptr<const Call>& call, const Reply& reply);

/// Changes a kept value, and replies with an empty answer to the call when this is durable.
template <class T>
void changeAndAnswer(Kept<T>& kept, typename Kept<T>::Edit edit, const std::shared_ptr<const Call>& call,
                     const Reply& reply)
{
    kept.change(std::move(edit), answerWhenDone(call, reply));
}

/// Changes a kept value, and replies with the answer that a function makes when this is durable.
template <class T, class Make>
void changeAndAnswer(Kept<T>& kept, typename Kept<T>::Edit edit, const Reply& reply, Make make)
{
    kept.change(std::move(edit), [reply, make = std::move(make)](const std::optional<Fault>& failure) {
        if (failure) {
            reply(*failure);
        } else {
            replyWith(reply, make);
        }
    });
}

} // namespace camera::onvif
