#include "camera/pipeline/ServiceText.h"

#include <cstdlib>
#include <stdexcept>

namespace camera::pipeline {

const std::string& checkedText(const std::string& text)
{
    if (text.find('\0') != std::string::npos) {
        throw std::invalid_argument("a text for the analytics service holds a NUL byte; remove it");
    }
    return text;
}

ServiceListIn::ServiceListIn(const std::vector<std::string>& strings)
{
    _pointers.reserve(strings.size() + 1);
    for (const std::string& string : strings) {
        _pointers.push_back(const_cast<char*>(checkedText(string).c_str()));
    }
    _pointers.push_back(nullptr);
}

ServiceListOut::~ServiceListOut()
{
    for (char** entry = _array; entry != nullptr && *entry != nullptr; ++entry) {
        std::free(*entry);
    }
    std::free(_array);
}

std::vector<std::string> ServiceListOut::strings() const
{
    std::vector<std::string> strings;
    for (char** entry = _array; entry != nullptr && *entry != nullptr; ++entry) {
        strings.emplace_back(*entry);
    }
    return strings;
}

ServiceTextOut::~ServiceTextOut()
{
    std::free(_text);
}

} // namespace camera::pipeline
