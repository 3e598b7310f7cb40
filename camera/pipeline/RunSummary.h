#pragma once

#include "camera/onvif/ConfigurationFile.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace camera::pipeline {

/// What a run leaves behind, for people.
struct RunSummary {
    std::string input;
    std::vector<std::string> report; ///< RunReport::summary()
    std::uint64_t eventsDropped = 0;
    std::uint64_t documents = 0;
    std::vector<onvif::ComponentName> active;                  ///< rules and modules at the end
    std::string settings;                                      ///< the folder; empty: not kept
    std::vector<std::pair<std::string, std::uintmax_t>> files; ///< written: path and bytes
    bool stopped = false;                                      ///< by a signal

    std::vector<std::string> lines() const;
};

} // namespace camera::pipeline
