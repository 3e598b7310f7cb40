#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace json {

class UnknownElement;
struct Member;

/// The members of a JSON object, written in the order in which they were appended.
class Object {
public:
    Object();
    Object(const Object& other);
    Object(Object&& other) noexcept;
    Object& operator=(const Object& other);
    Object& operator=(Object&& other) noexcept;
    ~Object();

    void Reserve(std::size_t members);

    /// The caller sees to it that no two members share a name.
    UnknownElement& Append(std::string name, UnknownElement element);

    std::size_t Size() const;

    /// @throws Exception "Object member not found: " and the name when there is no such member.
    UnknownElement& operator[](std::string_view name);
    const UnknownElement& operator[](std::string_view name) const;

    const Member* begin() const;
    const Member* end() const;

private:
    std::vector<Member> members;
};

} // namespace json
