#include "camera/services/DelayedAnswers.h"

#include <gtest/gtest.h>

#include <future>

namespace {

using namespace std::chrono_literals;
using camera::services::DelayedAnswers;

TEST(DelayedAnswersTest, givesAnswersInTheOrderOfTheirTimesAndNotBefore)
{
    const auto now = DelayedAnswers::Clock::now();
    std::string given;
    std::promise<void> last;
    DelayedAnswers answers;
    answers.hold(now + 20ms, 1, [&] { given += 'b'; });
    answers.hold(now + 10ms, 1, [&] { given += 'a'; });
    answers.hold(now + 30ms, 1, [&] {
        given += 'c';
        last.set_value();
    });
    ASSERT_EQ(last.get_future().wait_for(30s), std::future_status::ready);
    EXPECT_EQ(given, "abc");
    EXPECT_GE(DelayedAnswers::Clock::now(), now + 30ms);
}

TEST(DelayedAnswersTest, holdsNoMoreBytesThanItsLimitUntilAnAnswerIsGiven)
{
    const auto now = DelayedAnswers::Clock::now();
    std::promise<void> given;
    DelayedAnswers answers;
    EXPECT_FALSE(answers.hold(now, DelayedAnswers::kMostBytes + 1, [] {}));
    EXPECT_TRUE(answers.hold(now + 1h, DelayedAnswers::kMostBytes - 1, [] {}));
    EXPECT_FALSE(answers.hold(now + 1h, 2, [] {}));
    EXPECT_TRUE(answers.hold(now, 1, [&] { given.set_value(); }));
    ASSERT_EQ(given.get_future().wait_for(30s), std::future_status::ready);
    EXPECT_TRUE(answers.hold(now + 1h, 1, [] {}));
    EXPECT_FALSE(answers.hold(now + 1h, 1, [] {}));
}

TEST(DelayedAnswersTest, holdsNoMoreAnswersThanItsLimit)
{
    const auto later = DelayedAnswers::Clock::now() + 1h;
    DelayedAnswers answers;
    for (std::size_t i = 0; i < DelayedAnswers::kMostAnswers; ++i) {
        ASSERT_TRUE(answers.hold(later, 0, [] {}));
    }
    EXPECT_FALSE(answers.hold(later, 0, [] {}));
}

// What it holds locks the bus connection when it is destroyed; the bus thread asks with that lock.
TEST(DelayedAnswersTest, takesTheNextAnswerWhileAGivenOneIsDestroyed)
{
    DelayedAnswers answers;
    std::promise<std::future_status> taken;
    std::future<bool> other;
    const auto destroyed = [&](void*) {
        other =
            std::async(std::launch::async, [&] { return answers.hold(DelayedAnswers::Clock::now() + 1h, 0, [] {}); });
        taken.set_value(other.wait_for(10s));
    };
    answers.hold(DelayedAnswers::Clock::now(), 0, [held = std::shared_ptr<void>(nullptr, destroyed)] {});
    EXPECT_EQ(taken.get_future().get(), std::future_status::ready);
}

TEST(DelayedAnswersTest, dropsAtItsEndWhatWasNotGiven)
{
    const auto given = std::make_shared<bool>(false);
    {
        DelayedAnswers answers;
        answers.hold(DelayedAnswers::Clock::now() + 1h, 0, [given] { *given = true; });
    }
    EXPECT_EQ(given.use_count(), 1);
    EXPECT_FALSE(*given);
}

} // namespace
