#pragma once

#include "camera/onvif/ConfigurationFile.h"
#include "camera/pipeline/ActiveRules.h"

#include <json/value.h>

#include <cstdint>
#include <string>
#include <vector>

namespace camera::pipeline {

/// What a run begins with, as it is told when the first frame has come.
struct RunStart {
    std::string input;
    int width = 0; ///< of the picture that the plug-in gets
    int height = 0;
    double framesPerSecond = 0;
    std::vector<ActiveRules> engines;
    std::string stateFolder;
    std::string runtimeFolder;      ///< empty: the process was started alone
    std::vector<std::string> onvif; ///< where ONVIF clients begin; empty: nowhere
    std::string silent;             ///< what does not answer; empty: the camera is ready

    std::string line() const;
    std::vector<Json::Value> objects() const; ///< the same for programs
};

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
    Json::Value counted;             ///< RunReport::counted()
    std::uint64_t eventsDropped = 0;
    std::uint64_t documents = 0;
    std::vector<onvif::ComponentName> active; ///< rules and modules at the end
    std::string settings;                     ///< the folder; empty: not kept
    std::vector<WrittenFile> files;
    std::string ended; ///< by what; empty: by itself

    std::vector<std::string> lines() const;
    std::vector<Json::Value> objects() const; ///< the same for programs
};

} // namespace camera::pipeline
