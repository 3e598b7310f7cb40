#pragma once

#include "camera/base/MessageLimit.h"
#include "camera/base/Utf8.h"
#include "camera/bus/Names.h"

#include <sdbus-c++/sdbus-c++.h>

#include <cstddef>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace camera::bus {

/// Visits every text in a value of the bus, however deep; visit takes a std::string&.
struct Texts {
    template <class Visit>
    static void each(std::string& text, const Visit& visit)
    {
        visit(text);
    }

    template <class Value, class Visit>
    static void each(std::vector<Value>& values, const Visit& visit)
    {
        for (Value& value : values) {
            each(value, visit);
        }
    }

    template <class Key, class Value, class Visit>
    static void each(std::map<Key, Value>& values, const Visit& visit)
    {
        std::map<Key, Value> visited;
        for (auto& [name, value] : values) {
            Key key = name;
            each(key, visit);
            each(value, visit);
            visited.emplace(std::move(key), std::move(value));
        }
        values = std::move(visited);
    }

    template <class... Values, class Visit>
    static void each(std::tuple<Values...>& values, const Visit& visit)
    {
        std::apply([&visit](Values&... value) { (each(value, visit), ...); }, values);
    }

    template <class... Values, class Visit>
    static void each(sdbus::Struct<Values...>& values, const Visit& visit)
    {
        each(static_cast<std::tuple<Values...>&>(values), visit);
    }

    template <class Number, class Visit>
    static void each(Number& /*number*/, const Visit& /*visit*/)
    {
    }
};

/// The value, with U+FFFD in place of each byte of its texts that cannot be sent.
template <class Value>
Value sendable(Value value)
{
    Texts::each(value, [](std::string& text) { text = base::sendable(std::move(text)); });
    return value;
}

/// @throws sdbus::Error kInvalidText, naming what it is, when a text of the value cannot be sent.
template <class Value>
void check(Value& value, const char* what)
{
    Texts::each(value, [what](const std::string& text) {
        if (!base::isSendable(text)) {
            throw sdbus::Error(error::kInvalidText, std::string(what) + " is not UTF-8 or holds a NUL byte");
        }
    });
}

/// How many bytes the texts of a value hold, however deep they are.
struct TextBytes {
    static std::size_t of(const std::string& text) { return text.size(); }

    template <class Value>
    static std::size_t of(const std::vector<Value>& values)
    {
        std::size_t bytes = 0;
        for (const auto& value : values) {
            bytes += of(value);
        }
        return bytes;
    }

    template <class Key, class Value>
    static std::size_t of(const std::map<Key, Value>& values)
    {
        std::size_t bytes = 0;
        for (const auto& [key, value] : values) {
            bytes += of(key) + of(value);
        }
        return bytes;
    }

    template <class... Values>
    static std::size_t of(const std::tuple<Values...>& values)
    {
        return std::apply([](const Values&... value) { return (std::size_t{0} + ... + of(value)); }, values);
    }

    template <class... Values>
    static std::size_t of(const sdbus::Struct<Values...>& values)
    {
        return of(static_cast<const std::tuple<Values...>&>(values));
    }

    template <class Number>
    static std::size_t of(const Number& /*number*/)
    {
        return 0;
    }
};

/// The same of all these values.
template <class... Values>
std::size_t bytesOf(const Values&... values)
{
    return (std::size_t{0} + ... + TextBytes::of(values));
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
