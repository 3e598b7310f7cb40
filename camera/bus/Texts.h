#pragma once

#include "camera/base/MessageLimit.h"
#include "camera/base/Utf8.h"
#include "camera/bus/Names.h"

#include <sdbus-c++/sdbus-c++.h>

#include <cstddef>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

namespace camera::bus {

/// What holds several values of one type, and what does so by keys.
template <class Value, class = void>
inline constexpr bool kIsList = false;
template <class Value>
inline constexpr bool kIsList<Value, std::void_t<typename Value::value_type>> = true;
template <class Value, class = void>
inline constexpr bool kIsMap = false;
template <class Value>
inline constexpr bool kIsMap<Value, std::void_t<typename Value::mapped_type>> = true;

/// The tuple that a structure of the bus is.
template <class... Values>
std::tuple<Values...>& tupleOf(std::tuple<Values...>& value)
{
    return value;
}
template <class... Values>
const std::tuple<Values...>& tupleOf(const std::tuple<Values...>& value)
{
    return value;
}
template <class Value, class = void>
inline constexpr bool kIsTuple = false;
template <class Value>
inline constexpr bool kIsTuple<Value, std::void_t<decltype(tupleOf(std::declval<Value&>()))>> = true;

/// Visits every text in a value of the bus, however deep; visit takes a std::string&, which is const as the value is.
template <class Value, class Visit>
void eachText(Value& value, const Visit& visit)
{
    using Type = std::remove_const_t<Value>;
    if constexpr (std::is_same_v<Type, std::string>) {
        visit(value);
    } else if constexpr (kIsMap<Type> && !std::is_const_v<Value>) { // its keys cannot be changed in their places
        Type visited;
        for (auto& [name, content] : value) {
            auto key = name;
            eachText(key, visit);
            eachText(content, visit);
            visited.emplace(std::move(key), std::move(content));
        }
        value = std::move(visited);
    } else if constexpr (kIsTuple<Type>) {
        std::apply([&visit](auto&... parts) { (eachText(parts, visit), ...); }, tupleOf(value));
    } else if constexpr (kIsMap<Type>) {
        for (const auto& [name, content] : value) {
            eachText(name, visit);
            eachText(content, visit);
        }
    } else if constexpr (kIsList<Type>) {
        for (auto& part : value) {
            eachText(part, visit);
        }
    }
}

/// The value, with U+FFFD in place of each byte of its texts that cannot be sent.
template <class Value>
Value sendable(Value value)
{
    eachText(value, [](std::string& text) { text = base::sendable(std::move(text)); });
    return value;
}

/// @throws sdbus::Error kInvalidText, naming what it is, when a text of the value cannot be sent.
template <class Value>
void check(const Value& value, const char* what)
{
    eachText(value, [what](const std::string& text) {
        if (!base::isSendable(text)) {
            throw sdbus::Error(error::kInvalidText, std::string(what) + " is not UTF-8 or holds a NUL byte");
        }
    });
}

/// How many bytes the texts of these values hold, however deep they are.
template <class... Values>
std::size_t bytesOf(const Values&... values)
{
    std::size_t bytes = 0;
    (eachText(values, [&bytes](const std::string& text) { bytes += text.size(); }), ...);
    return bytes;
}

/// @throws sdbus::Error kTooLarge, naming what they are, when a message cannot hold the values.
template <class... Values>
void checkSize(const std::string& what, const Values&... values)
{
    if (const std::size_t bytes = bytesOf(values...); bytes > base::kLargestMessage) {
        throw sdbus::Error(error::kTooLarge, base::tooLarge(what, bytes));
    }
}

} // namespace camera::bus
