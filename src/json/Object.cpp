#include "json/Object.h"

#include "json/Exception.h"
#include "json/UnknownElement.h"

#include <algorithm>
#include <utility>

namespace json {

Object::Object() = default;
Object::Object(const Object& other) = default;
Object::Object(Object&& other) noexcept = default;
Object& Object::operator=(const Object& other) = default;
Object& Object::operator=(Object&& other) noexcept = default;
Object::~Object() = default;

void Object::Reserve(std::size_t count)
{
    members.reserve(count);
}

UnknownElement& Object::Append(std::string name, UnknownElement element)
{
    return members.emplace_back(Member{std::move(name), std::move(element)}).element;
}

std::size_t Object::Size() const
{
    return members.size();
}

UnknownElement& Object::operator[](std::string_view name)
{
    const auto found =
        std::find_if(members.begin(), members.end(), [name](const Member& member) { return member.name == name; });
    if (found == members.end()) {
        throw Exception("Object member not found: " + std::string(name));
    }
    return found->element;
}

const UnknownElement& Object::operator[](std::string_view name) const
{
    return const_cast<Object&>(*this)[name]; // the look-up changes nothing
}

const Member* Object::begin() const
{
    return members.data();
}

const Member* Object::end() const
{
    return members.data() + members.size();
}

} // namespace json
