#include "camera/serviceapi/EventBus.h"

#include <gmock/gmock.h>

#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using camera::base::Event;
using camera::serviceapi::EventBus;
using testing::ElementsAre;

TEST(EventBusTest, deliversEveryEventInOrderWithItsThreeStrings)
{
    EventBus bus;
    std::vector<std::string> seen;
    const auto subscription =
        bus.subscribe([&](const Event& event) { seen.push_back(event.topic + "|" + event.source + "|" + event.data); });
    bus.publish({"t1", "s1", "d1"});
    bus.publish({"t2", "", "d2"});
    bus.drain();
    EXPECT_THAT(seen, ElementsAre("t1|s1|d1", "t2||d2"));
    EXPECT_EQ(bus.published(), 2u);
    EXPECT_EQ(bus.dropped(), 0u);
}

TEST(EventBusTest, dropsTheOldestWhenTheQueueIsFullAndNeverWaits)
{
    EventBus bus(3);
    std::promise<void> entered;
    std::promise<void> gate;
    std::vector<std::string> seen;
    const auto subscription = bus.subscribe([&](const Event& event) {
        seen.push_back(event.topic);
        if (event.topic == "0") {
            entered.set_value();
            gate.get_future().wait();
        }
    });
    bus.publish({"0", "", ""});
    entered.get_future().wait();
    for (int event = 1; event <= 5; ++event) {
        bus.publish({std::to_string(event), "", ""});
    }
    EXPECT_EQ(bus.dropped(), 2u);
    gate.set_value();
    bus.drain();
    EXPECT_THAT(seen, ElementsAre("0", "3", "4", "5"));
}

TEST(EventBusTest, reportsAListenerThatThrowsAndCallsTheOthers)
{
    EventBus bus;
    int calls = 0;
    const auto broken = bus.subscribe([](const Event&) { throw std::runtime_error("broken"); });
    const auto whole = bus.subscribe([&](const Event&) { ++calls; });
    testing::internal::CaptureStderr();
    bus.publish({});
    bus.drain();
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("events: a listener failed: broken"));
    EXPECT_EQ(calls, 1);
}

TEST(EventBusTest, deliversWhatIsQueuedWhenItEndsAndLeavesSubscriptionsHarmless)
{
    int calls = 0;
    EventBus::Subscription subscription;
    {
        EventBus bus;
        subscription = bus.subscribe([&](const Event&) { ++calls; });
        for (int event = 0; event < 50; ++event) {
            bus.publish({});
        }
    }
    EXPECT_EQ(calls, 50);
    subscription.reset();
}

} // namespace
