#include "json/UnknownElement.h"

#include "json/Exception.h"

#include <utility>

namespace json {

namespace {

[[noreturn]] void badCast()
{
    throw Exception("Bad cast");
}

} // namespace

UnknownElement::UnknownElement(Null)
{
}
UnknownElement::UnknownElement(Boolean boolean) : value(boolean)
{
}
UnknownElement::UnknownElement(Number number) : value(number)
{
}
UnknownElement::UnknownElement(String string) : value(std::move(string))
{
}
UnknownElement::UnknownElement(BorrowedString string) : value(string)
{
}
UnknownElement::UnknownElement(Array array) : value(std::move(array))
{
}
UnknownElement::UnknownElement(Object object) : value(std::move(object))
{
}

template <typename Kind>
const Kind& UnknownElement::as() const
{
    const Kind* found = std::get_if<Kind>(&value);
    if (found == nullptr) {
        badCast();
    }
    return *found;
}

UnknownElement::operator Object&()
{
    if (!std::holds_alternative<Object>(value)) {
        value = Object();
    }
    return std::get<Object>(value);
}

UnknownElement::operator const Object&() const
{
    return as<Object>();
}

UnknownElement::operator const Array&() const
{
    return as<Array>();
}

UnknownElement::operator std::string_view() const
{
    if (const auto* borrowed = std::get_if<BorrowedString>(&value)) {
        return borrowed->text;
    }
    return as<String>();
}

UnknownElement::operator Number() const
{
    return as<Number>();
}

UnknownElement::operator Boolean() const
{
    return as<Boolean>();
}

String UnknownElement::TakeString() &&
{
    if (auto* own = std::get_if<String>(&value)) {
        return std::move(*own);
    }
    return String(static_cast<std::string_view>(*this));
}

} // namespace json
