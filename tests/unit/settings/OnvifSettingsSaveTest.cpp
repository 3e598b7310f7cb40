// Changes, and what they write.
#include "OnvifSettingsFixture.h"

#include "ravel/RavelApiException.h"

using namespace std::string_literals;
using kit::journal;
using kit::platform;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using OnvifSettingsSaveTest = OnvifSettingsTest;

TEST_F(OnvifSettingsSaveTest, logsAnAdditionBeforeItIsWritten)
{
    Settings settings = fresh();
    settings.AddOrModifyBehaviorSetting("K1", "C1");
    EXPECT_THAT(takeAll(),
                ElementsAre("log 6 \"Analytics Setting Key K1: C1\"", "settingsSetJson OnvifAnalytics -> 0"));
}

TEST_F(OnvifSettingsSaveTest, writesTheWholeDocumentInKeyOrder)
{
    Settings settings = fresh();
    settings.AddOrModifyBehaviorSetting("K2", "C2");
    settings.AddOrModifyBehaviorSetting("K1", "C1");
    EXPECT_THAT(written(), ElementsAre(R"([ { "key" : "K2", "config" : "C2" } ])",
                                       R"([ { "key" : "K1", "config" : "C1" }, { "key" : "K2", "config" : "C2" } ])"));
}

TEST_F(OnvifSettingsSaveTest, ordersKeysByTheirBytes)
{
    Settings settings = fresh();
    for (const char* key : {"b", "a", "B", "aa", "\xc3\xa9", "~"}) {
        settings.AddOrModifyBehaviorSetting(key, "");
    }
    EXPECT_THAT(keysOf(settings), ElementsAre("B", "a", "aa", "b", "~", "\xc3\xa9"));
}

TEST_F(OnvifSettingsSaveTest, writesOnceForEachAddition)
{
    Settings settings = fresh();
    for (int i = 0; i < 5; ++i) {
        settings.AddOrModifyBehaviorSetting("K", "C");
    }
    EXPECT_EQ(written().size(), 5U);
    EXPECT_EQ(written().back(), R"([ { "key" : "K", "config" : "C" } ])");
}

TEST_F(OnvifSettingsSaveTest, replacesTheTextOfAKnownKey)
{
    Settings settings = fresh();
    settings.AddOrModifyBehaviorSetting("K", "old");
    settings.AddOrModifyBehaviorSetting("K", "new");
    EXPECT_EQ(settings.GetSetting("K"), "new");
    EXPECT_EQ(written().back(), R"([ { "key" : "K", "config" : "new" } ])");
}

TEST_F(OnvifSettingsSaveTest, acceptsTheEmptyKeyAndTheEmptyText)
{
    Settings settings = fresh();
    settings.AddOrModifyBehaviorSetting("", "");
    EXPECT_THAT(takeLogs(), ElementsAre("log 6 \"Analytics Setting Key : \""));
    EXPECT_THAT(written(), ElementsAre(R"([ { "key" : "", "config" : "" } ])"));
}

TEST_F(OnvifSettingsSaveTest, logsTheFullTextAndNeverReadsItAsAFormat)
{
    Settings settings = fresh();
    const std::string text = "%s%n%d" + std::string(5000, 'x');
    settings.AddOrModifyBehaviorSetting("%s", text);
    EXPECT_THAT(takeLogs(), ElementsAre("log 6 \"Analytics Setting Key %s: " + text + "\""));
}

TEST_F(OnvifSettingsSaveTest, escapesWhatItWrites)
{
    Settings settings = fresh();
    settings.AddOrModifyBehaviorSetting("Vor\xc3\xa4u\xc3\x9f", "<a b=\"1\">\n\\\xf0\x9f\x93\xb7\x80</a>");
    EXPECT_THAT(written(), ElementsAre("[ { \"key\" : \"Vor\\u00e4u\\u00df\", \"config\" : "
                                       "\"<a b=\\\"1\\\">\\n\\\\\xf0\x9f\x93\xb7\x80</a>\" } ]"));
}

TEST_F(OnvifSettingsSaveTest, findsEveryByteAgainAfterARestart)
{
    std::string text;
    for (int byte = 0; byte < 256; ++byte) {
        text += static_cast<char>(byte);
    }
    const std::string key = "line\nfeed \xc3\xa9 \xe2\x82\xac \0"s + text;
    Settings settings = fresh();
    settings.AddOrModifyBehaviorSetting(key, text);
    const Settings restarted = fresh();
    EXPECT_THAT(keysOf(restarted), ElementsAre(key));
    EXPECT_EQ(restarted.GetSetting(key), text);
}

