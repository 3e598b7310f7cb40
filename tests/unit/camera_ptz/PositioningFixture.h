#pragma once

#include "camera/ptz/PositioningUnit.h"

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// A unit whose time the test lets pass, and everything that it reports, in order.
class PositioningFixture : public testing::Test {
protected:
    using Unit = camera::ptz::PositioningUnit;
    using Commander = camera::ptz::Commander;
    using Status = camera::ptz::CommandStatus;
    using Milliseconds = std::chrono::milliseconds;

    void build(bool movable = true)
    {
        options.movable = movable;
        unit =
            std::make_shared<Unit>(options, [this](std::function<void()> task) { queue.push_back(std::move(task)); });
        _subscription = unit->onEvent([this](const camera::ptz::PositioningEvent& event) {
            calls.push_back(std::visit([](const auto& kind) { return text(kind); }, event));
        });
    }

    void runPosted()
    {
        const auto tasks = std::exchange(queue, {});
        for (const auto& task : tasks) {
            task();
        }
    }

    void pass(Milliseconds time)
    {
        unit->advance(time);
        runPosted();
    }

    /// Everything reported since the last time.
    std::vector<std::string> reported()
    {
        runPosted();
        return std::exchange(calls, {});
    }

    /// The camera stands at a preset, and nothing of how it came there is left to report.
    void standAt(const std::string& preset)
    {
        ASSERT_TRUE(unit->placeAt(preset));
        queue.clear();
        calls.clear();
    }

    /// Until it stands; fails instead of waiting for ever.
    void untilItStands()
    {
        for (int tick = 0; tick < 100000 && unit->moving(); ++tick) {
            pass(Milliseconds(10));
        }
        ASSERT_FALSE(unit->moving()) << "still moving after a thousand seconds";
    }

    void untilItStandsAt(const std::string& preset)
    {
        for (int tick = 0; tick < 100000 && unit->activePreset() != preset; ++tick) {
            pass(Milliseconds(10));
        }
        ASSERT_EQ(unit->activePreset(), preset);
    }

    static constexpr Milliseconds kSecond{1000};
    const Commander operator1{"anna", 100};
    const Commander operator2{"ben", 200};
    const Commander engine{"an engine", 500};

    camera::ptz::PositioningOptions options{
        true, {{"Gate", {10000, -5000, 200}}, {"Yard", {350000, 0, 100}}, {"Roof", {0, 9000, 100}}}, {}};
    std::vector<std::function<void()>> queue;
    std::shared_ptr<Unit> unit;
    std::vector<std::string> calls;

private:
    static std::string text(const camera::ptz::MotionState& event)
    {
        return event.moving ? "motion started" : "motion stopped";
    }
    static std::string text(const camera::ptz::CommandPriority& event)
    {
        return "priority " + std::to_string(event.priority);
    }
    static std::string text(const camera::ptz::PresetStateChange& event)
    {
        return "state " + std::to_string(static_cast<int>(event.state)) + " " + event.preset;
    }
    static std::string text(const camera::ptz::PresetModified& event)
    {
        const char* const changes[] = {" created", " changed", " removed"};
        return event.preset + changes[static_cast<int>(event.change)];
    }
    static std::string text(const camera::ptz::TourStateChange& event)
    {
        return "tour " + std::to_string(static_cast<int>(event.state)) + " " + event.tour;
    }

    camera::base::Subscription _subscription;
};
