#include "camera/serviceapi/ControlThread.h"

#include "kit/LogLines.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using camera::serviceapi::ControlThread;
using testing::ElementsAre;
using testing::HasSubstr;

class ControlThreadTest : public testing::Test {
protected:
    const kit::LogLines log;
    ControlThread control; // stops before the log
};

TEST_F(ControlThreadTest, runsTasksInTheOrderInWhichTheyCame)
{
    std::vector<int> order;
    for (int task = 0; task < 100; ++task) {
        EXPECT_TRUE(control.post([&order, task] { order.push_back(task); }));
    }
    control.drain();
    ASSERT_EQ(order.size(), 100u);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST_F(ControlThreadTest, runsOneTaskAtATimeWhoeverPosts)
{
    std::atomic<int> inside{0};
    std::atomic<int> most{0};
    std::vector<std::thread> clients;
    for (int client = 0; client < 4; ++client) {
        clients.emplace_back([&] {
            for (int call = 0; call < 200; ++call) {
                control.ask([&] {
                    most = std::max<int>(most, ++inside);
                    EXPECT_TRUE(control.isCurrent());
                    --inside;
                });
            }
        });
    }
    for (auto& client : clients) {
        client.join();
    }
    EXPECT_EQ(most, 1);
}

TEST_F(ControlThreadTest, handsBackWhatTheOperationReturnedOrThrew)
{
    EXPECT_EQ(control.ask([] { return 7; }), 7);
    EXPECT_THROW(control.ask([]() -> int { throw std::out_of_range("none"); }), std::out_of_range);
    EXPECT_EQ(control.failures(), 0u) << "what a caller is told is no failure of the thread";
}

TEST_F(ControlThreadTest, answersAtOnceOnTheThreadItself)
{
    EXPECT_EQ(control.ask([&] { return control.ask([] { return 3; }) + 1; }), 4);
}

TEST_F(ControlThreadTest, goesOnAfterATaskThatThrewAndSaysWhy)
{
    control.post([] { throw std::runtime_error("broken callback"); });
    control.post([] { throw 5; });
    EXPECT_EQ(control.ask([] { return 1; }), 1);
    EXPECT_EQ(control.failures(), 2u);
    EXPECT_THAT(log.lines(),
                ElementsAre(HasSubstr("error control: a callback failed: broken callback"),
                            HasSubstr("error control: a callback failed: an exception of an unknown type")));
}

TEST_F(ControlThreadTest, doesNotRunAPostedTaskInsideTheCallThatPostsIt)
{
    std::vector<std::string> order;
    control.ask([&] {
        control.post([&] { order.emplace_back("posted"); });
        order.emplace_back("posting task ends");
    });
    control.drain();
    EXPECT_THAT(order, ElementsAre("posting task ends", "posted"));
}

TEST_F(ControlThreadTest, runsWhatIsQueuedBeforeItStops)
{
    std::promise<void> gate;
    std::atomic<int> ran{0};
    control.post([&] { gate.get_future().wait(); });
    for (int task = 0; task < 10; ++task) {
        control.post([&] { ++ran; });
    }
    gate.set_value();
    control.stop();
    EXPECT_EQ(ran, 10);
}

TEST_F(ControlThreadTest, refusesWorkOnceStopped)
{
    control.stop();
    control.stop();
    EXPECT_FALSE(control.post([] {}));
    EXPECT_THROW(control.ask([] {}), std::runtime_error);
}

TEST_F(ControlThreadTest, drainsTasksThatTasksPosted)
{
    int depth = 0;
    std::function<void()> deeper = [&] {
        if (++depth < 5) {
            control.post(deeper);
        }
    };
    control.post(deeper);
    control.drain();
    EXPECT_EQ(depth, 5);
}

} // namespace