TEST_F(OnvifSettingsSaveTest, ignoresTheStatusOfAWrite)
{
    Settings settings = fresh();
    platform().settings.setStatus = 5;
    settings.AddOrModifyBehaviorSetting("K", "C");
    EXPECT_THAT(takeAll(), ElementsAre("log 6 \"Analytics Setting Key K: C\"", "settingsSetJson OnvifAnalytics -> 5"));
    EXPECT_EQ(settings.GetSetting("K"), "C");
}

TEST_F(OnvifSettingsSaveTest, letsWhatAWriteThrowsThroughAndKeepsTheText)
{
    Settings settings = fresh();
    before("settingsSetJson", [] { throw ravel::core::RavelApiException("write", 4); });
    EXPECT_THROW(settings.AddOrModifyBehaviorSetting("K", "C"), ravel::core::RavelApiException);
    EXPECT_THROW(settings.Save(), ravel::core::RavelApiException);
    EXPECT_EQ(settings.GetSetting("K"), "C");
}

TEST_F(OnvifSettingsSaveTest, writesNothingWithoutSettings)
{
    Settings settings = fresh();
    settings.Save();
    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(OnvifSettingsSaveTest, savesWithoutALogLine)
{
    Settings settings = load(R"([{"key":"A","config":"1"}])");
    journal().clear();
    settings.Save();
    EXPECT_THAT(takeAll(), ElementsAre("settingsSetJson OnvifAnalytics -> 0"));
    EXPECT_THAT(written(), ElementsAre(R"([ { "key" : "A", "config" : "1" } ])"));
}

TEST_F(OnvifSettingsSaveTest, saysNothingToTheStoreWhenItEnds)
{
    {
        const Settings settings = load(R"([{"key":"A","config":"1"}])");
        journal().clear();
    }
    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(OnvifSettingsSaveTest, deletesFromMemoryOnly)
{
    Settings settings = load(R"([{"key":"A","config":"1"},{"key":"B","config":"2"}])");
    journal().clear();
    settings.DeleteSettings("A");
    EXPECT_THAT(takeAll(), IsEmpty());
    EXPECT_THAT(keysOf(settings), ElementsAre("B"));
    settings.Save();
    EXPECT_THAT(written(), ElementsAre(R"([ { "key" : "B", "config" : "2" } ])"));
}

TEST_F(OnvifSettingsSaveTest, deletesOnlyTheWholeKey)
{
    Settings settings = load(R"([{"key":"A","config":"1"},{"key":"AB","config":"2"}])");
    settings.DeleteSettings("A");
    EXPECT_THAT(keysOf(settings), ElementsAre("AB"));
}

TEST_F(OnvifSettingsSaveTest, bringsTheLastSettingBackAfterARestart)
{
    Settings settings = load(R"([{"key":"A","config":"1"}])");
    settings.DeleteSettings("A");
    settings.Save();
    EXPECT_THAT(written(), IsEmpty());
    EXPECT_THAT(keysOf(fresh()), ElementsAre("A"));
}

TEST_F(OnvifSettingsSaveTest, bringsADeletedSettingBackUnlessSomethingWasSavedSince)
{
    Settings settings = load(R"([{"key":"A","config":"1"}])");
    settings.DeleteSettings("A");
    EXPECT_THAT(keysOf(fresh()), ElementsAre("A"));
    settings.AddOrModifyBehaviorSetting("B", "2");
    EXPECT_THAT(keysOf(fresh()), ElementsAre("B"));
}

TEST_F(OnvifSettingsSaveTest, saysThatItCannotDeleteAnUnknownSetting)
{
    Settings settings = load(R"([{"key":"A","config":"1"}])");
    journal().clear();
    settings.DeleteSettings("B%s");
    EXPECT_THAT(takeAll(), ElementsAre("log 7 \"Could not find setting B%s\""));
    EXPECT_THAT(keysOf(settings), ElementsAre("A"));
}

TEST_F(OnvifSettingsSaveTest, neverDeletesTheEmptyKey)
{
    Settings settings = load(R"([{"key":"","config":"1"}])");
    journal().clear();
    settings.DeleteSettings("");
    EXPECT_THAT(takeAll(), ElementsAre("log 7 \"Could not find setting \""));
    EXPECT_THAT(keysOf(settings), ElementsAre(""));
}
