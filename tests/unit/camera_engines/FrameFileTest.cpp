#include "Stage.h"

#include "camera/video/Scene.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace {

using namespace engine_test;
using camera::video::Scene;
using namespace testing;

class FrameFileTest : public testing::TestWithParam<const char*> {
protected:
    FrameFileTest() { takeLogLines(); }

    const kit::TemporaryFolder folder;

    std::string config() const
    {
        return std::string(GetParam()) == "Simple" ? simpleConfig("", simpleItem("MinCount", "3"))
                                                   : motionConfig("", region("Sensitivity=\"0.9\"", ""));
    }
};

TEST_P(FrameFileTest, aReplayGivesTheSameEventsAndMetadataExceptTheirTimes)
{
    const std::string path = folder / "frames";
    constexpr unsigned kCount = 90;
    std::string recorded;
    std::string recordedEvents;
    {
        // Objects come and go within the recording, so that alarms go on and off in it.
        Scene scene("scene:start=1700000000,size=320x240,seed=7,objects=2,area=4,enter=60,leave=85,frames=200");
        EngineBench bench(GetParam());
        bench.activate(config());
        for (unsigned number = 0; number < 20; ++number) {
            bench.show(*scene.next());
        }
        ASSERT_TRUE(bench.engine().writeFramesToFile(path.c_str(), kCount));
        for (unsigned number = 0; number < kCount; ++number) {
            recorded += withoutTimes(bench.show(*scene.next())) + "\n";
        }
        recordedEvents = bench.eventTexts();
        EXPECT_THAT(recordedEvents, HasSubstr("true"));
    }
    // Another picture runs meanwhile, at another size and other times, with objects of its own.
    Scene live("scene:start=1800000000,size=256x192,fps=10,seed=9,objects=3,frames=0");
    EngineBench bench(GetParam());
    bench.activate(config());
    for (int number = 0; number < 30; ++number) {
        bench.show(*live.next());
    }
    const std::size_t before = bench.eventTexts().size();
    ASSERT_TRUE(bench.engine().readFramesFromFile(path.c_str(), true));
    bench.onEvent = [] {};
    std::string replayed;
    std::string metadata;
    std::size_t restarted = 0;
    for (unsigned number = 0; number < kCount; ++number) {
        metadata = bench.show(*live.next());
        restarted = number == 0 ? bench.eventTexts().size() : restarted;
        replayed += withoutTimes(metadata) + "\n";
    }
    EXPECT_EQ(replayed, recorded);
    EXPECT_GE(restarted, before);
    EXPECT_EQ(bench.eventTexts().substr(restarted), recordedEvents);
    EXPECT_THAT(metadata, HasSubstr("UtcTime=\"2027-01-15T")) << "documents keep the live time";
    EXPECT_THAT(takeLogLines(), IsEmpty());
    std::remove(path.c_str());
}

TEST_P(FrameFileTest, livePicturesReturnAfterTheReplayAndAreLearnedAgain)
{
    const std::string path = folder / "frames";
    EngineBench bench(GetParam());
    Stage stage;
    bench.activate(config());
    ASSERT_TRUE(bench.engine().writeFramesToFile(path.c_str(), 40));
    stage.learn(bench, 30);
    stage.show(bench, 20, 100, 40, 40, 60);
    const std::size_t events = bench.states().size();
    EXPECT_EQ(events, 1U);
    ASSERT_TRUE(bench.engine().readFramesFromFile(path.c_str(), true));
    stage.learn(bench, 40);
    EXPECT_THAT(bench.states(), ElementsAre(true, false, true)) << "closed for the restart, raised by the replay";
    stage.learn(bench, 1);
    EXPECT_THAT(bench.states(), ElementsAre(true, false, true, false));
    stage.learn(bench, 40);
    EXPECT_EQ(bench.states().size(), 4U);
    std::remove(path.c_str());
}

TEST_P(FrameFileTest, replaysOnTopOfThePresentBackgroundWhenAskedTo)
{
    const std::string path = folder / "frames";
    {
        EngineBench recorder(GetParam());
        Stage elsewhere;
        ASSERT_TRUE(recorder.engine().writeFramesToFile(path.c_str(), 10));
        elsewhere.show(recorder, 10, 100, 40, 40, 60); // too few to be learned
    }
    EngineBench bench(GetParam());
    Stage stage;
    bench.activate(config());
    stage.learn(bench);
    ASSERT_TRUE(bench.engine().readFramesFromFile(path.c_str(), false));
    stage.learn(bench, 9);
    EXPECT_THAT(bench.states(), ElementsAre(true));
    std::remove(path.c_str());
}

TEST_P(FrameFileTest, writesWhatWasAskedForAndNoMore)
{
    const std::string path = folder / "frames";
    EngineBench bench(GetParam());
    Stage stage;
    ASSERT_TRUE(bench.engine().writeFramesToFile(path.c_str(), 3));
    stage.learn(bench, 10);
    const std::size_t frame = 48 + 320 * 180 * 3 / 2;
    EXPECT_EQ(kit::contentOf(path).size(), 16 + 3 * frame);
    ASSERT_TRUE(bench.engine().writeFramesToFile(path.c_str(), 100));
    stage.learn(bench, 2);
    ASSERT_TRUE(bench.engine().writeFramesToFile("", 0));
    stage.learn(bench, 2);
    EXPECT_EQ(kit::contentOf(path).size(), 16 + 2 * frame);
    std::remove(path.c_str());
}

TEST_P(FrameFileTest, refusesPathsThatCannotBeUsedWithOneLineEach)
{
    EngineBench bench(GetParam());
    const std::string text = folder / "text";
    folder.write("text", "this is no recording at all");
    folder.write("text2", std::string("VCFRAMES\x02\0\0\0\x01\0\0\0", 16));
    EXPECT_FALSE(bench.engine().readFramesFromFile("/nonexistent/frames", true));
    EXPECT_FALSE(bench.engine().readFramesFromFile(nullptr, true));
    EXPECT_FALSE(bench.engine().readFramesFromFile(text.c_str(), true));
    EXPECT_FALSE(bench.engine().readFramesFromFile((text + "2").c_str(), true));
    EXPECT_FALSE(bench.engine().writeFramesToFile("/nonexistent/frames", 1));
    EXPECT_FALSE(bench.engine().writeFramesToFile(nullptr, 1));
    EXPECT_EQ(takeLogLines().size(), 6U);
    std::remove(text.c_str());
    std::remove((text + "2").c_str());
}

TEST_P(FrameFileTest, aDamagedFileEndsTheReplayWithOneLine)
{
    const std::string path = folder / "frames";
    {
        EngineBench bench(GetParam());
        Stage stage;
        ASSERT_TRUE(bench.engine().writeFramesToFile(path.c_str(), 2));
        stage.learn(bench, 3);
    }
    std::filesystem::resize_file(path, std::filesystem::file_size(path) - 1);
    EngineBench bench(GetParam());
    Stage stage;
    bench.activate(config());
    takeLogLines();
    ASSERT_TRUE(bench.engine().readFramesFromFile(path.c_str(), true));
    stage.learn(bench, 5);
    EXPECT_THAT(takeLogLines(), ElementsAre(HasSubstr("is damaged")));
    std::remove(path.c_str());
}

INSTANTIATE_TEST_SUITE_P(, FrameFileTest, testing::Values("Simple", "Motion"));

} // namespace
