#include "PluginTest.h"

#include "kit/Story.h"
#include "korva/meridan/BasicFilterPlugin.h"
#include "ptz/PtzShim.h"
#include "ravel/RavelApiAnalyticsTargetImplBase.h"
#include "ravel/RavelApiAnalyticsTargetRun.h"
#include "target/OnvifTarget.h"

#include <libxml/globals.h>
#include <libxml/parser.h>

#include <stdexcept>

namespace {

using kit::journal;
using kit::platform;
using korva::meridan::createDetectionPlugin;
using namespace testing;

class LifecycleTest : public PluginTest {
protected:
    /// The start of a fixed camera without services, from the base to the last log line.
    static Lines startOfABareCamera()
    {
        return kit::joined(
            {{"filterConstructed", "loggingInit DETECTION -> 0", "isAvailable -> false",
              "getSupportedAnalyticsLibs -> 0", "isAvailable -> false", "settingsSetDefault OnvifAnalytics [] -> 0",
              "settingsGetJson OnvifAnalytics -> 0", "isAvailable -> false"},
             kit::missingDevices(),
             {"log 6 \"rotation call back\"", "startServing onvif_analytic_service",
              "log 7 \"DetectionPlugin::DetectionPlugin\""}});
    }
};

TEST_F(LifecycleTest, bringsEverythingUpInOrder)
{
    platform().positioning.journalAvailability = true;
    construct();
    EXPECT_EQ(journal().all(), startOfABareCamera());
}

TEST_F(LifecycleTest, opensNoMetadataStreamBeforeTheFirstFrame)
{
    platform().offerAllServices();
    construct();
    EXPECT_EQ(journal().count("getTargetIds onvif_metadata_streamer -> true"), 0U);
    EXPECT_THAT(journal().startingWith("streamer"), IsEmpty());
}

TEST_F(LifecycleTest, handsTheConfigurationToItsBase)
{
    construct();
    EXPECT_EQ(platform().framework.filterConfiguration, &configuration);
}

TEST_F(LifecycleTest, needsNoEnvironment)
{
    plugin.reset(createDetectionPlugin(nullptr, configuration));
    EXPECT_THAT(platform().framework.serving, SizeIs(1));
}

TEST_F(LifecycleTest, givesItsLogHandleToEnginesAndRunner)
{
    construct();
    EXPECT_NE(platform().logging.initHandle, nullptr);
    EXPECT_EQ(platform().engineLibrary.logContext, platform().logging.initHandle);
    ASSERT_THAT(platform().framework.serving, SizeIs(1));
    EXPECT_EQ(platform().framework.serving[0].logHandle, platform().logging.initHandle);
    EXPECT_EQ(platform().framework.serving[0].serviceName, "onvif_analytic_service");
    EXPECT_NE(platform().framework.serving[0].target, nullptr);
}

TEST_F(LifecycleTest, goesOnWhateverLoggingAnswers)
{
    platform().logging.initStatus = 5;
    construct();
    EXPECT_THAT(journal().logs(), Contains("log 7 \"DetectionPlugin::DetectionPlugin\""));
}

TEST_F(LifecycleTest, passesANullLogHandleOnWhenNoneWasWritten)
{
    platform().logging.initWritesHandle = false;
    construct();
    EXPECT_EQ(platform().engineLibrary.logContext, nullptr);
    EXPECT_EQ(platform().framework.serving[0].logHandle, nullptr);
    plugin.reset();
    EXPECT_THAT(platform().logging.closedHandles, ElementsAre(nullptr));
}

TEST_F(LifecycleTest, givesEnginesAMovementAdapterThatKnowsTheCamera)
{
    construct();
    ASSERT_NE(platform().engineLibrary.ptz, nullptr);
    EXPECT_FALSE(platform().engineLibrary.ptz->IsValid());
}

TEST_F(LifecycleTest, givesEnginesAWorkingMovementAdapterOnAPtzCamera)
{
    platform().positioning.available = true;
    construct();
    ASSERT_NE(platform().engineLibrary.ptz, nullptr);
    EXPECT_TRUE(platform().engineLibrary.ptz->IsValid());
}

TEST_F(LifecycleTest, keepsNoHandleOfTheMovementAdapter)
{
    platform().engineLibrary.keepsPtz = false;
    construct();
    EXPECT_TRUE(platform().engineLibrary.ptzSeen.expired());
}

TEST_F(LifecycleTest, holdsTheMovementAdapterUntilItIsBuilt)
{
    platform().engineLibrary.keepsPtz = false;
    bool aliveAtTheEnd = false;
    platform().before["startServing"] = [&] { aliveAtTheEnd = !platform().engineLibrary.ptzSeen.expired(); };
    construct();
    EXPECT_TRUE(aliveAtTheEnd);
}

TEST_F(LifecycleTest, leavesTheMovementAdapterToTheEngines)
{
    construct();
    plugin.reset();
    EXPECT_FALSE(platform().engineLibrary.ptzSeen.expired());
    platform().engineLibrary.ptz.reset();
    EXPECT_TRUE(platform().engineLibrary.ptzSeen.expired());
}

TEST_F(LifecycleTest, sharesTheSameEnginesWithItsTarget)
{
    const auto engine = addEngine("Motion");
    construct();
    EXPECT_NE(engine->handler(), nullptr);
    deliverFrame();
    EXPECT_EQ(journal().count("onFrame Motion -> true"), 1U);
}

TEST_F(LifecycleTest, takesEverythingDownInOrder)
{
    addEngine("Motion");
    construct();
    platform().engineLibrary.engines.clear();
    journal().clear();
    plugin.reset();
    EXPECT_THAT(journal().all(),
                ElementsAre("log 7 \"DetectionPlugin::~DetectionPlugin\"", "streamerDeinit(0)", "loggingDeinit",
                            "xmlCleanupParser", "stopServing onvif_analytic_service", "clearAllRules Motion",
                            "target base destroyed", "engine Motion destroyed", "filterDestroyed"));
}

TEST_F(LifecycleTest, closesTheStreamThatWasOpened)
{
    platform().offerAllServices();
    build();
    deliverFrame();
    journal().clear();
    plugin.reset();
    EXPECT_THAT(journal().startingWith("streamerDeinit"), ElementsAre("streamerDeinit(77)"));
}

TEST_F(LifecycleTest, closesTheLogHandleThatItOpened)
{
    construct();
    void* const handle = platform().logging.initHandle;
    plugin.reset();
    EXPECT_THAT(platform().logging.closedHandles, ElementsAre(handle));
}

TEST_F(LifecycleTest, servesUntilItsMembersGo)
{
    construct();
    EXPECT_THAT(platform().framework.serving, SizeIs(1));
    plugin.reset();
    EXPECT_THAT(platform().framework.serving, IsEmpty());
}

TEST_F(LifecycleTest, losesWhatIsLoggedOnceTheHandleIsClosed)
{
    const auto engine = addEngine("Motion");
    platform().settings.analytics() = R"([ { "key" : "Motion", "config" : "<a/>" } ])";
    construct();
    engine->before["clearAllRules"] = [] {
        ravel_core_logging_log(platform().logging.initHandle, RAVEL_CORE_LOG_INFO, "late");
    };
    journal().clear();
    plugin.reset();
    EXPECT_THAT(journal().logs(), ElementsAre("log 7 \"DetectionPlugin::~DetectionPlugin\"", "dropped log 6 \"late\""));
    EXPECT_EQ(engine->notReturned(), 0);
}

TEST_F(LifecycleTest, cleansTheXmlParserUp)
{
    construct();
    // The parser's global state comes back to its start value when it is cleaned up, and only then.
    xmlInitParser();
    xmlChar* const before = xmlStrdup(reinterpret_cast<const xmlChar*>("x"));
    xmlFree(before);
    xmlRegisterNodeDefault([](xmlNodePtr) {});
    xmlResetLastError();
    xmlParserCtxtPtr context = xmlNewParserCtxt();
    xmlFreeDoc(xmlCtxtReadMemory(context, "<a", 2, nullptr, nullptr, XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    xmlFreeParserCtxt(context);
    ASSERT_NE(xmlGetLastError(), nullptr);
    plugin.reset();
    EXPECT_EQ(xmlGetLastError(), nullptr);
}

TEST_F(LifecycleTest, canBeBuiltAgainAfterItWasTakenDown)
{
    platform().positioning.journalAvailability = true;
    construct();
    plugin.reset();
    journal().clear();
    construct();
    EXPECT_EQ(journal().all(), startOfABareCamera());
}

TEST_F(LifecycleTest, leavesNothingBehindWhenTheEnginesCannotBeMade)
{
    platform().before["getSupportedAnalyticsLibs"] = [] { throw std::runtime_error("no engines"); };
    EXPECT_THROW(construct(), std::runtime_error);
    EXPECT_THAT(journal().all(), ElementsAre("filterConstructed", "loggingInit DETECTION -> 0", "filterDestroyed"));
    EXPECT_THAT(platform().logging.closedHandles, IsEmpty()) << "the handle stays open on this path";
}

TEST_F(LifecycleTest, releasesTheEnginesWhenTheTargetCannotBeMade)
{
    addEngine("Motion");
    platform().before["settingsGetJson"] = [] {
        platform().engineLibrary.engines.clear();
        throw std::runtime_error("no store");
    };
    EXPECT_THROW(construct(), std::runtime_error);
    EXPECT_THAT(journal().all(),
                ElementsAre("filterConstructed", "loggingInit DETECTION -> 0", "getSupportedAnalyticsLibs -> 1",
                            "settingsSetDefault OnvifAnalytics [] -> 0", "target base destroyed",
                            "engine Motion destroyed", "filterDestroyed"));
    EXPECT_THAT(platform().logging.closedHandles, IsEmpty());
}

TEST_F(LifecycleTest, releasesTargetAndEnginesWhenTheRunnerCannotBeMade)
{
    addEngine("Motion");
    platform().before["startServing"] = [] {
        platform().engineLibrary.engines.clear();
        journal().clear();
        throw std::runtime_error("no bus");
    };
    EXPECT_THROW(construct(), std::runtime_error);
    EXPECT_THAT(journal().all(), ElementsAre("clearAllRules Motion", "target base destroyed", "engine Motion destroyed",
                                             "filterDestroyed"));
    EXPECT_THAT(platform().logging.closedHandles, IsEmpty());
    EXPECT_THAT(platform().framework.serving, IsEmpty());
}

TEST_F(LifecycleTest, passesTheExceptionOfItsBaseOn)
{
    platform().before["filterConstructed"] = [] { throw std::logic_error("no pipeline"); };
    EXPECT_THROW(construct(), std::logic_error);
    EXPECT_THAT(journal().all(), IsEmpty());
}

TEST_F(LifecycleTest, inheritsTheNoticeOfACompletePipeline)
{
    build();
    plugin->PipelinesConstructed();
    EXPECT_THAT(journal().all(), ElementsAre("pipelinesConstructed"));
}

TEST_F(LifecycleTest, holdsTheMovementAdapterUntilItsLastLine)
{
    platform().engineLibrary.keepsPtz = false;
    bool alive = false;
    platform().before["log"] = [&] { alive = !platform().engineLibrary.ptzSeen.expired(); };
    construct();
    EXPECT_EQ(journal().logs().back(), "log 7 \"DetectionPlugin::DetectionPlugin\"");
    EXPECT_TRUE(alive);
    platform().before.clear();
}

TEST_F(LifecycleTest, leavesTheXmlParserAloneWhenItCannotBeBuilt)
{
    for (const char* call : {"getSupportedAnalyticsLibs", "settingsGetJson", "startServing"}) {
        platform().before = {{call, [] { throw std::runtime_error("broken"); }}};
        EXPECT_THROW(construct(), std::runtime_error) << call;
        EXPECT_EQ(journal().count("xmlCleanupParser"), 0U) << call;
    }
}

TEST_F(LifecycleTest, keepsNoMemoryOfAFailedConstruction)
{
    if (!kit::heapIsWatched()) {
        GTEST_SKIP() << "the sanitizer looks for leaks itself";
    }
    platform().before["startServing"] = [] { throw std::runtime_error("no bus"); };
    journal().record(false);
    EXPECT_THROW(construct(), std::runtime_error); // what is made once and stays is made now
    const kit::HeapMeter meter;
    EXPECT_THROW(construct(), std::runtime_error);
    EXPECT_EQ(meter.use().keptBytes, 0);
}

// A handle and what it counts are one block, so no object is a block of its own that is freed.
TEST_F(LifecycleTest, makesEachSharedObjectAndItsCountInOneBlock)
{
    if (!kit::heapIsWatched()) {
        GTEST_SKIP() << "the sanitizer has its own allocator";
    }
    construct();
    kit::watchBlock(platform().engineLibrary.ptz.get());
    kit::watchBlock(dynamic_cast<void*>(platform().framework.serving.at(0).target));
    kit::watchBlock(platform().framework.serving.at(0).runner);
    plugin.reset();
    platform().engineLibrary.ptz.reset();
    EXPECT_EQ(kit::watchedBlocksFreed(), 0);
}

} // namespace
