#pragma once

#include "RunningCamera.h"
#include "system/cli/CameraTest.h"

#include <cstdlib>
#include <filesystem>
#include <vector>

namespace camera::system_tests {

// Objects come and go all the time; small, so that a live run is light.
inline const std::string kLively = "scene:size=320x180,fps=30,objects=2,enter=15,frames=0,noise=1";

// A configuration of "Motion" with this preset is active where a PTZ camera stands at none.
inline constexpr char kAwayFromPresets[] = "ZintuInternalSimpleAnalyticsPreset";
inline constexpr char kMotionDefaultKey[] = "MotionZintuInternalSimpleAnalyticsPreset";

/// A line of the engine that writes down what it is told: a frame.
struct JournalFrame {
    long long nanoseconds = 0;
    std::string size;
    unsigned int pan = 0;
    int tilt = 0;
    unsigned int zoom = 0;
    std::string pixels;
};

/// Whole cameras.
class DeviceTest : public CameraTest {
protected:
    DeviceTest() { setenv("JOURNAL_FILE", path("journal").c_str(), 1); }

    /// What running cameras have left in the runtime folder and their state folders.
    std::vector<std::string> leftBehind() const;

    /// The journal's lines that begin with the word, without it.
    std::vector<std::string> journal(const std::string& word) const;
    std::vector<JournalFrame> journalFrames() const;
};

} // namespace camera::system_tests
