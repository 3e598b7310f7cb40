#pragma once

#include "json/Array.h"
#include "json/Object.h"

#include <string>
#include <string_view>
#include <variant>

namespace json {

struct Null {};
using Boolean = bool;
using Number = double;
using String = std::string;

/// A string that stays with its owner, who keeps it alive and unchanged as long as the element
/// lives. A document made only to be written holds its texts this way and copies none of them.
struct BorrowedString {
    std::string_view text;
};

/// A value whose kind shows only when it is looked at.
class UnknownElement {
public:
    UnknownElement() = default;
    UnknownElement(Null value);
    UnknownElement(Boolean value);
    UnknownElement(Number value);
    UnknownElement(String value);
    UnknownElement(BorrowedString value);
    UnknownElement(Array value);
    UnknownElement(Object value);
    UnknownElement(const void* pointer) = delete; // would become a Boolean

    /// An element of another kind is replaced by an empty object, so that it is the look-up of a
    /// member that fails.
    operator Object&();

    /// Each throws Exception "Bad cast" for an element of another kind.
    operator const Object&() const;
    operator const Array&() const;
    operator std::string_view() const;
    explicit operator Number() const;
    explicit operator Boolean() const;

    /// The string itself, without a copy where the element owns it.
    /// @throws Exception "Bad cast" for an element of another kind.
    String TakeString() &&;

    template <typename Visitor>
    decltype(auto) Visit(Visitor&& visitor) const
    {
        return std::visit(visitor, value);
    }

private:
    template <typename Kind>
    const Kind& as() const;

    std::variant<Null, Boolean, Number, String, BorrowedString, Array, Object> value;
};

struct Member {
    std::string name;
    UnknownElement element;
};

} // namespace json
