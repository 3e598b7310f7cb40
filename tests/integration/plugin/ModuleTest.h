#pragma once

#include "kit/Configuration.h"
#include "kit/HostSeam.h"
#include "kit/PlatformTest.h"
#include "kit/ServiceLists.h"
#include "kit/Story.h"
#include "korva/meridan/BasicFilterPlugin.h"
#include "korva/meridan/PluginManager.h"
#include "ravel/RavelApiAnalyticsTargetImplBase.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace integration {

/// The factory that the module registered, loaded as a host loads it: once, and never unloaded.
korva::meridan::PluginManager::Factory detectionFactory();

/**
 * A test of the real module over the recording platform.
 *
 * The engines are "Simple" and "Motion", the camera is fixed and no device service exists until the test
 * says otherwise.
 */
class ModuleTest : public kit::PlatformTest {
protected:
    ModuleTest();
    ~ModuleTest() override;

    std::shared_ptr<kit::FakeEngine> addEngine(const std::string& name);

    /// Puts configurations into the store before the start, by settings key.
    static void store(const std::vector<std::pair<std::string, std::string>>& settings);
    static const std::string& storedText();

    /// Builds the plug-in through the module's factory; the journal tells how.
    void start();
    /// Builds it with an empty journal.
    void startQuietly();
    void stop() { plugin.reset(); }
    void deliver(korva::meridan::Buffer* buffer);

    /// The target as the service runner has it.
    static RavelApiAnalyticsTargetImplBase& target();

    /// "result/failed" of a whole configuration.
    static std::string configure(const std::string& xml);
    static unsigned int createRules(const Lines& items);
    static unsigned int createModules(const Lines& items);
    static unsigned int deleteByName(const Lines& names);
    static Lines currentRules();
    static std::string currentConfiguration();

    korva::meridan::MeridanEnv environment;
    korva::meridan::IPluginConfiguration pipelineSection;
    std::shared_ptr<kit::FakeEngine> simple;
    std::shared_ptr<kit::FakeEngine> motion;
    std::unique_ptr<korva::meridan::PipelinePlugin> plugin;
};

} // namespace integration
