#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace camera::video {

/// A folder of its own for one test, gone afterwards.
class TemporaryFolder {
public:
    TemporaryFolder()
    {
        std::string name = testing::TempDir() + "camera-video-XXXXXX";
        folder = mkdtemp(name.data());
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string path(const std::string& name) const { return (folder / name).string(); }

    std::string write(const std::string& name, const std::string& content) const
    {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }

    static std::string read(const std::string& path)
    {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

private:
    std::filesystem::path folder;
};

} // namespace camera::video
