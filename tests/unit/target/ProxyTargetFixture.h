#pragma once

#include "kit/Configuration.h"
#include "kit/PlatformTest.h"
#include "kit/ServiceLists.h"
#include "target/ProxyTarget.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace korva::meridan::tests {

using kit::configuration;
using kit::document;
using kit::FakeEngine;
using kit::InputList;
using kit::journal;
using kit::module;
using kit::platform;
using kit::rule;
using kit::storedDocument;
using kit::takeList;
using kit::takeText;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Pair;

/// A core over the engines "Motion", "Line" and "Simple"; a test says which of them are installed.
class ProxyTargetTest : public kit::PlatformTest {
protected:
    using Engines = std::vector<ProxyTarget::Engine>;
    using Settings = std::vector<std::pair<std::string, std::string>>;

    static constexpr const char* kAway = "ZintuInternalSimpleAnalyticsPreset";

    /// What the store holds before the start.
    static void stored(const Settings& settings) { platform().settings.analytics() = storedDocument(settings); }
    static std::string storedNow() { return platform().settings.analytics(); }

    /// A camera that stands still for good.
    void startFixed(const Engines& engines) { start(false, engines); }
    /// A camera that can move, away from every preset.
    void startMovable(const Engines& engines) { start(true, engines); }
    /// Away with the core, and a new one over the same store and engines.
    void restart(bool positioning, const Engines& engines)
    {
        proxy.reset();
        start(positioning, engines);
    }

    void arriveAt(const std::string& preset)
    {
        proxy->handlePresetStateEvent(2, preset);
        journal().clear();
    }

    /// Result and failure flag.
    std::pair<int, int> setConfiguration(const std::string& text)
    {
        unsigned char failed = 9;
        const int result = proxy->setConfiguration(text.c_str(), &failed);
        return {result, failed};
    }

    /// Takes a configuration that must be accepted, and forgets how.
    void given(const std::string& text)
    {
        ASSERT_THAT(setConfiguration(text), Pair(0, 0));
        journal().clear();
    }

    /// The status word; the result is always 0.
    unsigned int modify(std::initializer_list<std::string> items, bool modules = false)
    {
        InputList list(items);
        unsigned int status = 99;
        EXPECT_EQ(proxy->modifyConfiguration(list, &status, modules), 0);
        return status;
    }

    unsigned int remove(std::initializer_list<std::string> names)
    {
        InputList list(names);
        unsigned int status = 99;
        EXPECT_EQ(proxy->deleteBehaviorSetting(list, &status), 0);
        return status;
    }

    Lines currentRules()
    {
        char** out = nullptr;
        EXPECT_EQ(proxy->getCurrentRules(&out), 0);
        return takeList(out);
    }

    Lines currentModules()
    {
        char** out = nullptr;
        EXPECT_EQ(proxy->getCurrentEngines(&out), 0);
        return takeList(out);
    }

    Lines usedPresets()
    {
        char** out = nullptr;
        EXPECT_EQ(proxy->getUsedPtzPresets(&out), 0);
        return takeList(out);
    }

    std::string currentConfiguration()
    {
        char* out = nullptr;
        EXPECT_EQ(proxy->getCurrentConfiguration(&out), 0);
        return takeText(out);
    }

    std::string presetConfiguration(const char* preset)
    {
        char* out = nullptr;
        EXPECT_EQ(proxy->getPtzPresetConfiguration(preset, &out), 0);
        return takeText(out);
    }

    static std::string activeKeyLine(const std::string& key)
    {
        return "log 7 \"getActiveSettingsKey: getSettingsKey :" + key + ":\"";
    }

    static std::string clearingLine(const std::string& engine)
    {
        return "log 6 \"reconfigure:clearing all rules for " + engine + "\"";
    }

    static std::string activatingLine(const std::string& key)
    {
        return "log 6 \"activateRuleSet:reconfig with key " + key + "\"";
    }

    /// What reconfiguring an engine without a rule set for its key looks like.
    static Lines cleared(const std::string& engine, const std::string& key)
    {
        return {activeKeyLine(key), clearingLine(engine), "clearAllRules " + engine};
    }

    static Lines joined(std::initializer_list<Lines> parts)
    {
        Lines all;
        for (const Lines& part : parts) {
            all.insert(all.end(), part.begin(), part.end());
        }
        return all;
    }

    std::shared_ptr<FakeEngine> motion = std::make_shared<FakeEngine>("Motion");
    std::shared_ptr<FakeEngine> line = std::make_shared<FakeEngine>("Line");
    std::shared_ptr<FakeEngine> simple = std::make_shared<FakeEngine>("Simple");
    std::unique_ptr<ProxyTarget> proxy;

private:
    void start(bool positioning, const Engines& engines)
    {
        proxy = std::make_unique<ProxyTarget>(kit::Platform::logHandle(), positioning);
        proxy->setAnalyticLibs(engines);
        journal().clear();
    }
};

} // namespace korva::meridan::tests
