// The analytics target on the bus: order, floods, the end of the device, a bus that dies.
#include "integration/camera_pipeline/ServedDevice.h"

#include "camera/pipeline/ControlAnswer.h"
#include "camera/serviceapi/ControlThread.h"
#include "kit/Gate.h"

#include <atomic>
#include <thread>

namespace pipeline_test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class AnalyticsOrderTest : public ServedDevice {
protected:
    void SetUp() override
    {
        ServedDevice::SetUp();
        serve();
    }

    void TearDown() override
    {
        gate.open();
        ServedDevice::TearDown();
    }

    void holdControl()
    {
        device->control().post([this] { gate.pass(); });
        ASSERT_TRUE(gate.waitUntilReached());
    }

    /// Sends and does not wait; the answer is counted.
    void send(std::uint32_t number)
    {
        proxies = client.proxies();
        proxies->of(service::kOnvifAnalyticService)
            .callMethodAsync("writeFramesToFile")
            .onInterface(camera::bus::interfaceName(service::kOnvifAnalyticService))
            .withTimeout(60s)
            .withArguments(std::string("Motion"), std::string("/f"), number)
            .uponReplyInvoke([this](const sdbus::Error* failed, const std::int32_t&) {
                if (failed == nullptr) {
                    ++answered;
                } else {
                    reasons.add(failed->getName() + "|" + failed->getMessage());
                }
            });
    }

    Texts written() const
    {
        Texts result;
        for (const std::string& line : hosted.journal()) {
            if (line.find("Motion writes /f ") == 0) {
                result.push_back(line.substr(17));
            }
        }
        return result;
    }

    kit::Gate gate;
    std::shared_ptr<kit::BusProxies> proxies;
    std::atomic<std::uint32_t> answered{0};
    kit::LineJournal reasons;
};

TEST_F(AnalyticsOrderTest, requestsAreDoneInTheOrderInWhichTheyWereSentOneAtATimeOnOneThread)
{
    holdControl();
    Texts expected;
    for (std::uint32_t number = 0; number < 100; ++number) {
        send(number);
        expected.push_back(std::to_string(number));
    }
    gate.open();
    ASSERT_TRUE(eventually([&] { return answered == 100; }));
    EXPECT_EQ(written(), expected);
    EXPECT_FALSE(hosted.overlapped());
    EXPECT_THAT(hosted.controlThreads(), SizeIs(1));
}

TEST_F(AnalyticsOrderTest, aFloodIsRefusedBeyondWhatMayWait)
{
    holdControl();
    constexpr std::uint32_t kMany = 1000;
    for (std::uint32_t number = 0; number < kMany; ++number) {
        send(number);
    }
    const auto refused = reasons.lines(kMany - camera::pipeline::kMostWaiting);
    EXPECT_THAT(refused, SizeIs(kMany - camera::pipeline::kMostWaiting));
    EXPECT_EQ(refused.front(), "ravel.Error.Unavailable|too many requests are waiting");
    EXPECT_EQ(answered, 0u);
    gate.open();
    ASSERT_TRUE(eventually([&] { return answered == static_cast<std::uint32_t>(camera::pipeline::kMostWaiting); }));
    EXPECT_THAT(written(), SizeIs(camera::pipeline::kMostWaiting));
    EXPECT_EQ(analytics<Texts>("getEventTopics").size(), 2u) << "there is room again";
}

TEST_F(AnalyticsOrderTest, eachMethodAnswersDuringAFloodOfAnother)
{
    holdControl();
    for (std::uint32_t number = 0; number < camera::pipeline::kMostWaiting; ++number) {
        send(number);
    }
    // Those that need no control thread are answered all the time.
    EXPECT_EQ(client.one<Texts>(service::kPipeline, "storedKeys"), Texts{});
    EXPECT_EQ(client.refusal(service::kPositioning, "stopTour"), "ravel.Error.Refused|no tour is running");
    gate.open();
    EXPECT_TRUE(eventually([&] { return answered == static_cast<std::uint32_t>(camera::pipeline::kMostWaiting); }));
}

