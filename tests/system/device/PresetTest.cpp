#include "DeviceTest.h"

#include <csignal>

namespace camera::system_tests {
namespace {

using namespace testing;

// Configurations and presets of a camera that runs. It stands at "Door" at first; "Gate" is to the left.
class PresetTest : public DeviceTest {
protected:
    PresetTest()
        : camera(state(), {kLively, "--place", "Door=0,0,1", "--place", "Gate=-20,5,2", "--preset", "Door", "--config",
                           simple("Anything"), "--config", motion("Door rule", "Door")})
    {
    }

    void SetUp() override
    {
        ASSERT_TRUE(camera.serves()) << camera.err();
        ASSERT_TRUE(camera.waitForRules("Motion", "at Door")) << camera.err();
    }

    void TearDown() override { EXPECT_EQ(0, camera.end(SIGINT)) << camera.err(); }

    void must(const Words& words)
    {
        const Finished done = camera.command(words);
        ASSERT_EQ(0, done.exitCode) << done.err;
    }

    std::string storedFor(const std::string& preset) const
    {
        return camera.command({"config", "get", "--preset", preset}).out;
    }
    std::string active() const { return camera.command({"config", "get"}).out; }

    RunningCamera camera;
};

TEST_F(PresetTest, losesTheRulesOfThePresetUnderTheCameraWithIt)
{
    must({"preset", "remove", "Door"});
    EXPECT_TRUE(camera.waitForRules("Motion", "none"));
    EXPECT_TRUE(eventually([&] { return storedFor("Door").find("Door rule") == std::string::npos; }));
    EXPECT_TRUE(eventually([&] { return camera.preset().empty(); }));
    EXPECT_EQ("everywhere", camera.rules("Simple"));

    must({"config", "set", motion("Nowhere rule", kAwayFromPresets)});
    EXPECT_TRUE(camera.waitForRules("Motion", std::string("at ") + kAwayFromPresets));
    EXPECT_EQ("everywhere", camera.rules("Simple"));
    EXPECT_THAT(active(), AllOf(HasSubstr("Nowhere rule"), HasSubstr("Anything"), Not(HasSubstr("Door rule"))));
    EXPECT_THAT(camera.command({"preset", "list"}).out, AllOf(HasSubstr("Gate"), Not(HasSubstr("Door"))));
}

TEST_F(PresetTest, hasNothingStoredForARenamedPresetUntilItIsGiven)
{
    must({"preset", "rename", "Door", "Entrance"});
    EXPECT_TRUE(camera.waitForRules("Motion", "none"));
    EXPECT_EQ("Entrance", camera.preset());
    EXPECT_EQ("everywhere", camera.rules("Simple"));
    EXPECT_THAT(storedFor("Door"), Not(HasSubstr("Door rule")));
    EXPECT_THAT(active(), AllOf(Not(HasSubstr("Door rule")), HasSubstr("Anything")));

    must({"config", "set", motion("Entrance rule", "Entrance")});
    EXPECT_THAT(active(), HasSubstr("Entrance rule"));
    EXPECT_EQ("at Entrance", camera.rules("Motion"));
}

TEST_F(PresetTest, storesForAPresetElsewhereAndActivatesItOnArrival)
{
    const Finished set = camera.command({"config", "set", motion("Gate rule", "Gate")});
    EXPECT_EQ(0, set.exitCode) << set.err;
    EXPECT_THAT(set.out, HasSubstr("is stored; it is not active where the camera stands now."));
    EXPECT_THAT(storedFor("Gate"), HasSubstr("Gate rule"));
    EXPECT_THAT(active(), AllOf(HasSubstr("Door rule"), Not(HasSubstr("Gate rule"))));
    EXPECT_EQ("at Door", camera.rules("Motion"));

    must({"preset", "go", "Gate"});
    EXPECT_TRUE(camera.waitForRules("Motion", "at Gate")) << camera.err();
    EXPECT_THAT(active(), AllOf(HasSubstr("Gate rule"), HasSubstr("Anything"), Not(HasSubstr("Door rule"))));

    must({"preset", "go", "Door"});
    EXPECT_TRUE(camera.waitForRules("Motion", "at Door")) << camera.err();
    EXPECT_THAT(active(), AllOf(HasSubstr("Door rule"), Not(HasSubstr("Gate rule"))));
    EXPECT_THAT(storedFor("Gate"), HasSubstr("Gate rule"));
}

TEST_F(PresetTest, hasOnlySimpleWhereADriveIsReleased)
{
    must({"drive", "30", "0", "0", "--for", "300"});
    EXPECT_TRUE(eventually([&] {
        const Json::Value now = camera.status();
        return !now["position"]["moving"].asBool() && now["position"]["preset"].asString().empty();
    }));
    EXPECT_TRUE(camera.waitForRules("Simple", "everywhere"));
    EXPECT_EQ("none", camera.rules("Motion"));
    EXPECT_THAT(active(), AllOf(HasSubstr("Anything"), Not(HasSubstr("Door rule"))));
}

TEST_F(PresetTest, saysWhichPresetThereIsNot)
{
    for (const Words& words : {Words{"preset", "go", "Roof"}, Words{"preset", "remove", "Roof"},
                               Words{"preset", "rename", "Roof", "Attic"}}) {
        const Finished done = camera.command(words);
        EXPECT_EQ(1, done.exitCode);
        EXPECT_THAT(done.err, HasSubstr("there is no preset 'Roof'"));
    }
    EXPECT_EQ("at Door", camera.rules("Motion"));
}

TEST_F(PresetTest, saysWhyARuleIsRefused)
{
    const std::string bad =
        write("bad.xml", "<tt:Rule Name=\"R\" Type=\"tt:CellMotionDetector\"><tt:Parameters>"
                         "<tt:SimpleItem Name=\"MinCount\" Value=\"-5\"/></tt:Parameters></tt:Rule>");
    const Finished done = camera.command({"rules", "create", bad});
    EXPECT_EQ(1, done.exitCode);
    EXPECT_EQ(
        "camera: cannot store 1 rule: Simple: component 'R', parameter 'MinCount' with value '-5': it takes a whole "
        "number from 1 to 16384.\n",
        done.err);
    EXPECT_THAT(active(), AllOf(HasSubstr("Anything"), Not(HasSubstr("\"R\""))));
}

} // namespace
} // namespace camera::system_tests
