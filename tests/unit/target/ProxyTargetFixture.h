#pragma once

#include "kit/Configuration.h"
#include "kit/PlatformTest.h"
#include "kit/ServiceLists.h"
#include "kit/Story.h"
#include "target/ProxyTarget.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace korva::meridan::tests {

using kit::activated;
using kit::activatingLine;
using kit::activeKeyLine;
using kit::cleared;
using kit::clearingLine;
using kit::configuration;
using kit::document;
using kit::FakeEngine;
using kit::InputList;
using kit::joined;
using kit::journal;
using kit::kAway;
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

/// What XML has besides elements: comments, instructions, line ends, references, blanks at the ends and raw text. It
/// stands between two tags.
inline const std::string kEveryConstruct =
    "<!-- c --><?note b?><A v=\"1&#10;2&lt;\n3\">  &lt;blanks&gt;\r\n end  </A>\r\n "
    "<B><![CDATA[ <raw> ]]></B>";
/// The same as it is stored and listed.
inline const std::string kEveryConstructCompact =
    "<A v=\"1&#10;2&lt; 3\">  &lt;blanks&gt;\n end  </A><B><![CDATA[ <raw> ]]></B>";

/// A core over the engines "Motion", "Line" and "Simple"; a test says which of them are installed.
class ProxyTargetTest : public kit::PlatformTest {
protected:
    using Engines = std::vector<ProxyTarget::Engine>;
    using Settings = std::vector<std::pair<std::string, std::string>>;

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
