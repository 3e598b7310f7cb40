#pragma once

#include "kit/HostSeam.h"
#include "kit/PlatformTest.h"
#include "plugin/DetectionPlugin.h"

#include <memory>
#include <string>

/// Tests over a plug-in made by its factory, on a fixed camera with no device service and no engine
/// until the test says otherwise.
class PluginTest : public kit::PlatformTest {
protected:
    using Plugin = std::unique_ptr<korva::meridan::PipelinePlugin>;

    ~PluginTest() override { plugin.reset(); }

    static std::shared_ptr<kit::FakeEngine> addEngine(const std::string& name)
    {
        auto engine = std::make_shared<kit::FakeEngine>(name);
        kit::platform().engineLibrary.engines.push_back(engine);
        return engine;
    }

    /// Builds the plug-in; afterwards the journal is empty.
    void build()
    {
        construct();
        kit::journal().clear();
    }

    void construct() { plugin.reset(korva::meridan::createDetectionPlugin(&environment, configuration)); }

    korva::meridan::DetectionPlugin& detection() { return static_cast<korva::meridan::DetectionPlugin&>(*plugin); }

    /// Delivers one buffer and returns what happened meanwhile.
    Lines deliver(korva::meridan::Buffer* buffer)
    {
        kit::journal().clear();
        detection().OnBuffer(nullptr, buffer);
        return kit::journal().all();
    }

    Lines deliverFrame(int width = 8, int height = 4) { return deliver(kit::FrameBuffer::image(width, height)); }

    /// Lets the device report that orientation from the start.
    static void orient(unsigned int degrees)
    {
        kit::platform().settings.values["default_analytics_rotation"] = static_cast<int>(degrees);
    }

    korva::meridan::MeridanEnv environment;
    korva::meridan::IPluginConfiguration configuration;
    Plugin plugin;
};
