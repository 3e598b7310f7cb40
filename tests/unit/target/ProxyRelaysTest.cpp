// Device state on its way to the engines, and frame files.

#include "unit/target/ProxyTargetFixture.h"

namespace korva::meridan::tests {

namespace {

using ProxyRelaysTest = ProxyTargetTest;
using ProxyFrameFilesTest = ProxyTargetTest;

TEST_F(ProxyRelaysTest, tellsEveryEngineInOrderAboutWindowBlanking)
{
    startFixed({motion, line});
    proxy->setWindowBlankingColor({76, 91, 255});

    proxy->handleWindowBlankingEvent(true);
    proxy->handleWindowBlankingEvent(false);

    EXPECT_THAT(
        takeAll(),
        ElementsAre("log 6 \"Window blanking event enabled true\"", "onWindowBlankingChange Motion true 76 91 255",
                    "onWindowBlankingChange Line true 76 91 255", "log 6 \"Window blanking event enabled false\"",
                    "onWindowBlankingChange Motion false 76 91 255", "onWindowBlankingChange Line false 76 91 255"));
}

TEST_F(ProxyRelaysTest, beginsWithABlankingColourOfZeros)
{
    startFixed({motion});

    proxy->handleWindowBlankingEvent(true);

    EXPECT_THAT(takeEngineCalls(), ElementsAre("onWindowBlankingChange Motion true 0 0 0"));
}

TEST_F(ProxyRelaysTest, tellsNoEngineAboutAColourAlone)
{
    startFixed({motion});
    proxy->handleWindowBlankingEvent(true);
    journal().clear();

    proxy->setWindowBlankingColor({1, 2, 3});
    EXPECT_THAT(takeAll(), IsEmpty());

    proxy->handleWindowBlankingEvent(true);
    EXPECT_THAT(takeEngineCalls(), ElementsAre("onWindowBlankingChange Motion true 1 2 3"));
}

TEST_F(ProxyRelaysTest, keepsTheOrientationAndTellsEveryEngineInOrder)
{
    startFixed({line, motion});

    proxy->handleOrientationChangeEvent(90);

    EXPECT_EQ(proxy->getFrameOrientation(), 90U);
    EXPECT_THAT(takeAll(), ElementsAre("log 6 \"rotation call back\"", "onOrientationChanged Line 90",
                                       "onOrientationChanged Motion 90"));
}

TEST_F(ProxyRelaysTest, storesTheOrientationBeforeTheEnginesHearOfIt)
{
    startFixed({motion});
    unsigned int seen = 0;
    motion->before["onOrientationChanged"] = [&] { seen = proxy->getFrameOrientation(); };

    proxy->handleOrientationChangeEvent(270);

    EXPECT_EQ(seen, 270U);
}

TEST_F(ProxyRelaysTest, takesAnyOrientation)
{
    startFixed({motion});

    for (const unsigned int degrees : {0U, 45U, 360U, 4294967295U}) {
        proxy->handleOrientationChangeEvent(degrees);
        EXPECT_EQ(proxy->getFrameOrientation(), degrees);
    }
}

TEST_F(ProxyRelaysTest, givesEveryEngineTheEmptyKeyWhileTheDayNightSwitchMoves)
{
    stored({{"Line", "<l/>"}, {"Motion", "<m/>"}});
    startFixed({motion, line});

    proxy->handleDayNightChangeEvent(true);

    EXPECT_THAT(takeAll(), ElementsAreArray(joined({{"log 6 \"day night change call back, movement: true\""},
                                                    cleared("Motion", ""),
                                                    cleared("Line", "")})));
    EXPECT_EQ(motion->activeRuleSet(), 0);

    proxy->handleDayNightChangeEvent(false);

    EXPECT_EQ(journal().all().front(), "log 6 \"day night change call back, movement: false\"");
    EXPECT_NE(motion->activeRuleSet(), 0);
    EXPECT_NE(line->activeRuleSet(), 0);
}

TEST_F(ProxyRelaysTest, returnsToThePresetsKeyAfterTheDayNightSwitch)
{
    stored({{"MotionP1", "<p1/>"}});
    startMovable({motion});
    arriveAt("P1");

    proxy->handleDayNightChangeEvent(true);
    proxy->handleDayNightChangeEvent(false);

    EXPECT_EQ(motion->activeRuleSet(), 1);
}

TEST_F(ProxyRelaysTest, onlyLogsAndStoresWithoutEngines)
{
    startFixed({});

    proxy->handleWindowBlankingEvent(false);
    proxy->handleOrientationChangeEvent(180);
    proxy->handleDayNightChangeEvent(true);

    EXPECT_THAT(takeAll(), ElementsAre("log 6 \"Window blanking event enabled false\"", "log 6 \"rotation call back\"",
                                       "log 6 \"day night change call back, movement: true\""));
    EXPECT_EQ(proxy->getFrameOrientation(), 180U);
}

TEST_F(ProxyFrameFilesTest, callsEveryEngineOfThatNameInOrder)
{
    const auto second = std::make_shared<FakeEngine>("Motion");
    startFixed({motion, line, second});
    motion->fileResult = false;

    EXPECT_EQ(proxy->writeFramesToFile("Motion", "/a/path", 4294967295U), 0);

    EXPECT_THAT(takeAll(), ElementsAre("writeFramesToFile Motion /a/path 4294967295",
                                       "writeFramesToFile Motion /a/path 4294967295"));
}

TEST_F(ProxyFrameFilesTest, readsWithAnyFlagButZeroTakenForTrue)
{
    startFixed({motion});

    EXPECT_EQ(proxy->readFramesFromFile("Motion", "/a/path", 0), 0);
    EXPECT_EQ(proxy->readFramesFromFile("Motion", "/a/path", 1), 0);
    EXPECT_EQ(proxy->readFramesFromFile("Motion", "/a/path", 255), 0);

    EXPECT_THAT(takeAll(),
                ElementsAre("readFramesFromFile Motion /a/path false", "readFramesFromFile Motion /a/path true",
                            "readFramesFromFile Motion /a/path true"));
}

TEST_F(ProxyFrameFilesTest, readsOnEveryEngineOfThatNameAndHidesFailures)
{
    const auto second = std::make_shared<FakeEngine>("Motion");
    startFixed({motion, second});
    motion->fileResult = false;

    EXPECT_EQ(proxy->readFramesFromFile("Motion", "p", 1), 0);

    EXPECT_THAT(takeAll(), ElementsAre("readFramesFromFile Motion p true", "readFramesFromFile Motion p true"));
}

TEST_F(ProxyFrameFilesTest, comparesNamesExactly)
{
    startFixed({motion});

    for (const char* name : {"motion", "Motio", "Motion1", "", "MOTION"}) {
        EXPECT_EQ(proxy->writeFramesToFile(name, "p", 1), 0);
        EXPECT_EQ(proxy->readFramesFromFile(name, "p", 1), 0);
    }
    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(ProxyFrameFilesTest, succeedsWithoutEngines)
{
    startFixed({});

    EXPECT_EQ(proxy->writeFramesToFile("Motion", "p", 1), 0);
    EXPECT_EQ(proxy->readFramesFromFile("Motion", "p", 1), 0);
}

TEST_F(ProxyRelaysTest, findsAnEngineWithoutANameByTheEmptyName)
{
    startFixed({std::make_shared<FakeEngine>(""), motion});

    EXPECT_EQ(proxy->writeFramesToFile("", "p", 1), 0);
    EXPECT_EQ(proxy->readFramesFromFile("", "p", 1), 0);

    EXPECT_THAT(takeAll(), ElementsAre("writeFramesToFile  p 1", "readFramesFromFile  p true"));
}

} // namespace

} // namespace korva::meridan::tests
