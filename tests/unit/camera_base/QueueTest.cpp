#include "camera/base/BoundedQueue.h"
#include "camera/base/SerialQueue.h"

#include <gmock/gmock.h>

#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using camera::base::BoundedQueue;
using camera::base::SerialQueue;
using testing::ElementsAre;

BoundedQueue<std::string> ofTenBytes()
{
    return BoundedQueue<std::string>(10, [](const std::string& text) { return text.size(); });
}

TEST(BoundedQueueTest, losesTheOldestWhenItIsFull)
{
    auto queue = ofTenBytes();
    EXPECT_EQ(queue.push("1111"), 0U);
    EXPECT_EQ(queue.push("2222"), 0U);
    EXPECT_EQ(queue.push("3333333"), 2U);
    EXPECT_EQ(queue.push("444"), 0U);
    EXPECT_EQ(queue.weight(), 10U);
    EXPECT_EQ(queue.take(), "3333333");
    EXPECT_EQ(queue.push("5555555"), 0U) << "there is room again";
    EXPECT_EQ(queue.take(), "444");
    EXPECT_EQ(queue.take(), "5555555");
    EXPECT_EQ(queue.take(), std::nullopt);
    EXPECT_EQ(queue.weight(), 0U);
}

TEST(BoundedQueueTest, keepsAnItemThatIsHeavierThanItsCapacityAlone)
{
    auto queue = ofTenBytes();
    queue.push("1");
    EXPECT_EQ(queue.push(std::string(11, 'x')), 1U);
    EXPECT_EQ(queue.size(), 1U);
    EXPECT_EQ(queue.weight(), 11U);
}

TEST(BoundedQueueTest, countsItemsWithoutAWeight)
{
    BoundedQueue<int> queue(2);
    EXPECT_EQ(queue.push(1) + queue.push(2) + queue.push(3), 1U);
    EXPECT_EQ(queue.take(), 2);
}

/// A queue whose first item is held back until the gate opens.
class SerialQueueTest : public testing::Test {
protected:
    void handle(int item)
    {
        seen.push_back(item);
        EXPECT_TRUE(queue.isCurrent());
        if (seen.size() == 1) {
            entered.set_value();
            gate.get_future().wait();
        }
    }

    void holdTheFirst()
    {
        queue.push(0);
        entered.get_future().wait();
    }

    std::promise<void> entered;
    std::promise<void> gate;
    std::vector<int> seen;
    SerialQueue<int> queue{[this](int item) { handle(item); }, BoundedQueue<int>(3)};
};

TEST_F(SerialQueueTest, handlesItemsInTheirOrderAndDropsTheOldestWhenItIsFull)
{
    holdTheFirst();
    for (int item = 1; item <= 5; ++item) {
        EXPECT_TRUE(queue.push(item));
    }
    EXPECT_EQ(queue.dropped(), 2U);
    EXPECT_EQ(queue.pushed(), 6U);
    gate.set_value();
    EXPECT_FALSE(queue.drain()) << "nothing came meanwhile";
    EXPECT_THAT(seen, ElementsAre(0, 3, 4, 5));
    EXPECT_FALSE(queue.isCurrent());
}

TEST_F(SerialQueueTest, handlesWhatIsQueuedBeforeItStopsAndTakesNothingAfterwards)
{
    holdTheFirst();
    queue.push(1);
    queue.push(2);
    gate.set_value();
    queue.stop();
    queue.stop();
    EXPECT_THAT(seen, ElementsAre(0, 1, 2));
    EXPECT_FALSE(queue.push(3));
    queue.drain();
    EXPECT_EQ(queue.pushed(), 3U);
}

TEST(SerialQueueHandlerTest, doesNotWaitForWhatAHandlerPushesAgainAndAgain)
{
    SerialQueue<int>* again = nullptr;
    SerialQueue<int> queue(
        [&](int item) {
            again->push(item);
            again->push(item);
        },
        BoundedQueue<int>(4));
    again = &queue;
    queue.push(0);
    EXPECT_TRUE(queue.drain()) << "others came";
}

TEST(SerialQueueHandlerTest, drainsWhatIsBeingHandledToo)
{
    std::promise<void> entered;
    std::promise<void> draining;
    bool handled = false;
    SerialQueue<int> queue([&](int) {
        entered.set_value();
        draining.get_future().wait();
        for (int turn = 0; turn < 1000; ++turn) {
            std::this_thread::yield();
        }
        handled = true;
    });
    queue.push(0);
    entered.get_future().wait();
    draining.set_value();
    queue.drain();
    EXPECT_TRUE(handled);
}

TEST(SerialQueueHandlerTest, releasesAnItemOnItsThreadWithoutItsLock)
{
    bool released = false;
    SerialQueue<std::shared_ptr<int>> queue([](const std::shared_ptr<int>&) {});
    queue.push(std::shared_ptr<int>(new int(5), [&](int* item) {
        delete item;
        released = queue.isCurrent() && queue.pushed() == 1;
    }));
    queue.drain();
    EXPECT_TRUE(released);
}

} // namespace
