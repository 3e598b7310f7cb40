#pragma once

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace camera::supervisor {

/// A folder of the test's own, gone afterwards; as short as a socket's path needs it.
class Folder {
public:
    Folder()
    {
        char name[] = "/tmp/sup-XXXXXX";
        path = ::mkdtemp(name);
    }
    ~Folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::filesystem::path path;
};

/// An environment variable for as long as the object lives.
class Variable {
public:
    Variable(std::string name, const std::string& value) : _name(std::move(name))
    {
        if (const char* before = std::getenv(_name.c_str())) {
            _before = before;
            _was = true;
        }
        ::setenv(_name.c_str(), value.c_str(), 1);
    }
    ~Variable()
    {
        if (_was) {
            ::setenv(_name.c_str(), _before.c_str(), 1);
        } else {
            ::unsetenv(_name.c_str());
        }
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    std::string _name;
    std::string _before;
    bool _was = false;
};

inline std::vector<std::string> linesOf(const std::filesystem::path& path)
{
    std::vector<std::string> lines;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// Whether the condition became true before a deadline that only a defect reaches.
inline bool eventually(const std::function<bool()>& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

} // namespace camera::supervisor
