#pragma once

#include "integration/camera_pipeline/DeviceFixture.h"

#include "camera/ptz/PositioningUnit.h"

#include <chrono>
#include <string>
#include <vector>

/// A PTZ camera over the real module with engines "Motion" and "Simple", each with rules of its own for
/// the presets "Gate" and "Yard" and for everywhere else; the test lets its time pass.
class PositioningDevice : public DeviceFixture {
protected:
    void SetUp() override
    {
        DeviceFixture::SetUp();
        hosted.reset({"Motion", "Simple"});
        options.engineCount = 2;
        options.ptz.emplace();
        options.ptz->presets = {{"Gate", 10000, 0, 100}, {"Yard", 20000, 0, 100}};
    }

    void startWithRules()
    {
        start();
        for (const char* preset : {"Gate", "Yard", kAway}) {
            ASSERT_TRUE(device->target().setConfiguration(documentFor("Motion", preset)));
        }
        ASSERT_TRUE(device->target().setConfiguration(documentFor("Simple")));
        forget();
    }

    camera::ptz::PositioningUnit& unit() { return device->positioning(); }

    /// Lets time pass until the camera stands, at most some minutes of its own time.
    void untilItStands()
    {
        for (int tick = 0; tick < 10000 && unit().moving(); ++tick) {
            unit().advance(std::chrono::milliseconds(20));
        }
        ASSERT_FALSE(unit().moving());
        device->drain();
    }

    void standAt(const std::string& preset)
    {
        ASSERT_TRUE(unit().goToPreset(preset, kOperator));
        untilItStands();
        ASSERT_EQ(unit().activePreset(), preset);
        forget();
    }

    void forget()
    {
        device->drain();
        _seen = hosted.journal().size();
    }

    /// What the engines were told since the last time, in short: "Motion: -" for cleared, "Motion: Gate"
    /// for the rules of a preset, "Motion: default".
    std::vector<std::string> told()
    {
        device->drain();
        const auto journal = hosted.journal();
        std::vector<std::string> result;
        for (; _seen < journal.size(); ++_seen) {
            for (const char* engine : {"Motion", "Simple"}) {
                if (journal[_seen] == std::string(engine) + " clearAllRules") {
                    result.push_back(std::string(engine) + ": -");
                }
                for (const char* preset : {"Gate", "Yard", "Door", kAway, ""}) {
                    if (journal[_seen] == std::string(engine) + " activates " + documentFor(engine, preset)) {
                        result.push_back(std::string(engine) + ": " +
                                         (preset == kAway || *preset == '\0' ? "default" : preset));
                    }
                }
            }
        }
        return result;
    }

    /// The plug-in's name for everywhere that is no preset.
    static constexpr const char* kAway = "ZintuInternalSimpleAnalyticsPreset";
    static constexpr std::chrono::milliseconds kMoment{50};
    const camera::ptz::Commander kOperator{"anna", 100};
    const camera::ptz::Commander kEngine{"an engine", 500};

private:
    std::size_t _seen = 0;
};
