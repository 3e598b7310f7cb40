#include "ModuleTest.h"

#include "kit/Eventually.h"

#include <atomic>
#include <thread>

namespace {

using integration::ModuleTest;
using namespace kit;
using namespace testing;

class EndTest : public ModuleTest {
protected:
    EndTest()
    {
        platform().positioning.available = true;
        platform().offerAllServices();
        store({{"MotionGate", "<gate/>"}, {"Simple", "<simple/>"}});
    }

    /// Nobody but the plug-in holds the engines from here on.
    void leaveTheEnginesToThePlugIn()
    {
        platform().engineLibrary.engines.clear();
        simple.reset();
        motion.reset();
    }
};

TEST_F(EndTest, takesEverythingDownInOrderAndCanBeBuiltAgain)
{
    start();
    const Lines firstStart = takeAll();
    deliver(FrameBuffer::image(8, 4));
    journal().clear();
    leaveTheEnginesToThePlugIn();
    stop();
    EXPECT_EQ(takeAll(), (Lines{"log 7 \"DetectionPlugin::~DetectionPlugin\"",
                                "streamerDeinit(77)",
                                "loggingDeinit",
                                "stopServing onvif_analytic_service",
                                "unregisterMotionState",
                                "unregisterCommandPriority",
                                "unregisterPresetState",
                                "unregisterPresetModified",
                                "dayNightUnregister(cookie)",
                                "dayNightDeinit(cookie)",
                                "windowBlankingUnregister(cookie)",
                                "windowBlankingDeinit(cookie)",
                                "clearAllRules Simple",
                                "releaseRuleSet Simple #1",
                                "clearAllRules Motion",
                                "releaseRuleSet Motion #2",
                                "target base destroyed",
                                "engine Simple destroyed",
                                "engine Motion destroyed",
                                "filterDestroyed"}));

    kit::resetPlatform();
    platform().positioning.available = true;
    platform().offerAllServices();
    store({{"MotionGate", "<gate/>"}, {"Simple", "<simple/>"}});
    simple = addEngine("Simple");
    motion = addEngine("Motion");
    start();
    EXPECT_EQ(takeAll(), firstStart) << "nothing of the first life is left";
}

TEST_F(EndTest, handsEveryRuleSetBack)
{
    startQuietly();
    ASSERT_EQ(createRules({kit::rule("Motion", "R")}), 0U);
    stop();
    EXPECT_EQ(simple->notReturned(), 0);
    EXPECT_EQ(motion->notReturned(), 0);
    EXPECT_EQ(simple->activeRuleSet(), 0);
}

TEST_F(EndTest, keepsItsFactoryInTheRegistry)
{
    startQuietly();
    stop();
    EXPECT_THAT(kit::pluginFactories(), SizeIs(1));
}

TEST_F(EndTest, servesTwoPlugInsOneAfterTheOtherFromTheSameStore)
{
    startQuietly();
    ASSERT_EQ(configure(configuration("Simple")), "0/0");
    stop();
    startQuietly();
    EXPECT_EQ(simple->ruleSet(simple->activeRuleSet())->content(), configuration("Simple").text());
}

/// Raises events on a thread of its own as an engine does, from the start to the end.
class EventThread {
public:
    explicit EventThread(kit::FakeEngine& engine)
        : _thread([this, &engine] {
              while (!_stop.load()) {
                  if (engine.raise("topic", "source", "data")) {
                      _raised.fetch_add(1);
                  }
                  std::this_thread::yield();
              }
          })
    {
    }

    ~EventThread()
    {
        _stop.store(true);
        _thread.join();
    }

    EventThread(const EventThread&) = delete;
    EventThread& operator=(const EventThread&) = delete;

    /// Waits until more events were raised; false when that takes too long.
    bool waitForMore(int count = 10)
    {
        const int wanted = _raised.load() + count;
        return kit::eventually([&] { return _raised.load() >= wanted; });
    }

private:
    std::atomic<bool> _stop{false};
    std::atomic<int> _raised{0};
    std::thread _thread; // last: it uses the others
};

TEST_F(EndTest, toleratesAnEngineThatRaisesEventsThroughAWholeLife)
{
    EventThread events(*simple);
    startQuietly();
    ASSERT_TRUE(events.waitForMore());
    platform().positioning.firePresetState(1, "Gate");
    platform().positioning.firePresetState(2, "Gate");
    ASSERT_TRUE(events.waitForMore());
    deliver(FrameBuffer::image(8, 4));
    stop();
    EXPECT_EQ(journal().all().back(), "filterDestroyed");
    startQuietly();
    ASSERT_TRUE(events.waitForMore());
    stop();
    EXPECT_THAT(platform().framework.serving, IsEmpty());
}

TEST_F(EndTest, readsTheOrientationOnTheFrameThreadWhileItChanges)
{
    startQuietly();
    std::atomic<bool> stopFrames{false};
    std::atomic<int> frames{0};
    std::thread delivery([&] {
        while (!stopFrames.load()) {
            deliver(FrameBuffer::image(8, 4));
            frames.fetch_add(1);
        }
    });
    for (unsigned int change = 0; change < 200 || frames.load() < 5; ++change) {
        platform().rotation.fire(90U * (change % 5));
    }
    stopFrames.store(true);
    delivery.join();
    if (kit::RotatedImages::countsFrees()) {
        EXPECT_GE(frames.load(), 5);
    }
}

} // namespace
