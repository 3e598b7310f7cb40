#pragma once

#include <cstddef>
#include <vector>

namespace json {

class UnknownElement;

/// The elements of a JSON array, in order. A document's root is one.
class Array {
public:
    Array();
    Array(const Array& other);
    Array(Array&& other) noexcept;
    Array& operator=(const Array& other);
    Array& operator=(Array&& other) noexcept;
    ~Array();

    void Reserve(std::size_t elements);
    UnknownElement& Append(UnknownElement element);

    std::size_t Size() const;
    UnknownElement& operator[](std::size_t index);
    const UnknownElement& operator[](std::size_t index) const;

    UnknownElement* begin();
    UnknownElement* end();
    const UnknownElement* begin() const;
    const UnknownElement* end() const;

private:
    std::vector<UnknownElement> elements;
};

} // namespace json
