#include "camera/supervisor/Watchdog.h"

#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <unistd.h>

namespace camera::supervisor {
namespace {

using namespace std::chrono_literals;
using namespace testing;
using base::Activity;
using Clock = Watchdog::Clock;

/// A pipeline and the bus, looked at by a clock of the test.
class WatchdogTest : public testing::Test {
protected:
    // One look each second, as long as the time lasts.
    std::vector<std::string> after(std::chrono::seconds time)
    {
        std::vector<std::string> sentences;
        for (const auto until = now + time; now < until;) {
            now += 1s;
            for (const Watchdog::Finding& finding : watchdog.look(now, {bus, pipeline})) {
                sentences.push_back(finding.sentence + (finding.kill ? "!" : ""));
            }
        }
        return sentences;
    }

    Clock::time_point now = Clock::now();
    std::map<pid_t, std::string> holders;
    Watchdog watchdog{{10s, 0s}, [this](pid_t pid) { return holders[pid]; }};
    Watchdog::Seen bus{"dbus-daemon", 2, {}, nullptr, true};
    Watchdog::Seen pipeline{"camera-pipeline", 3, {}, nullptr, false};
};

TEST_F(WatchdogTest, aProcessThatAnswersIsLeftAlone)
{
    EXPECT_THAT(after(5s), IsEmpty());
    pipeline.askedAt = now;
    EXPECT_THAT(after(9s), IsEmpty());
    pipeline.askedAt.reset();
    EXPECT_THAT(after(100s), IsEmpty());
}

TEST_F(WatchdogTest, aProcessThatIsSilentForTooLongIsKilled)
{
    after(1s);
    pipeline.askedAt = now;
    EXPECT_THAT(after(10s), ElementsAre("camera-pipeline does not answer for 10 s and is killed!"));
    pipeline.pid = 4; // its next start
    EXPECT_THAT(after(10s), IsEmpty()) << "the question was asked to the process before";
}

TEST_F(WatchdogTest, aHeldProcessIsToldOnceAndHasAllItsTimeAfterwards)
{
    pipeline.askedAt = now;
    holders[3] = "traced by process 7";
    EXPECT_THAT(after(60s), ElementsAre("camera-pipeline does not answer: it is traced by process 7 and left alone"));
    holders.clear();
    EXPECT_THAT(after(9s), IsEmpty());
    pipeline.askedAt.reset();
    EXPECT_THAT(after(9s), IsEmpty());
    pipeline.askedAt = now;
    holders[3] = "stopped by a signal";
    EXPECT_THAT(after(60s), SizeIs(1));
}

TEST_F(WatchdogTest, whileTheBusIsSilentOnlyTheBusIsJudged)
{
    after(1s);
    bus.askedAt = now;
    pipeline.askedAt = now;
    EXPECT_THAT(after(10s), ElementsAre("dbus-daemon does not answer for 10 s and is killed!"));
    bus.askedAt.reset();
    EXPECT_THAT(after(9s), IsEmpty());
}

TEST_F(WatchdogTest, timeInWhichNobodyLookedCountsForNothing)
{
    after(1s);
    pipeline.askedAt = now;
    after(5s);
    now += 1h;
    EXPECT_THAT(after(9s), IsEmpty());
    EXPECT_THAT(after(2s), SizeIs(1));
}

TEST_F(WatchdogTest, aLongFrameIsToldOnceWithItsEngineAndKilledOnlyWhenAsked)
{
    const kit::TemporaryFolder folder;
    Activity activity;
    activity.create(folder / "activity");
    Activity::instance().share(folder / "activity");
    pipeline.activity = &activity;
    after(1s);
    {
        const Activity::Scope scope(Activity::Kind::control, Activity::Label("createRuleSet of engine 'Slow'"));
        now = std::max(now, Clock::now());
        EXPECT_THAT(after(40s), ElementsAre("camera-pipeline is in createRuleSet of engine 'Slow' for 10 s"));
    }
    const Activity::Scope scope(Activity::Kind::frame, Activity::Label("onFrame of engine 'Slow'"));
    Watchdog strict({0s, 20s}, [this](pid_t pid) { return holders[pid]; });
    EXPECT_THAT(strict.look(now, {pipeline}), IsEmpty());
    holders[3] = "traced by process 7";
    EXPECT_THAT(strict.look(now + 1h, {pipeline}), IsEmpty());
    holders.clear();
    EXPECT_THAT(strict.look(now + 1h + 1s, {pipeline}), IsEmpty());
    const auto findings = strict.look(now + 1h + 21s, {pipeline});
    EXPECT_THAT(findings, IsEmpty()) << "a look that comes late judges nobody";
    std::vector<Watchdog::Finding> found;
    for (auto at = now + 2h; found.empty() && at < now + 3h; at += 1s) {
        found = strict.look(at, {pipeline});
    }
    ASSERT_THAT(found, SizeIs(1));
    EXPECT_EQ(found[0].sentence, "camera-pipeline is in onFrame of engine 'Slow' for 20 s and is killed");
    EXPECT_TRUE(found[0].kill);
}

TEST_F(WatchdogTest, thatIsOffSaysNothing)
{
    Watchdog off({0s, 0s});
    EXPECT_FALSE(off.watches());
    EXPECT_TRUE(watchdog.watches());
    pipeline.askedAt = now;
    for (int i = 0; i < 100; ++i) {
        EXPECT_THAT(off.look(now += 1s, {pipeline}), IsEmpty());
    }
}

TEST_F(WatchdogTest, thisProcessIsHeldByNobodyUnlessItIsTraced)
{
    EXPECT_EQ(Watchdog::heldInKernel(::getpid()), "");
    EXPECT_EQ(Watchdog::heldInKernel(-1), "");
}

} // namespace
} // namespace camera::supervisor
