// Starting from what the settings store holds.
#include "OnvifSettingsFixture.h"
#include "kit/Heap.h"

#include "ravel/RavelApiException.h"

#include <stdexcept>
#include <type_traits>

using kit::journal;
using kit::platform;
using namespace testing;

using OnvifSettingsLoadTest = OnvifSettingsTest;

TEST_F(OnvifSettingsLoadTest, registersTheDefaultDocumentBeforeItReads)
{
    const Settings settings(kit::Platform::logHandle());
    EXPECT_THAT(takeAll(),
                ElementsAre("settingsSetDefault OnvifAnalytics [] -> 0", "settingsGetJson OnvifAnalytics -> 0"));
    EXPECT_THAT(settings.GetAllKeys(), IsEmpty());
}

TEST_F(OnvifSettingsLoadTest, ignoresARefusedDefault)
{
    platform().settings.setDefaultStatus = 5;
    const Settings settings = load(R"([ { "key" : "A", "config" : "1" } ])");
    EXPECT_THAT(keysOf(settings), ElementsAre("A"));
    EXPECT_THAT(takeLogs(), IsEmpty());
}

TEST_F(OnvifSettingsLoadTest, readsEverySettingWithoutALogLine)
{
    const Settings settings = load(R"([ { "key" : "B", "config" : "2" }, { "key" : "A", "config" : "1" } ])");
    EXPECT_THAT(takeLogs(), IsEmpty());
    EXPECT_THAT(keysOf(settings), ElementsAre("A", "B"));
    EXPECT_EQ(settings.GetSetting("A"), "1");
    EXPECT_EQ(settings.GetSetting("B"), "2");
}

TEST_F(OnvifSettingsLoadTest, takesMembersInAnyOrderAndIgnoresOthers)
{
    const Settings settings = load(R"([{"config":"1","extra":[null,{"key":"X"}],"key":"A"}])");
    EXPECT_EQ(settings.GetSetting("A"), "1");
    EXPECT_THAT(takeLogs(), ElementsAre());
}

TEST_F(OnvifSettingsLoadTest, takesTheEmptyKeyAndTheEmptyText)
{
    const Settings settings = load(R"([{"key":"","config":"1"},{"key":"A","config":""}])");
    EXPECT_THAT(keysOf(settings), ElementsAre("", "A"));
    EXPECT_THAT(takeLogs(), IsEmpty());
}

TEST_F(OnvifSettingsLoadTest, letsTheLaterOfTwoEqualKeysWin)
{
    const Settings settings = load(R"([{"key":"A","config":"1"},{"key":"A","config":"2"}])");
    EXPECT_THAT(keysOf(settings), ElementsAre("A"));
    EXPECT_EQ(settings.GetSetting("A"), "2");
}

TEST_F(OnvifSettingsLoadTest, reportsAFailedRead)
{
    platform().settings.getStatus = 3;
    const Settings settings = load(R"([{"key":"A","config":"1"}])");
    EXPECT_THAT(takeLogs(), ElementsAre("log 3 \"Failed to load OnvifSettings.\""));
    EXPECT_THAT(settings.GetAllKeys(), IsEmpty());
}

TEST_F(OnvifSettingsLoadTest, reportsANegativeStatusToo)
{
    platform().settings.getStatus = -1;
    load("[]");
    EXPECT_THAT(takeLogs(), ElementsAre("log 3 \"Failed to load OnvifSettings.\""));
}

TEST_F(OnvifSettingsLoadTest, letsWhatTheStoreThrowsLeaveTheConstructor)
{
    before("settingsGetJson", [] { throw ravel::core::RavelApiException("read", 4); });
    EXPECT_THROW(fresh(), ravel::core::RavelApiException);
    EXPECT_THAT(takeAll(), ElementsAre("settingsSetDefault OnvifAnalytics [] -> 0"));
}

TEST_F(OnvifSettingsLoadTest, hasForgottenEverythingWhenTheStoreThrowsOnALaterLoad)
{
    Settings settings = load(R"([{"key":"A","config":"1"}])");
    before("settingsGetJson", [] { throw std::runtime_error("broken"); });
    EXPECT_THROW(settings.Load(), std::runtime_error);
    EXPECT_THAT(settings.GetAllKeys(), IsEmpty());
}

TEST_F(OnvifSettingsLoadTest, replacesEverythingOnALaterLoad)
{
    Settings settings = load(R"([{"key":"A","config":"1"}])");
    store(R"([{"key":"B","config":"2"}])");
    settings.Load();
    EXPECT_THAT(keysOf(settings), ElementsAre("B"));
}

TEST_F(OnvifSettingsLoadTest, forgetsEverythingWhenALaterReadFails)
{
    Settings settings = load(R"([{"key":"A","config":"1"}])");
    platform().settings.getStatus = 1;
    settings.Load();
    EXPECT_THAT(settings.GetAllKeys(), IsEmpty());
}

TEST_F(OnvifSettingsLoadTest, readsPastANumberThatNoDoubleHolds)
{
    const Settings settings = load(R"([{"key":"A","config":"1","more":1e400},{"key":"B","config":"2"}])");
    EXPECT_THAT(keysOf(settings), ElementsAre("A", "B"));
    EXPECT_THAT(takeLogs(), IsEmpty());
}

