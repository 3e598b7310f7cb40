#include "DeviceTest.h"

#include <csignal>

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

} // namespace
} // namespace camera::system_tests
