#pragma once

#include <string>
#include <vector>

namespace camera::cli {

/// What every command that builds a camera takes.
struct CameraOptions {
    std::string stateDir;
    std::string plugin;               ///< empty: the one beside the program
    std::vector<std::string> engines; ///< engine modules
    bool ptz = false;
    std::string preset; ///< empty: at none
    int verbosity = 0;  ///< 0 errors, 1 information, 2 everything
};

struct RunOptions {
    CameraOptions camera;
    std::string input;
    std::vector<std::string> configFiles;
    int orientation = 0;
    long long frames = 0; ///< 0: to the end
    bool loop = false;
    bool realSpeed = true;
    std::string metadata;
    std::string overlay;
    std::string picture;
    bool help = false;
};

/// @throws UsageError
RunOptions parseRun(const std::vector<std::string>& arguments);
std::string runHelp();

} // namespace camera::cli