TEST_F(OnvifSettingsLoadTest, keepsWhatStandsBeforeANumberInTheWrongPlaceWhateverItsSize)
{
    const Settings settings = load(R"([{"key":"A","config":"1"},{"key":"B","config":1e400},{"key":"C","config":"3"}])");
    EXPECT_THAT(keysOf(settings), ElementsAre("A"));
    EXPECT_THAT(takeLogs(), ElementsAre("log 3 \"Caught OnvifSettings json exception: Bad cast\""));
}

TEST_F(OnvifSettingsLoadTest, reportsARootThatIsNoArrayAsAParseError)
{
    const Settings settings = load("{}");
    EXPECT_THAT(takeLogs(), ElementsAre(MatchesRegex("log 3 \"Caught OnvifSettings ParseException: .*not an array\"")));
    EXPECT_THAT(settings.GetAllKeys(), IsEmpty());
}

TEST_F(OnvifSettingsLoadTest, takesNothingFromADocumentWithASyntaxError)
{
    for (const char* document : {"", "[{\"key\":\"A\",\"config\":\"1\"},]", "[{\"key\":\"A\",\"config\":\"1\"}] x",
                                 "[{\"key\":\"A\",\"config\":\"1\"}"}) {
        const Settings settings = load(document);
        EXPECT_THAT(takeLogs(), ElementsAre(StartsWith("log 3 \"Caught OnvifSettings ParseException: Line ")))
            << document;
        EXPECT_THAT(settings.GetAllKeys(), IsEmpty());
    }
}

TEST_F(OnvifSettingsLoadTest, keepsWhatStandsBeforeAnElementThatIsNoObject)
{
    for (const char* other : {"5", "null", "true", "\"key\"", "[]", "[\"key\"]", "{}"}) {
        const Settings settings = load(std::string(R"([ { "key" : "A", "config" : "1" }, )") + other +
                                       R"(, { "key" : "B", "config" : "2" } ])");
        EXPECT_THAT(takeLogs(),
                    ElementsAre("log 3 \"Caught OnvifSettings json exception: Object member not found: key\""));
        EXPECT_THAT(keysOf(settings), ElementsAre("A"));
    }
}

TEST_F(OnvifSettingsLoadTest, stopsAtAMissingConfig)
{
    const Settings settings = load(R"([{"key":"A","config":"1"},{"key":"B"},{"key":"C","config":"3"}])");
    EXPECT_THAT(takeLogs(),
                ElementsAre("log 3 \"Caught OnvifSettings json exception: Object member not found: config\""));
    EXPECT_THAT(keysOf(settings), ElementsAre("A"));
}

TEST_F(OnvifSettingsLoadTest, stopsAtAValueThatIsNoString)
{
    for (const char* element :
         {R"({"key":"B","config":1})", R"({"key":"B","config":null})", R"({"key":"B","config":{}})",
          R"({"key":"B","config":["1"]})", R"({"key":true,"config":"1"})"}) {
        const Settings settings = load(std::string(R"([{"key":"A","config":"1"},)") + element + "]");
        EXPECT_THAT(takeLogs(), ElementsAre("log 3 \"Caught OnvifSettings json exception: Bad cast\"")) << element;
        EXPECT_THAT(keysOf(settings), ElementsAre("A"));
    }
}

TEST_F(OnvifSettingsLoadTest, judgesTheKeyBeforeItLooksForTheConfig)
{
    load(R"([{"key":5}])");
    EXPECT_THAT(takeLogs(), ElementsAre("log 3 \"Caught OnvifSettings json exception: Bad cast\""));
}

TEST_F(OnvifSettingsLoadTest, keepsTheOldTextWhenTheSecondOfTwoEqualKeysHasNone)
{
    const Settings settings = load(R"([{"key":"A","config":"1"},{"key":"A","config":2}])");
    EXPECT_EQ(settings.GetSetting("A"), "1");
}

TEST_F(OnvifSettingsLoadTest, survivesAnyOtherFailureWhileReading)
{
    if (!kit::heapIsWatched()) {
        GTEST_SKIP() << "a sanitizer's allocator refuses nothing";
    }
    constexpr std::size_t kText = 50000;
    const std::string document = R"([{"key":"A","config":")" + std::string(kText, 'x') + R"("}])";
    store(document);
    Settings settings = fresh();
    {
        const kit::RefusedSizes heap(kText, kText + 8);
        settings.Load();
    }
    EXPECT_THAT(takeLogs(), ElementsAre("log 3 \"Caught OnvifSettings load json exception\""));
    EXPECT_THAT(settings.GetAllKeys(), IsEmpty());
}

TEST_F(OnvifSettingsLoadTest, ignoresMembersThatReadLikeFormats)
{
    const Settings settings = load("[{\"%s%n\":1}]");
    EXPECT_THAT(takeLogs(), ElementsAre("log 3 \"Caught OnvifSettings json exception: Object member not found: key\""));
}

TEST_F(OnvifSettingsLoadTest, logsToTheHandleThatItWasGiven)
{
    store("{}");
    int other = 0;
    const Settings settings(&other);
    EXPECT_THAT(takeLogs(), ElementsAre(StartsWith("dropped log 3 ")));
}

TEST_F(OnvifSettingsLoadTest, hasNoVirtualOperation)
{
    EXPECT_FALSE(std::is_polymorphic_v<Settings>);
}
