#pragma once

#include "camera/base/Current.h"
#include "camera/ptz/PositioningUnit.h"

#include "korva/meridan/PositioningManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
    using Manager = korva::meridan::PositioningManager;

    void build(bool movable = true)
    {
        options.movable = movable;
        unit =
            std::make_shared<Unit>(options, [this](std::function<void()> task) { queue.push_back(std::move(task)); });
        binding.reset();
        binding = std::make_unique<camera::base::Current<Unit>::Binding>(unit);
        manager.registerMotionStateCallback(&onMotion, this);
        manager.registerCommandPriorityCallback(&onPriority, this);
        manager.registerPresetStateCallback(&onPreset, this);
        manager.registerPresetModifiedCallback(&onModified, this);
        manager.registerTourStateCallback(&onTour, this);
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

    Manager& manager = Manager::instance();
    Unit::Options options{
        true, {{"Gate", {10000, -5000, 200}}, {"Yard", {350000, 0, 100}}, {"Roof", {0, 9000, 100}}}, {}};
    std::vector<std::function<void()>> queue;
    std::shared_ptr<Unit> unit;
    std::unique_ptr<camera::base::Current<Unit>::Binding> binding;
    std::vector<std::string> calls;

private:
    static void note(void* context, const std::string& text)
    {
        static_cast<PositioningFixture*>(context)->calls.push_back(text);
    }

    static void onMotion(bool moving, unsigned int, int, unsigned int, void* context)
    {
        note(context, moving ? "motion started" : "motion stopped");
    }
    static void onPriority(bool panTilt, bool zoom, unsigned int priority, void* context)
    {
        note(context, "priority " + std::to_string(priority) + (panTilt && zoom ? "" : "?"));
    }
    static void onPreset(int state, const std::string& name, bool, const std::string&, void* context)
    {
        note(context, "state " + std::to_string(state) + " " + name);
    }
    static void onModified(const std::string& name, bool created, bool changed, bool removed, void* context)
    {
        note(context, name + (created ? " created" : "") + (changed ? " changed" : "") + (removed ? " removed" : ""));
    }
    static void onTour(int state, const std::string& name, unsigned int, int, void* context)
    {
        note(context, "tour " + std::to_string(state) + " " + name);
    }
};
