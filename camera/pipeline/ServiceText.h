#pragma once

#include <string>
#include <vector>

namespace camera::pipeline {

/// text itself. @throws std::invalid_argument when it holds a NUL byte, which would cut it short.
const std::string& checkedText(const std::string& text);

/// A list as the service takes it: borrows the strings, ends with a null pointer. Reentrant.
class ServiceListIn {
public:
    /// @throws std::invalid_argument for a string with a NUL byte.
    explicit ServiceListIn(const std::vector<std::string>& strings);
    char** array() const { return _pointers.data(); }

private:
    mutable std::vector<char*> _pointers; // the service's type says char**, it only reads
};

/// A list as the service answers it: owns what comes from malloc. Reentrant.
class ServiceListOut {
public:
    ServiceListOut() = default;
    ~ServiceListOut();
    ServiceListOut(const ServiceListOut&) = delete;
    ServiceListOut& operator=(const ServiceListOut&) = delete;

    char*** address() { return &_array; }

    /// Empty for a null array too.
    std::vector<std::string> strings() const;

private:
    char** _array = nullptr;
};

/// One string as the service answers it. Reentrant.
class ServiceTextOut {
public:
    ServiceTextOut() = default;
    ~ServiceTextOut();
    ServiceTextOut(const ServiceTextOut&) = delete;
    ServiceTextOut& operator=(const ServiceTextOut&) = delete;

    char** address() { return &_text; }
    std::string string() const { return _text != nullptr ? _text : std::string(); }

private:
    char* _text = nullptr;
};

} // namespace camera::pipeline