TEST_F(AnalyticsOrderTest, othersAreAnsweredWhileTheEnginesAreWaitedFor)
{
    holdControl();
    proxies = client.proxies();
    proxies->of(service::kPipeline)
        .callMethodAsync("engines")
        .onInterface(camera::bus::interfaceName(service::kPipeline))
        .withTimeout(60s)
        .uponReplyInvoke([this](const sdbus::Error* failed, const std::vector<EngineRow>& engines) {
            answered += failed == nullptr && engines.size() == 2 ? 1 : 0;
        });
    EXPECT_EQ(client.one<Texts>(service::kPipeline, "storedKeys"), Texts{});
    EXPECT_EQ(answered, 0u);
    gate.open();
    EXPECT_TRUE(eventually([&] { return answered == 1; }));
}

TEST_F(AnalyticsOrderTest, requestsAreAnsweredWhileTheDeviceEndsAndAfterwards)
{
    holdControl();
    constexpr std::uint32_t kEach = 50;
    for (std::uint32_t number = 0; number < kEach; ++number) {
        send(number);
    }
    std::thread ending([this] { device->shutdown(); });
    for (std::uint32_t number = 0; number < kEach; ++number) {
        send(number);
    }
    gate.open();
    ending.join();
    for (std::uint32_t number = 0; number < kEach; ++number) {
        send(number);
    }
    ASSERT_TRUE(eventually([&] { return answered + reasons.lines().size() == 3 * kEach; }))
        << answered << " answers, " << reasons.lines().size() << " refusals";
    EXPECT_GE(reasons.lines().size(), kEach);
    EXPECT_EQ(reasons.lines().back(), "ravel.Error.Unavailable|the camera is ending");
    EXPECT_EQ(client.one<Texts>(service::kPipeline, "storedKeys"), Texts{});
}

TEST_F(AnalyticsOrderTest, theBusMayDieWhileRequestsWait)
{
    holdControl();
    for (std::uint32_t number = 0; number < 20; ++number) {
        send(number);
    }
    EXPECT_EQ(client.one<Texts>(service::kPipeline, "storedKeys"), Texts{}) << "all of them have arrived";
    proxies.reset();
    restartBus();
    gate.open();
    ASSERT_TRUE(waitUntilServed());
    EXPECT_EQ(analytics<Texts>("getEventTopics").size(), 2u);
    EXPECT_THAT(written(), SizeIs(20)) << "what was asked for is done, though nobody hears of it";
    EXPECT_EQ(answered, 0u);
}

TEST_F(AnalyticsOrderTest, theBusMayDieAgainAndAgainWhileRequestsAndEventsCome)
{
    std::atomic<bool> done{false};
    std::thread engine([&] {
        while (!done) {
            hosted.events.load()->OnEvent("topic", "source", "data");
            std::this_thread::yield();
        }
    });
    for (int round = 0; round < 5; ++round) {
        try {
            for (std::uint32_t number = 0; number < 50; ++number) {
                send(number);
            }
        } catch (const std::exception&) {
        }
        proxies.reset();
        restartBus();
    }
    done = true;
    engine.join();
    ASSERT_TRUE(waitUntilServed());
    EXPECT_EQ(analytics<Texts>("getEventTopics").size(), 2u);
}

TEST_F(AnalyticsOrderTest, eventsThatAreRaisedWhileTheBusIsAwayAreGone)
{
    bus.kill();
    ASSERT_TRUE(eventually([&] { return !pipelineService->connected() && !client.connection.connected(); }));
    hosted.events.load()->OnEvent("lost", "", "");
    unit().goToPreset("Gate", {"anna", 100});
    device->drain();
    bus.start();
    ASSERT_TRUE(client.waitForSession(2));
    ASSERT_TRUE(waitUntilServed());
    hosted.events.load()->OnEvent("heard", "", "");
    EXPECT_THAT(client.journal.lines(1), ElementsAre("event heard||"));
    EXPECT_EQ(device->statistics().eventsDropped, 0u);
}

} // namespace
} // namespace pipeline_test
