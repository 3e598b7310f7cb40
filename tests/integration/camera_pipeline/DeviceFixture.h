#pragma once

#include "camera/framework/FrameBuffer.h"
#include "camera/pipeline/Device.h"
#include "camera/ptz/PositioningUnit.h"
#include "integration/camera_pipeline/HostedEngines.h"
#include "kit/FakeDeviceServices.h"
#include "kit/LogLines.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// A device over the real module in a state folder of its own.
class DeviceFixture : public testing::Test {
protected:
    void SetUp() override
    {
        hosted.reset({"Motion"});
        options.engines = Hosted::source();
        options.pluginPath = DETECTION_MODULE;
        options.stateDir = folder / "state";
        options.services = services;
    }

    void TearDown() override
    {
        device.reset();
        hosted.ptz.reset();
        EXPECT_EQ(camera::framework::FrameBuffer::alive(), 0u) << "a buffer never came back";
    }

    void start()
    {
        device.reset();
        device = std::make_unique<camera::pipeline::Device>(options);
    }

    std::string refusal()
    {
        return kit::refusalOf([this] { start(); });
    }

    static camera::video::Frame anyFrame(std::uint32_t seconds = 1700000000)
    {
        camera::video::Frame frame;
        frame.sizeBytes = 32 * 16 * 3 / 2;
        frame.data =
            std::shared_ptr<std::uint8_t>(new std::uint8_t[frame.sizeBytes](), std::default_delete<std::uint8_t[]>());
        frame.width = 32;
        frame.height = 16;
        frame.strideBytes = 32;
        frame.seconds = seconds;
        frame.nanoseconds = 5;
        return frame;
    }

    /// As an operator would; time must pass until the camera is there. False when it was refused.
    bool goToPreset(const std::string& name)
    {
        return device->positioning().goToPreset(name, {"an operator", camera::ptz::kOperatorPriority}).ok();
    }

    std::vector<std::string> lines() const { return log.lines(); }

    kit::LogLines log;
    const kit::TemporaryFolder folder;
    Hosted& hosted = Hosted::instance();
    const std::shared_ptr<FakeDeviceServices> services = std::make_shared<FakeDeviceServices>();
    camera::pipeline::DeviceOptions options;
    std::unique_ptr<camera::pipeline::Device> device;
};
