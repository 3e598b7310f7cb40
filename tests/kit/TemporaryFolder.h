#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace kit {

/// The whole of a file; empty when there is none. What cannot be read ends it: an iterator would throw where a process
/// ends whose file of /proc this is.
inline std::string contentOf(const std::filesystem::path& file)
{
    std::ifstream in(file, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

inline std::vector<std::string> linesOf(const std::filesystem::path& file)
{
    std::vector<std::string> lines;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// How often a text stands in another.
inline std::size_t occurrences(const std::string& text, const std::string& part)
{
    std::size_t found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) {
        ++found;
    }
    return found;
}

/// A folder of one test's own, removed with everything in it. Its path is short, because a socket's must be.
class TemporaryFolder {
public:
    TemporaryFolder()
    {
        std::string name = std::filesystem::temp_directory_path() / "kit-XXXXXX";
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        _path = name;
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return _path; }
    std::filesystem::path operator/(const std::string& name) const { return _path / name; }

    /// @return the file's path.
    std::filesystem::path write(const std::string& name, const std::string& content) const
    {
        std::ofstream(_path / name, std::ios::binary) << content;
        return _path / name;
    }

private:
    std::filesystem::path _path;
};

} // namespace kit
