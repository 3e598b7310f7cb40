#include "camera/base/PluginPath.h"

#include <array>
#include <stdexcept>

namespace camera::base {

namespace fs = std::filesystem;

std::filesystem::path pluginPath(const std::string& path, const std::filesystem::path& programFolder)
{
    std::error_code ignored;
    if (!path.empty()) {
        if (!fs::is_regular_file(path, ignored)) {
            throw std::runtime_error("the plug-in '" + path +
                                     "' is no file; name the path of libdetection.so after --plugin.");
        }
        return fs::absolute(path);
    }
    const std::array<const char*, 3> places = {"libdetection.so", "../lib/libdetection.so",
                                               DETECTION_MODULE_FROM_PROGRAMS "/libdetection.so"};
    for (const char* place : places) {
        const fs::path candidate = programFolder / place;
        if (fs::is_regular_file(candidate, ignored)) {
            return fs::canonical(candidate);
        }
    }
    throw std::runtime_error("the plug-in libdetection.so is neither in '" + programFolder.string() +
                             "' nor in ../lib beside it; build or install it there, or name it with --plugin.");
}

std::filesystem::path sharedFile(const std::filesystem::path& file, const std::filesystem::path& programFolder)
{
    for (const char* place : {".", "../share/detection", "../share"}) {
        std::error_code ignored;
        fs::path candidate = (programFolder / place / file).lexically_normal();
        if (fs::is_regular_file(candidate, ignored)) {
            return candidate;
        }
    }
    return {};
}

std::filesystem::path programFolder()
{
    return fs::read_symlink("/proc/self/exe").parent_path();
}

} // namespace camera::base
