// Which rules are active, read from what the module logs.
#include "camera/pipeline/ActiveKeys.h"

#include "integration/camera_pipeline/PositioningDevice.h"

#include "ravel/logging.h"

#include <thread>

namespace {

using camera::base::Log;
using camera::pipeline::ActiveKeys;
using testing::ElementsAre;
using testing::IsEmpty;

std::string textOf(const ActiveKeys::Active& active)
{
    return active.engine + "=" + active.key;
}

class ActiveKeysTest : public testing::Test {
protected:
    void say(const std::string& text) { Log::instance().write(handle, RAVEL_CORE_LOG_DEBUG, text); }
    void key(const std::string& text) { say("getActiveSettingsKey: getSettingsKey :" + text + ":"); }
    void cleared(const std::string& engine) { say("reconfigure:clearing all rules for " + engine); }

    void* handle = Log::instance().open("test");
    std::vector<std::string> switches;
};

TEST_F(ActiveKeysTest, aKeyCountsOnceTheEngineIsSwitchedOver)
{
    ActiveKeys keys([this](const ActiveKeys::Active& active) { switches.push_back(textOf(active)); });
    key("MotionGate");
    EXPECT_THAT(switches, IsEmpty());
    EXPECT_THAT(keys.now(), IsEmpty());
    cleared("Motion");
    key("");
    cleared("Simple");
    key("Motion:: :");
    cleared("Motion");
    EXPECT_THAT(switches, ElementsAre("Motion=MotionGate", "Simple=", "Motion=Motion:: :"));
    ASSERT_EQ(keys.now().size(), 2u);
    EXPECT_EQ(textOf(keys.now()[0]), "Motion=Motion:: :");
    EXPECT_EQ(textOf(keys.now()[1]), "Simple=");
}

TEST_F(ActiveKeysTest, whatIsStoredWhereTheCameraStandsIsActiveWithoutASwitch)
{
    ActiveKeys keys([this](const ActiveKeys::Active& active) { switches.push_back(textOf(active)); });
    for (const char* engine : {"Motion", "MotionPlus"}) {
        key(std::string(engine) + "Gate");
        cleared(engine);
    }
    switches.clear();
    say("activateRuleSet:reconfig with key MotionYard");
    say("activateRuleSet:reconfig with key MotionYard");
    say("activateRuleSet:reconfig with key MotionPlusYard");
    say("activateRuleSet:reconfig with key Nobody");
    EXPECT_THAT(switches, ElementsAre("Motion=MotionYard", "MotionPlus=MotionPlusYard"));
    EXPECT_EQ(textOf(keys.now()[0]), "Motion=MotionYard");
    EXPECT_EQ(textOf(keys.now()[1]), "MotionPlus=MotionPlusYard");
}

TEST_F(ActiveKeysTest, questionsAndOtherLinesDoNotCount)
{
    ActiveKeys keys([this](const ActiveKeys::Active& active) { switches.push_back(textOf(active)); });
    for (const char* text : {"", ":", "getActiveSettingsKey: getSettingsKey :", "getActiveSettingsKey: getSettingsKey",
                             "x reconfigure:clearing all rules for Motion", "reconfigure:clearing all rules"}) {
        say(text);
    }
    key("MotionGate");
    key("MotionYard");
    EXPECT_THAT(switches, IsEmpty());
    cleared("Motion");
    EXPECT_THAT(switches, ElementsAre("Motion=MotionYard"));
}

TEST_F(ActiveKeysTest, aLongKeyAndStrangeBytesComeWhole)
{
    const std::string strange = "Motion\n\x01\xFF" + std::string(20000, 'k');
    ActiveKeys keys({});
    key(strange);
    cleared("Motion");
    ASSERT_EQ(keys.now().size(), 1u);
    EXPECT_EQ(keys.now()[0].key, strange);
}

TEST_F(ActiveKeysTest, listensNoMoreOnceItIsGone)
{
    {
        ActiveKeys keys([this](const ActiveKeys::Active& active) { switches.push_back(textOf(active)); });
    }
    key("MotionGate");
    cleared("Motion");
    EXPECT_THAT(switches, IsEmpty());
    EXPECT_FALSE(Log::instance().wants(handle, RAVEL_CORE_LOG_DEBUG));
}

TEST_F(ActiveKeysTest, mayBeAskedWhileLinesCome)
{
    ActiveKeys keys({});
    std::thread control([this] {
        for (int line = 0; line < 2000; ++line) {
            key("Motion" + std::to_string(line));
            cleared("Motion");
        }
    });
    std::size_t most = 0;
    while (most < 1) {
        most = std::max(most, keys.now().size());
    }
    control.join();
    EXPECT_EQ(keys.now()[0].key, "Motion1999");
}

using ActiveKeysOfADeviceTest = PositioningDevice;

TEST_F(ActiveKeysOfADeviceTest, followsTheModuleFromPlaceToPlace)
{
    std::vector<std::string> switches;
    ActiveKeys keys([&](const ActiveKeys::Active& active) { switches.push_back(textOf(active)); });
    start();
    const std::string away = kAway;
    ASSERT_EQ(keys.now().size(), 2u);
    EXPECT_EQ(textOf(keys.now()[0]), "Motion=Motion" + away);
    EXPECT_EQ(textOf(keys.now()[1]), "Simple=Simple");
    switches.clear();
    ASSERT_TRUE(device->target().setConfiguration(documentFor("Motion", "Gate")));
    device->target().currentConfiguration();
    EXPECT_THAT(switches, IsEmpty()) << "questions are no switches";
    ASSERT_TRUE(unit().goToPreset("Gate", kOperator));
    device->drain();
    EXPECT_EQ(textOf(keys.now()[0]), "Motion=");
    EXPECT_EQ(textOf(keys.now()[1]), "Simple=");
    untilItStands();
    EXPECT_EQ(textOf(keys.now()[0]), "Motion=MotionGate");
    EXPECT_EQ(textOf(keys.now()[1]), "Simple=Simple");
    ASSERT_TRUE(unit().removePreset("Gate"));
    device->drain();
    EXPECT_EQ(keys.now().size(), 2u);
}

} // namespace
