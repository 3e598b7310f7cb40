#pragma once

#include "camera/onvif/ConfigurationFile.h"

#include <cstdint>
#include <string>
#include <vector>

namespace camera::pipeline {

/// A file that a run has written.
struct WrittenFile {
    std::string path;
    std::uintmax_t bytes = 0;
    bool complete = true; ///< false: a part is missing
};

/// What a run leaves behind, for people.
struct RunSummary {
    std::string input;
    std::vector<std::string> report; ///< RunReport::summary()
    std::uint64_t eventsDropped = 0;
    std::uint64_t documents = 0;
    std::vector<onvif::ComponentName> active; ///< rules and modules at the end
    std::string settings;                     ///< the folder; empty: not kept
    std::vector<WrittenFile> files;
    std::string ended; ///< by what; empty: by itself

    std::vector<std::string> lines() const;
};

} // namespace camera::pipeline
