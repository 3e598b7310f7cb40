#include "DeviceTest.h"

#include <csignal>

namespace camera::system_tests {
namespace {

using testing::HasSubstr;

class DayNightTest : public DeviceTest {
protected:
    static unsigned long long events(const RunningCamera& camera)
    {
        return camera.status()["pipeline"]["events"].asUInt64();
    }
};

TEST_F(DayNightTest, suspendsEveryRuleWhileTheFilterMovesAndBringsThoseOfThePositionBack)
{
    RunningCamera camera(state(), {kLively, "--config", simple("Anything"), "--config", motion("Door rule", "Door"),
                                   "--place", "Door=0,0,1", "--preset", "Door"});
    ASSERT_TRUE(camera.serves()) << camera.err();
    const auto follower = camera.follow({"events", "--json"});
    ASSERT_TRUE(camera.waitForRules("Motion", "at Door")) << camera.err();
    EXPECT_EQ("everywhere", camera.rules("Simple"));
    ASSERT_TRUE(eventually([&] { return count(follower->out(), "Door rule") > 0; })) << camera.out();

    const Finished begun = camera.command({"daynight", "begin"});
    ASSERT_EQ(0, begun.exitCode) << begun.err;
    EXPECT_TRUE(camera.waitForRules("Motion", "none"));
    EXPECT_TRUE(camera.waitForRules("Simple", "none"));
    const auto before = events(camera);
    // In as many frames this scene raises several events.
    ASSERT_TRUE(camera.waitForFrames(90));
    EXPECT_EQ(before, events(camera)) << camera.out();
    EXPECT_EQ("Door", camera.preset());

    ASSERT_EQ(0, camera.command({"daynight", "end"}).exitCode);
    EXPECT_TRUE(camera.waitForRules("Motion", "at Door"));
    EXPECT_TRUE(camera.waitForRules("Simple", "everywhere"));
    EXPECT_TRUE(eventually([&] { return events(camera) > before; })) << camera.out();
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
}

TEST_F(DayNightTest, storesWhatComesWhileTheFilterMovesAndActivatesItAfterwards)
{
    RunningCamera camera(state(),
                         {kLively, "--config", simple("Anything"), "--place", "Door=0,0,1", "--preset", "Door"});
    ASSERT_TRUE(camera.serves()) << camera.err();
    ASSERT_TRUE(camera.waitForRules("Simple", "everywhere"));
    ASSERT_EQ(0, camera.command({"daynight", "begin"}).exitCode);
    ASSERT_TRUE(camera.waitForRules("Simple", "none"));

    const Finished set = camera.command({"config", "set", motion("Late", "Door")});
    EXPECT_EQ(0, set.exitCode) << set.err;
    EXPECT_EQ("none", camera.rules("Motion"));
    const auto follower = camera.follow({"events", "--json"});
    ASSERT_TRUE(camera.waitForFrames(60));
    EXPECT_EQ("", follower->out());
    ASSERT_EQ(0, camera.command({"daynight", "end"}).exitCode);
    EXPECT_TRUE(camera.waitForRules("Motion", "at Door"));
    EXPECT_THAT(camera.command({"config", "get"}).out, HasSubstr("Late"));
    EXPECT_TRUE(eventually([&] { return count(follower->out(), "Late") > 0; })) << camera.out();
    EXPECT_EQ(0, camera.end(SIGTERM)) << camera.err();
}

} // namespace
} // namespace camera::system_tests
