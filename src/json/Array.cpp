#include "json/Array.h"

#include "json/UnknownElement.h"

#include <utility>

namespace json {

Array::Array() = default;
Array::Array(const Array& other) = default;
Array::Array(Array&& other) noexcept = default;
Array& Array::operator=(const Array& other) = default;
Array& Array::operator=(Array&& other) noexcept = default;
Array::~Array() = default;

void Array::Reserve(std::size_t count)
{
    elements.reserve(count);
}

UnknownElement& Array::Append(UnknownElement element)
{
    return elements.emplace_back(std::move(element));
}

std::size_t Array::Size() const
{
    return elements.size();
}

UnknownElement& Array::operator[](std::size_t index)
{
    return elements[index];
}

const UnknownElement& Array::operator[](std::size_t index) const
{
    return elements[index];
}

UnknownElement* Array::begin()
{
    return elements.data();
}

UnknownElement* Array::end()
{
    return elements.data() + elements.size();
}

const UnknownElement* Array::begin() const
{
    return elements.data();
}

const UnknownElement* Array::end() const
{
    return elements.data() + elements.size();
}

} // namespace json
