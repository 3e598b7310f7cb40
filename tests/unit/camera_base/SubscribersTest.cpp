#include "camera/base/Subscribers.h"

#include <gmock/gmock.h>

#include <future>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using camera::base::Subscribers;
using camera::base::Subscription;
using testing::ElementsAre;

class SubscribersTest : public testing::Test {
protected:
    Subscribers<int> subscribers;
    std::vector<int> heard;
};

TEST_F(SubscribersTest, areToldEachEventInTheOrderInWhichTheySubscribed)
{
    const auto first = subscribers.add([this](int event) { heard.push_back(event); });
    const auto second = subscribers.add([this](int event) { heard.push_back(event * 10); });
    subscribers.tell({1, 2});
    EXPECT_THAT(heard, ElementsAre(1, 10, 2, 20));
}

TEST_F(SubscribersTest, areToldNothingAfterTheirSubscriptionHasEnded)
{
    auto first = subscribers.add([this](int event) { heard.push_back(event); });
    Subscription moved = std::move(first);
    subscribers.tell({1});
    moved = subscribers.add([this](int event) { heard.push_back(event * 10); });
    subscribers.tell({2});
    moved.reset();
    moved.reset();
    subscribers.tell({3});
    EXPECT_THAT(heard, ElementsAre(1, 20));
}

TEST_F(SubscribersTest, mayEndSubscriptionsFromInsideTheirCall)
{
    Subscription own;
    Subscription other;
    own = subscribers.add([&](int event) {
        heard.push_back(event);
        own.reset();
        other.reset();
    });
    other = subscribers.add([this](int event) { heard.push_back(event * 10); });
    subscribers.tell({1, 2});
    EXPECT_THAT(heard, ElementsAre(1));
}

TEST_F(SubscribersTest, areToldAlsoWhenOthersFail)
{
    const auto first = subscribers.add([](int event) { throw std::runtime_error(std::to_string(event)); });
    const auto second = subscribers.add([this](int event) { heard.push_back(event); });
    EXPECT_THAT([this] { subscribers.tell({1, 2}); }, testing::ThrowsMessage<std::runtime_error>("1"));
    EXPECT_THAT(heard, ElementsAre(1, 2));
}

TEST_F(SubscribersTest, areNotRunningWhenTheirSubscriptionHasEnded)
{
    std::promise<void> entered;
    std::promise<void> mayGoOn;
    bool done = false;
    auto subscription = subscribers.add([&](int /*event*/) {
        entered.set_value();
        mayGoOn.get_future().wait();
        done = true;
    });
    std::thread teller([this] { subscribers.tell({1}); });
    entered.get_future().wait();
    std::thread opener([&] { mayGoOn.set_value(); });
    subscription.reset();
    EXPECT_TRUE(done);
    opener.join();
    teller.join();
}

TEST_F(SubscribersTest, mayEndTheirSubscriptionAfterTheListIsGone)
{
    std::optional<Subscribers<int>> list;
    list.emplace();
    const auto subscription = list->add([](int /*event*/) {});
    list.reset();
}

} // namespace
