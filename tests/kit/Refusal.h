#pragma once

#include <exception>
#include <string>
#include <utility>

namespace kit {

/// What an action says when it throws this kind of error; "not refused" when it throws nothing.
template <class Error = std::exception, class Action>
std::string refusalOf(Action&& action)
{
    try {
        std::forward<Action>(action)();
    } catch (const Error& error) {
        return error.what();
    }
    return "not refused";
}

} // namespace kit
