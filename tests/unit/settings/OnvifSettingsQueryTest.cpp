// Looking settings up, listing and logging them.
#include "OnvifSettingsFixture.h"

using namespace std::string_literals;
using kit::journal;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using OnvifSettingsQueryTest = OnvifSettingsTest;

TEST_F(OnvifSettingsQueryTest, givesTheStoredTextWithoutALogLine)
{
    const Settings settings = load(R"([{"key":"A","config":"text"}])");
    journal().clear();
    EXPECT_EQ(settings.GetSetting("A"), "text");
    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(OnvifSettingsQueryTest, givesAStoredEmptyTextWithoutALogLine)
{
    const Settings settings = load(R"([{"key":"A","config":""}])");
    journal().clear();
    EXPECT_EQ(settings.GetSetting("A"), "");
    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(OnvifSettingsQueryTest, saysThatItCannotFindAnUnknownKey)
{
    const Settings settings = load(R"([{"key":"AB","config":"1"}])");
    journal().clear();
    EXPECT_EQ(settings.GetSetting("A"), "");
    EXPECT_EQ(settings.GetSetting("%n"), "");
    EXPECT_THAT(takeAll(), ElementsAre("log 7 \"Could not find setting A\"", "log 7 \"Could not find setting %n\""));
}

TEST_F(OnvifSettingsQueryTest, neverFindsTheEmptyKeyEvenWhenItIsStored)
{
    const Settings settings = load(R"([{"key":"","config":"1"}])");
    journal().clear();
    EXPECT_EQ(settings.GetSetting(""), "");
    EXPECT_THAT(takeAll(), ElementsAre("log 7 \"Could not find setting \""));
}

TEST_F(OnvifSettingsQueryTest, listsAsManyEmptyStringsAsKeysInFrontOfThem)
{
    EXPECT_THAT(load(R"([{"key":"b","config":"2"},{"key":"a","config":"1"}])").GetAllKeys(),
                ElementsAre("", "", "a", "b"));
    EXPECT_THAT(load(R"([{"key":"a","config":"1"}])").GetAllKeys(), ElementsAre("", "a"));
    EXPECT_THAT(load("[]").GetAllKeys(), IsEmpty());
}

TEST_F(OnvifSettingsQueryTest, listsTheEmptyKeyToo)
{
    EXPECT_THAT(load(R"([{"key":"a","config":"1"},{"key":"","config":"2"}])").GetAllKeys(),
                ElementsAre("", "", "", "a"));
}

TEST_F(OnvifSettingsQueryTest, logsEverySettingInKeyOrderWithTenBytes)
{
    const Settings settings = load(R"([{"key":"b","config":"0123456789ABC"},{"key":"a","config":"abc"},
                                       {"key":"c","config":"0123456789"},{"key":"d","config":"0123456789A"},
                                       {"key":"e","config":""}])");
    journal().clear();
    settings.ShortLog();
    EXPECT_THAT(takeAll(), ElementsAre("log 3 \"OnvifSettings key a value abc...\"",
                                       "log 3 \"OnvifSettings key b value 0123456789...\"",
                                       "log 3 \"OnvifSettings key c value 0123456789...\"",
                                       "log 3 \"OnvifSettings key d value 0123456789...\"",
                                       "log 3 \"OnvifSettings key e value ...\""));
}

TEST_F(OnvifSettingsQueryTest, cutsTheLoggedTextBetweenTheBytesOfACharacter)
{
    Settings settings = fresh();
    settings.AddOrModifyBehaviorSetting("a", "012345678\xc3\xa9");
    journal().clear();
    settings.ShortLog();
    EXPECT_THAT(takeLogs(), ElementsAre("log 3 \"OnvifSettings key a value 012345678\xc3...\""));
}

TEST_F(OnvifSettingsQueryTest, neverReadsLoggedSettingsAsAFormat)
{
    Settings settings = fresh();
    settings.AddOrModifyBehaviorSetting("%s%n", "%s%n%d%f");
    journal().clear();
    settings.ShortLog();
    EXPECT_THAT(takeLogs(), ElementsAre("log 3 \"OnvifSettings key %s%n value %s%n%d%f...\""));
}

TEST_F(OnvifSettingsQueryTest, logsNothingWithoutSettings)
{
    EXPECT_FALSE(std::is_polymorphic_v<korva::meridan::OnvifSettings>);
    fresh().ShortLog();
    EXPECT_THAT(takeAll(), IsEmpty());
}
