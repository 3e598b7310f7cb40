#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace kit {

/// An environment variable that has this value as long as the object lives.
class EnvironmentVariable {
public:
    EnvironmentVariable(std::string name, const std::string& value) : _name(std::move(name))
    {
        if (const char* const before = std::getenv(_name.c_str())) {
            _before = before;
        }
        ::setenv(_name.c_str(), value.c_str(), 1);
    }
    ~EnvironmentVariable()
    {
        if (_before) {
            ::setenv(_name.c_str(), _before->c_str(), 1);
        } else {
            ::unsetenv(_name.c_str());
        }
    }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    std::string _name;
    std::optional<std::string> _before;
};

} // namespace kit
