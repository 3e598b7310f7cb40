#include "DeviceTest.h"

#include <algorithm>
#include <csignal>
#include <map>

namespace camera::system_tests {
namespace {

using namespace testing;

const std::string kScene = "scene:size=320x180,fps=30,objects=2,enter=5,noise=2,start=1700000000,frames=";

// What reaches an engine of somebody else, loaded with --engine.
class EngineSeesDeviceTest : public DeviceTest {
protected:
    bool told(const std::string& word, const std::vector<std::string>& lines) const
    {
        return eventually([&] { return journal(word) == lines; });
    }

    // The pixels of the frames of the scene as they are, by their times.
    std::map<long long, std::string> uprightFrames()
    {
        const Finished done =
            camera({"run", kScene + "900", "--speed", "max", "--engine", JOURNAL_ENGINE, "--state", path("upright")});
        EXPECT_EQ(0, done.exitCode) << done.err;
        std::map<long long, std::string> pixels;
        for (const JournalFrame& frame : journalFrames()) {
            pixels[frame.nanoseconds] = frame.pixels;
        }
        std::filesystem::remove(path("journal"));
        return pixels;
    }
};

// The plug-in asks for the colour once, when it starts; afterwards it hears only that blanking was switched. Setting a
// colour on the command line is two changes, colour and switch, so two calls.
TEST_F(EngineSeesDeviceTest, hearsOfBlankingAtOnceAndOfItsColourFromTheNextStartOn)
{
    const std::string grey = " 128 128 128";
    {
        RunningCamera camera(state(), {kScene + "0", "--engine", JOURNAL_ENGINE});
        ASSERT_TRUE(camera.serves()) << camera.err();
        ASSERT_TRUE(told("blanking", {"off" + grey})) << testing::PrintToString(journal("blanking"));
        ASSERT_EQ(0, camera.command({"blanking", "on", "#ff0000"}).exitCode);
        EXPECT_TRUE(told("blanking", {"off" + grey, "off" + grey, "on" + grey}))
            << testing::PrintToString(journal("blanking"));
        EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
    }
    std::filesystem::remove(path("journal"));
    RunningCamera camera(state(), {kScene + "0", "--engine", JOURNAL_ENGINE});
    ASSERT_TRUE(camera.serves()) << camera.err();
    const std::string red = " 76 91 255";
    EXPECT_TRUE(told("blanking", {"on" + red})) << testing::PrintToString(journal("blanking"));
    ASSERT_EQ(0, camera.command({"blanking", "off"}).exitCode);
    EXPECT_TRUE(told("blanking", {"on" + red, "off" + red})) << testing::PrintToString(journal("blanking"));
}

TEST_F(EngineSeesDeviceTest, seesUprightFramesHoweverTheRunningCameraIsTurned)
{
    const auto upright = uprightFrames();
    ASSERT_THAT(upright, SizeIs(900));
    RunningCamera camera(state(), {kScene + "900", "--oneshot", "--engine", JOURNAL_ENGINE});
    ASSERT_TRUE(camera.serves()) << camera.err();
    std::vector<std::string> told = {"0"};
    for (const std::string angle : {"90", "180", "270", "0"}) {
        ASSERT_EQ(0, camera.command({"rotate", angle}).exitCode);
        told.push_back(angle);
        ASSERT_TRUE(this->told("orientation", told)) << testing::PrintToString(journal("orientation"));
        EXPECT_EQ(std::stoi(angle), camera.status()["pipeline"]["orientation"].asInt());
        // A frame that was on its way when the camera was turned may be of neither kind.
        const std::size_t seen = journalFrames().size() + 3;
        ASSERT_TRUE(eventually([&] { return journalFrames().size() >= seen + 10; }));
        const auto frames = journalFrames();
        for (std::size_t i = seen; i < seen + 10; ++i) {
            EXPECT_EQ("320x180", frames[i].size) << angle;
            ASSERT_THAT(upright, Contains(Key(frames[i].nanoseconds)));
            EXPECT_EQ(upright.at(frames[i].nanoseconds), frames[i].pixels) << angle << ", frame " << i;
        }
    }
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
}

TEST_F(EngineSeesDeviceTest, isToldTheAngleOfTheLastRunWhenTheCameraStartsAgain)
{
    {
        RunningCamera camera(state(), {kScene + "0", "--engine", JOURNAL_ENGINE});
        ASSERT_TRUE(camera.serves()) << camera.err();
        ASSERT_EQ(0, camera.command({"rotate", "90"}).exitCode);
        ASSERT_TRUE(told("orientation", {"0", "90"}));
    }
    const auto upright = uprightFrames();
    RunningCamera camera(state(), {kScene + "900", "--engine", JOURNAL_ENGINE});
    ASSERT_TRUE(camera.serves()) << camera.err();
    EXPECT_TRUE(told("orientation", {"90"})) << testing::PrintToString(journal("orientation"));
    ASSERT_TRUE(eventually([&] { return journalFrames().size() >= 5; }));
    const auto frames = journalFrames();
    EXPECT_EQ("320x180", frames[0].size);
    // Times go on where the last run ended, so the first frame has another time: the scene's first picture has not.
    EXPECT_EQ(upright.begin()->second, frames[0].pixels);
}

TEST_F(EngineSeesDeviceTest, refusesAnAngleThatNoCameraHas)
{
    RunningCamera camera(state(), {kScene + "0", "--engine", JOURNAL_ENGINE});
    ASSERT_TRUE(camera.serves()) << camera.err();
    EXPECT_EQ(2, camera.command({"rotate", "45"}).exitCode);
    EXPECT_THAT(journal("orientation"), ElementsAre("0"));
}

} // namespace
} // namespace camera::system_tests
