#include "DeviceTest.h"

#include <csignal>
#include <regex>

namespace camera::system_tests {
namespace {

using testing::HasSubstr;
using testing::SizeIs;

constexpr long long kSecond = 1000000000;

class LiveRunTest : public DeviceTest {
protected:
    // A film of 20 frames, 25 a second.
    std::string film() const
    {
        const std::string file = path("film.mp4");
        const Finished made =
            camera({"run", "scene:size=320x180,fps=25,objects=1,frames=20", "--speed", "max", "--overlay", file});
        EXPECT_EQ(0, made.exitCode) << made.err;
        return file;
    }
};

TEST_F(LiveRunTest, beginsAShortFilmAgainWithoutAGapInItsTimes)
{
    RunningCamera camera(state(),
                         {film(), "--engine", JOURNAL_ENGINE, "--config", simple(), "--metadata", path("m.xml")});
    // Two seams.
    ASSERT_TRUE(eventually([&] { return journalFrames().size() >= 50 || !camera.runs(); }));
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
    const auto frames = journalFrames();
    ASSERT_GE(frames.size(), 50U);
    for (std::size_t i = 1; i < frames.size(); ++i) {
        // The film's clock may round.
        EXPECT_NEAR(static_cast<double>(kSecond) / 25,
                    static_cast<double>(frames[i].nanoseconds - frames[i - 1].nanoseconds), 1e5)
            << "frame " << i;
    }
    EXPECT_EQ(frames[0].pixels, frames[20].pixels) << "it begins again";

    const std::string metadata = read(path("m.xml"));
    std::string last;
    std::size_t documents = 0;
    for (std::size_t at = metadata.find("UtcTime=\""); at != std::string::npos;
         at = metadata.find("UtcTime=\"", at + 1)) {
        const std::string time = metadata.substr(at + 9, 24);
        EXPECT_LT(last, time);
        last = time;
        ++documents;
    }
    EXPECT_EQ(frames.size(), documents);
}

TEST_F(LiveRunTest, endsWithItsInputWhenToldSo)
{
    RunningCamera camera(state(), {film(), "--oneshot", "--engine", JOURNAL_ENGINE});
    EXPECT_TRUE(eventually([&] { return !camera.runs(); }));
    EXPECT_EQ(0, camera.end(SIGINT));
    EXPECT_THAT(journalFrames(), SizeIs(20));
    EXPECT_THAT(camera.out(), HasSubstr("  frames    20 in "));
    EXPECT_THAT(leftBehind(), testing::IsEmpty());
}

class RecordTest : public LiveRunTest {
protected:
    static int framesOf(const std::string& file)
    {
        const Finished played = camera({"run", file, "--speed", "max"});
        std::smatch frames;
        return std::regex_search(played.out, frames, std::regex("  frames    ([0-9]+) in ")) ? std::stoi(frames[1]) : 0;
    }
};

TEST_F(RecordTest, takesAPictureAndAVideoOfARunningCamera)
{
    RunningCamera running(state(), {kLively, "--config", motion()});
    ASSERT_TRUE(running.serves()) << running.err();
    for (const std::string name : {"p.jpg", "p.png"}) {
        const Finished taken = running.command({"picture", path(name)});
        EXPECT_EQ(0, taken.exitCode) << taken.err;
        EXPECT_THAT(taken.out, testing::StartsWith("written   " + path(name) + " ("));
    }
    EXPECT_EQ("\xFF\xD8\xFF", read(path("p.jpg")).substr(0, 3));
    EXPECT_EQ("\x89PNG", read(path("p.png")).substr(0, 4));
    const Finished recorded = running.command({"record", path("o.mp4"), "--seconds", "2"});
    EXPECT_EQ(0, recorded.exitCode) << recorded.err;
    EXPECT_GT(framesOf(path("o.mp4")), 1);
    EXPECT_EQ(0, running.end(SIGINT)) << running.err();
}

TEST_F(RecordTest, aCameraThatEndsOrDiesWhileItRecordsIsOneSentence)
{
    RunningCamera running(state(), {kLively});
    ASSERT_TRUE(running.serves()) << running.err();
    const auto record = [&](const std::string& name) {
        auto command = running.follow({"record", path(name), "--seconds", "3600"});
        EXPECT_TRUE(eventually([&] { return std::filesystem::exists(path(name)) && !read(path(name)).empty(); }));
        return command;
    };
    const auto dying = record("died.mp4");
    ::kill(running.process("camera-pipeline"), SIGKILL);
    const Finished died = dying->finish();
    EXPECT_EQ(1, died.exitCode);
    EXPECT_EQ(1U, count(died.err, "\n"));
    EXPECT_THAT(died.err, testing::HasSubstr("the camera's pipeline ended before it answered"));
    EXPECT_TRUE(running.serves());

    const auto ending = record("ended.mp4");
    EXPECT_EQ(0, running.command({"shutdown"}).exitCode);
    const Finished ended = ending->finish();
    EXPECT_EQ(1, ended.exitCode);
    EXPECT_EQ("camera: the camera has ended; '" + path("ended.mp4") + "' has what came until then.\n", ended.err);
    EXPECT_GT(framesOf(path("ended.mp4")), 0);
}

TEST_F(RecordTest, refusesWhatCannotBeTaken)
{
    EXPECT_EQ(2, camera({"picture", path("p.gif")}).exitCode);
    EXPECT_EQ(2, camera({"record", path("o.avi"), "--seconds", "1"}).exitCode);
    EXPECT_EQ(2, camera({"record", path("o.mp4")}).exitCode);
    const Finished none = camera({"picture", path("p.png")});
    EXPECT_EQ(1, none.exitCode);
    EXPECT_THAT(none.err, testing::HasSubstr("no camera runs"));
    EXPECT_FALSE(std::filesystem::exists(path("p.png")));

    RunningCamera running(state(), {kLively});
    ASSERT_TRUE(running.serves()) << running.err();
    const Finished nowhere = running.command({"picture", path("none/p.png")});
    EXPECT_EQ(1, nowhere.exitCode);
    EXPECT_THAT(nowhere.err,
                testing::HasSubstr("cannot write '" + path("none/p.png") + "': No such file or directory"));
    std::filesystem::create_symlink("/dev/full", path("full.png"));
    const Finished full = running.command({"picture", path("full.png")});
    EXPECT_EQ(1, full.exitCode);
    EXPECT_THAT(full.err, testing::HasSubstr("is no regular file"));
    EXPECT_EQ(0, running.end(SIGINT)) << running.err();
}

} // namespace
} // namespace camera::system_tests
