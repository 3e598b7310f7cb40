#include "camera/services/DelayedAnswers.h"
#include "camera/services/AnswerTimer.h"

#include <gtest/gtest.h>

#include <future>

namespace {

using namespace std::chrono_literals;
using camera::services::AnswerTimer;
using camera::services::DelayedAnswers;

TEST(DelayedAnswersTest, givesWhatIsDueInTheOrderOfTheirTimes)
{
    DelayedAnswers answers;
    const auto now = DelayedAnswers::Clock::now();
    std::string given;
    answers.hold(now + 2s, 1, [&] { given += 'b'; });
    answers.hold(now + 1s, 1, [&] { given += 'a'; });
    answers.hold(now + 3s, 1, [&] { given += 'c'; });
    answers.giveDue(now);
    EXPECT_EQ(given, "");
    answers.giveDue(now + 2s);
    EXPECT_EQ(given, "ab");
    answers.giveDue(now + 4s);
    EXPECT_EQ(given, "abc");
}

TEST(DelayedAnswersTest, keepsNoMoreThanItsLimits)
{
    DelayedAnswers answers;
    const auto now = DelayedAnswers::Clock::now();
    EXPECT_FALSE(answers.hold(now, DelayedAnswers::kMostBytes + 1, [] {}));
    EXPECT_TRUE(answers.hold(now, DelayedAnswers::kMostBytes, [] {}));
    EXPECT_FALSE(answers.hold(now, 1, [] {}));
    answers.giveDue(now);
    for (std::size_t i = 0; i < DelayedAnswers::kMostAnswers; ++i) {
        ASSERT_TRUE(answers.hold(now, 0, [] {}));
    }
    EXPECT_FALSE(answers.hold(now, 0, [] {}));
}

TEST(AnswerTimerTest, givesAnAnswerInItsTime)
{
    AnswerTimer timer;
    const auto answers = std::make_shared<DelayedAnswers>();
    std::promise<void> given;
    const auto due = DelayedAnswers::Clock::now() + 10ms;
    answers->hold(due, 0, [&] { given.set_value(); });
    timer.wakeAt(due, answers);
    EXPECT_EQ(given.get_future().wait_for(30s), std::future_status::ready);
    EXPECT_GE(DelayedAnswers::Clock::now(), due);
}

TEST(AnswerTimerTest, answersOfASessionThatEndedAreDroppedAndTheTimerGoesOn)
{
    AnswerTimer timer;
    auto ended = std::make_shared<DelayedAnswers>();
    const auto kept = std::make_shared<bool>(false);
    const auto due = DelayedAnswers::Clock::now() + 20ms;
    ended->hold(due, 0, [kept] { *kept = true; });
    timer.wakeAt(due, ended);
    ended.reset();
    EXPECT_EQ(kept.use_count(), 1);
    const auto other = std::make_shared<DelayedAnswers>();
    std::promise<void> given;
    other->hold(due, 0, [&] { given.set_value(); });
    timer.wakeAt(due, other);
    EXPECT_EQ(given.get_future().wait_for(30s), std::future_status::ready);
    EXPECT_FALSE(*kept);
}

TEST(AnswerTimerTest, endsAtOnceThoughAnswersWait)
{
    const auto answers = std::make_shared<DelayedAnswers>();
    bool given = false;
    {
        AnswerTimer timer;
        const auto due = DelayedAnswers::Clock::now() + 1h;
        answers->hold(due, 0, [&] { given = true; });
        timer.wakeAt(due, answers);
    }
    EXPECT_FALSE(given);
}

} // namespace
