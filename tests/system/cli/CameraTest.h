#pragma once

#include "Documents.h"
#include "Program.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace camera::system_tests {

// Objects come once the engines have learned the ground, and go again.
inline const std::string kScene = "scene:size=640x360,frames=150,objects=2,enter=40,leave=100,noise=2,start=1700000000";

inline constexpr char kCellTopic[] = "tns1:RuleEngine/CellMotionDetector/Motion";
inline constexpr char kRegionTopic[] = "tns1:RuleEngine/MotionRegionDetector/Motion";

// Each test has its own folders, also for what runs; the state is below them.
class CameraTest : public testing::Test {
protected:
    CameraTest()
    {
        std::filesystem::create_directory(runtime());
        ::setenv("XDG_RUNTIME_DIR", runtime().c_str(), 1);
    }

    std::string runtime() const { return path("rt"); }
    std::string path(const std::string& name) const { return folder / name; }
    std::string write(const std::string& name, const std::string& content) const { return folder.write(name, content); }
    static std::string read(const std::string& file) { return kit::contentOf(file); }

    std::string simple(const std::string& rule = "Anything") const
    {
        return write("simple.xml", simpleConfiguration(rule));
    }
    std::string motion(const std::string& rule = "Path", const std::string& preset = "") const
    {
        return write("motion.xml", motionConfiguration(rule, preset));
    }
    std::string state() const { return path("state"); }

    /// A command on the state folder.
    Finished on(Words words) const
    {
        words.insert(words.end(), {"--state", state()});
        return camera(words);
    }
    /// For the steps before the one that is tested.
    void must(const Words& words) const
    {
        const Finished done = on(words);
        ASSERT_EQ(0, done.exitCode) << done.err;
    }

    static std::size_t count(const std::string& text, const std::string& part) { return kit::occurrences(text, part); }

    kit::TemporaryFolder folder;
};

} // namespace camera::system_tests
