#include "camera/video/VideoInput.h"

#include "SceneVideo.h"
#include "camera/video/LibavLog.h"
#include "camera/video/OpenSource.h"
#include "camera/video/Timestamp.h"
#include "kit/DamagedVideo.h"
#include "kit/LogLines.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <thread>

namespace camera::video {
namespace {

using namespace testing;

const std::string kScene = "scene:size=320x180,frames=25,fps=25,objects=2,noise=1";

class VideoInputTest : public testing::Test {
protected:
    void SetUp() override { routeLibavLog(); }

    static std::string refusal(const std::string& input)
    {
        return kit::refusalOf([&] { const VideoInput opened(input); });
    }

    std::string sceneVideo(const std::string& scene = kScene)
    {
        const std::string path = (folder / "scene.mp4").string();
        writeSceneVideo(path, scene);
        return path;
    }

    kit::TemporaryFolder folder;
};

std::size_t count(FrameSource& source)
{
    std::size_t frames = 0;
    while (source.next()) {
        ++frames;
    }
    return frames;
}

TEST_F(VideoInputTest, deliversEveryFrameInSizeAndRateOfTheFile)
{
    VideoInput input(sceneVideo());
    EXPECT_EQ(320, input.width());
    EXPECT_EQ(180, input.height());
    EXPECT_NEAR(25, input.framesPerSecond(), 0.01);
    EXPECT_EQ(25U, count(input));
    EXPECT_FALSE(input.next().has_value());
}

TEST_F(VideoInputTest, deliversThePixelsThatWereEncoded)
{
    VideoInput input(sceneVideo());
    Scene scene(kScene);
    const Frame decoded = *input.next();
    const Frame original = *scene.next();
    double lumaError = 0;
    for (int y = 0; y < 180; ++y) {
        for (int x = 0; x < 320; ++x) {
            lumaError += std::abs(decoded.data.get()[y * decoded.strideBytes + x] -
                                  original.data.get()[y * original.strideBytes + x]);
        }
    }
    EXPECT_LT(lumaError / (320 * 180), 5);
    double chromaError = 0;
    for (int y = 180; y < 270; ++y) {
        for (int x = 0; x < 320; ++x) {
            chromaError += std::abs(decoded.data.get()[y * decoded.strideBytes + x] -
                                    original.data.get()[y * original.strideBytes + x]);
        }
    }
    EXPECT_LT(chromaError / (320 * 90), 5);
}

TEST_F(VideoInputTest, stampsFramesFromTheStartInTheFilesOwnTime)
{
    VideoInputOptions options;
    options.startNanoseconds = 5000000000;
    VideoInput input(sceneVideo(), options);
    EXPECT_EQ(5000000000, nanosecondsOf(*input.next()));
    EXPECT_NEAR(5040000000.0, static_cast<double>(nanosecondsOf(*input.next())), 1e6);
}

TEST_F(VideoInputTest, startsAtTheWallClock)
{
    const std::string video = sceneVideo();
    const std::int64_t before = wallClockNanoseconds();
    VideoInput input(video);
    const std::int64_t time = nanosecondsOf(*input.next());
    EXPECT_GE(time, before);
    EXPECT_LE(time, wallClockNanoseconds());
}

TEST_F(VideoInputTest, takesAFileByItsSchemeWhateverItsName)
{
    std::filesystem::rename(sceneVideo(), folder / "scene:x");
    for (const std::string scheme : {"file:", "file://"}) {
        EXPECT_EQ(320, VideoInput(scheme + (folder / "scene:x").string()).width());
    }
    EXPECT_THAT(kit::refusalOf([&] { VideoInput("file:" + (folder / "none").string()); }),
                testing::HasSubstr("there is no such file"));
}

TEST_F(VideoInputTest, readsAFifoOnceAndSaysSo)
{
    const std::string video = sceneVideo();
    const std::string fifo = (folder / "fifo").string();
    ASSERT_EQ(0, ::mkfifo(fifo.c_str(), 0600));
    std::thread writer(
        [&] { std::ofstream(fifo, std::ios::binary) << std::ifstream(video, std::ios::binary).rdbuf(); });
    std::vector<std::string> told;
    VideoInputOptions options;
    options.loop = true;
    options.tell = [&told](const std::string& sentence) { told.push_back(sentence); };
    VideoInput input(fifo, options);
    EXPECT_FALSE(input.live());
    int frames = 0;
    while (input.next()) {
        ++frames;
    }
    writer.join();
    int whole = 0;
    for (VideoInput file(video); file.next();) {
        ++whole;
    }
    EXPECT_EQ(whole, frames);
    EXPECT_THAT(told, testing::Contains("'" + fifo + "' has ended; what comes through a pipe is read once").Times(1));
}

TEST_F(VideoInputTest, waitsForTheWriterOfAFifoUntilItIsStopped)
{
    const std::string fifo = (folder / "fifo").string();
    ASSERT_EQ(0, ::mkfifo(fifo.c_str(), 0600));
    std::atomic<bool> stop{false};
    VideoInputOptions options;
    options.stop = &stop;
    std::thread stopper([&stop] { stop = true; });
    EXPECT_THROW(VideoInput(fifo, options), std::runtime_error);
    stopper.join();
}

TEST_F(VideoInputTest, tellsOnceThatAFifoIsWaitedFor)
{
    const std::string fifo = (folder / "fifo").string();
    ASSERT_EQ(0, ::mkfifo(fifo.c_str(), 0600));
    std::atomic<bool> stop{false};
    std::vector<std::string> told;
    VideoInputOptions options;
    options.stop = &stop;
    options.tell = [&](const std::string& sentence) {
        told.push_back(sentence);
        stop = true;
    };
    EXPECT_THROW(VideoInput(fifo, options), std::runtime_error);
    EXPECT_THAT(told, testing::ElementsAre("nothing has come through '" + fifo + "' yet; it is waited for"));
}

TEST_F(VideoInputTest, timesGrowOverLoops)
{
    VideoInputOptions options;
    options.loop = true;
    VideoInput input(sceneVideo(), options);
    std::int64_t last = 0;
    for (int i = 0; i < 80; ++i) {
        const auto frame = input.next();
        ASSERT_TRUE(frame.has_value()) << i;
        const std::int64_t time = nanosecondsOf(*frame);
        EXPECT_GT(time, last);
        if (last != 0) {
            EXPECT_NEAR(40e6, static_cast<double>(time - last), 2e6);
        }
        last = time;
    }
}

TEST_F(VideoInputTest, endsWhenToldToStop)
{
    std::atomic<bool> stop{false};
    VideoInputOptions options;
    options.loop = true;
    options.stop = &stop;
    VideoInput input(sceneVideo(), options);
    EXPECT_TRUE(input.next().has_value());
    stop = true;
    EXPECT_FALSE(input.next().has_value());
}

TEST_F(VideoInputTest, leavesOutAnOddRowAndColumn)
{
    // A picture file is a video of one frame, and the only format here that may have an odd size.
    std::string ppm = "P6\n101 51\n255\n";
    ppm.append(static_cast<std::size_t>(101 * 51 * 3), static_cast<char>(128));
    VideoInput input(folder.write("odd.ppm", ppm));
    EXPECT_EQ(100, input.width());
    EXPECT_EQ(50, input.height());
    const Frame frame = *input.next();
    EXPECT_NEAR(126, frame.data.get()[49 * frame.strideBytes + 99], 3);
}

TEST_F(VideoInputTest, refusesAMissingFile)
{
    const std::string path = (folder / "none.mp4").string();
    EXPECT_EQ("cannot open '" + path +
                  "': there is no such file; name a video file, a URL, or scene: for a generated scene.",
              refusal(path));
}

TEST_F(VideoInputTest, refusesADirectory)
{
    const std::string path = folder.path().string();
    EXPECT_EQ("cannot open '" + path + "': it is a directory; name one video file in it.", refusal(path));
}

TEST_F(VideoInputTest, refusesAnEmptyFile)
{
    EXPECT_THAT(refusal(folder.write("empty.mp4", "")), HasSubstr("the file is empty"));
}

TEST_F(VideoInputTest, refusesATextFileWhateverItsEnding)
{
    for (const std::string name : {"a.txt", "a.mp4", "a.avi", "a", "a.ans"}) {
        const std::string path = folder.write(name, "this is text and nobody's video\nreally\n");
        EXPECT_THAT(refusal(path), HasSubstr("'" + path + "' is not a video that can be read")) << name;
    }
}

TEST_F(VideoInputTest, refusesASoundFileForItHasNoPictures)
{
    std::string wave("RIFF\x24\x10\0\0WAVEfmt \x10\0\0\0\x01\0\x01\0\x40\x1f\0\0\x80\x3e\0\0\x02\0\x10\0data\0\x10\0\0",
                     44);
    wave.append(4096, '\0');
    const std::string path = folder.write("sound.wav", wave);
    EXPECT_THAT(refusal(path), HasSubstr("there is no video stream in '" + path + "'"));
}

TEST_F(VideoInputTest, refusesAVideoWithoutItsIndex)
{
    const std::string path = folder.write("cut.mp4", kit::withoutIndex(kit::contentOf(sceneVideo())));
    EXPECT_THAT(refusal(path),
                AllOf(HasSubstr("'" + path + "' is not a video that can be read"), HasSubstr("error reading header")));
}

TEST_F(VideoInputTest, refusesAnAddressWhereNobodyAnswers)
{
    EXPECT_THAT(
        refusal("rtsp://127.0.0.1:1/none"),
        AllOf(HasSubstr("cannot open 'rtsp://127.0.0.1:1/none': Connection refused"), HasSubstr("check the address")));
    EXPECT_THAT(refusal("nowhere://x"), HasSubstr("Protocol not found"));
}

TEST_F(VideoInputTest, refusesAMissingVideoDevice)
{
    EXPECT_THAT(refusal("/dev/video987"), HasSubstr("cannot open '/dev/video987'"));
}

TEST_F(VideoInputTest, acceptsAFileNameWithAColon)
{
    const std::string path = (folder / "a:b.mp4").string();
    writeSceneVideo(path, kScene);
    EXPECT_EQ("not refused", refusal(path));
}

TEST_F(VideoInputTest, deliversWhatDecodesOfADamagedVideoAndThenSaysSo)
{
    const std::string video = kit::contentOf(sceneVideo("scene:size=320x180,frames=60,objects=2,noise=1"));
    const std::string path = folder.write("damaged.mp4", kit::withDamagedPictures(video));
    VideoInput input(path);
    std::size_t frames = 0;
    const std::string message = kit::refusalOf([&] {
        while (input.next()) {
            ++frames;
        }
    });
    EXPECT_GT(frames, 5U);
    EXPECT_THAT(message, AllOf(HasSubstr("'" + path + "' is damaged"),
                               HasSubstr(std::to_string(frames) + " frames of it could be analysed")));
    EXPECT_FALSE(input.next().has_value());
}

TEST_F(VideoInputTest, keepsLibavQuietOnStderr)
{
    testing::internal::CaptureStderr();
    refusal(folder.write("a.mp4", "no video at all, just text"));
    const std::string whole = kit::contentOf(sceneVideo());
    refusal(folder.write("cut.mp4", kit::withoutIndex(whole)));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST_F(VideoInputTest, printsWhatLibavSaysWhenAsked)
{
    const kit::LogLines log(base::LogLevel::info);
    const std::string sentence = refusal(folder.write("cut.mp4", kit::withoutIndex(kit::contentOf(sceneVideo()))));
    EXPECT_THAT(log.lines(), Contains(HasSubstr(" info libav: [mov")));
    EXPECT_THAT(log.lines(), Not(Contains(HasSubstr("0x")))) << "addresses of libav's objects";
    EXPECT_THAT(sentence, Not(HasSubstr("0x")));
}

TEST_F(VideoInputTest, scalesToTheSizeThatIsWantedAndSaysSo)
{
    VideoInputOptions options;
    std::vector<std::string> told;
    options.tell = [&told](const std::string& sentence) { told.push_back(sentence); };
    options.size = {160, 90};
    VideoInput input(sceneVideo(), options);
    EXPECT_EQ(160, input.width());
    EXPECT_EQ(160, input.next()->width);
    EXPECT_THAT(told, ElementsAre(HasSubstr("are 320x180 now; they are scaled to 160x90")));
    EXPECT_FALSE(input.live());
    options.size = {320, 180};
    VideoInput same(sceneVideo(), options);
    EXPECT_EQ(1u, told.size());
}

TEST_F(VideoInputTest, followsAClockThatIsSetForwardAtItsNextBeginning)
{
    constexpr std::int64_t kHour = 3600000000000;
    std::int64_t wall = wallClockNanoseconds();
    std::vector<std::string> told;
    std::vector<std::int64_t> steps;
    SourceOptions options;
    options.loop = true;
    options.followClock = true;
    options.clock.wall = [&wall] { return wall; };
    options.clock.steady = [] { return 0; };
    options.tell = [&told](const std::string& sentence) { told.push_back(sentence); };
    options.stepped = [&steps](std::int64_t step) { steps.push_back(step); };
    const auto source = openSource(sceneVideo("scene:size=64x64,objects=0,frames=3,fps=25"), options);
    const auto gaps = [&source] {
        std::vector<std::int64_t> between;
        static std::int64_t last = 0;
        for (int i = 0; i < 3; ++i) {
            const std::int64_t time = nanosecondsOf(*source->next());
            between.push_back(last == 0 ? 0 : (time - last) / 60000000000);
            last = time;
        }
        return between;
    };
    EXPECT_THAT(gaps(), ElementsAre(0, 0, 0));
    wall += kHour;
    EXPECT_THAT(gaps(), ElementsAre(60, 0, 0));
    wall += kHour;
    EXPECT_THAT(gaps(), ElementsAre(60, 0, 0));
    wall -= kHour / 2;
    EXPECT_THAT(gaps(), ElementsAre(0, 0, 0)) << "times only grow";
    EXPECT_THAT(steps, ElementsAre(kHour, kHour));
    EXPECT_THAT(told, ElementsAre(HasSubstr("was set forward by 3600 s"), HasSubstr("was set back by 1800 s")));
}

TEST_F(VideoInputTest, openSourceContinuesAfterAnEarlierRun)
{
    SourceOptions options;
    const std::int64_t farAhead = wallClockNanoseconds() + 3600000000000;
    options.notBefore = farAhead;
    for (const std::string& input : {sceneVideo(), kScene}) {
        const auto source = openSource(input, options);
        std::int64_t last = farAhead;
        for (int i = 0; i < 3; ++i) {
            const std::int64_t time = nanosecondsOf(*source->next());
            EXPECT_GT(time, last);
            EXPECT_LT(time, last + 100000000);
            last = time;
        }
    }
}

TEST_F(VideoInputTest, openSourceLeavesTimesAloneThatAreLateEnough)
{
    SourceOptions options;
    options.notBefore = 1000;
    const auto source = openSource("scene:size=64x64,objects=0,start=4000", options);
    EXPECT_EQ(4000000000000, nanosecondsOf(*source->next()));
}

TEST_F(VideoInputTest, openSourceLoopsAndStops)
{
    std::atomic<bool> stop{false};
    SourceOptions options;
    options.loop = true;
    options.stop = &stop;
    const auto source = openSource("scene:size=64x64,frames=2", options);
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(source->next().has_value());
    }
    stop = true;
    EXPECT_FALSE(source->next().has_value());
}

} // namespace
} // namespace camera::video
