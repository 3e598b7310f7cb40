// What clients ask of the running camera: pictures and videos into files of theirs.
#include "camera/pipeline/Recordings.h"

#include "camera/bus/Server.h"
#include "camera/video/LibavLog.h"
#include "camera/video/Scene.h"
#include "camera/video/Timestamp.h"
#include "camera/video/VideoInput.h"
#include "kit/FileSizeLimit.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <unistd.h>

namespace {

using camera::base::FileDescriptor;
using camera::pipeline::Recordings;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::chrono::seconds kOneSecond(1);

class RecordingsTest : public testing::Test {
protected:
    RecordingsTest()
    {
        camera::video::routeLibavLog();
        recordings.begin(25);
    }

    Recordings::Order orderFor(const std::string& name, std::chrono::nanoseconds length = {}) const
    {
        Recordings::Order order;
        order.name = folder / name;
        order.file = FileDescriptor(::open(order.name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        order.length = length;
        return order;
    }

    void order(Recordings::Order order)
    {
        recordings.order(std::move(order));
        ASSERT_TRUE(recordings.accept([this](const std::string& failure) { answers.push_back(failure); }));
    }

    void frames(int count)
    {
        for (int i = 0; i < count; ++i) {
            last = *scene.next();
            recordings.draw(last, {}, "");
        }
    }

    int framesOf(const std::string& name) const
    {
        camera::video::VideoInput video(folder / name);
        int count = 0;
        while (video.next()) {
            ++count;
        }
        return count;
    }

    std::string refusal(Recordings::Order order)
    {
        return kit::refusalOf<camera::bus::Refusal>([&] { recordings.order(std::move(order)); });
    }

    const kit::TemporaryFolder folder;
    Recordings recordings;
    std::vector<std::string> answers;
    camera::video::Scene scene{"scene:size=320x180,frames=0,fps=25,noise=20"};
    camera::video::Frame last;
};

TEST_F(RecordingsTest, aPictureIsTheNextFrameInTheFormatOfItsName)
{
    order(orderFor("a.jpg"));
    order(orderFor("b.png"));
    EXPECT_THAT(answers, IsEmpty());
    frames(2);
    EXPECT_THAT(answers, ElementsAre("", ""));
    EXPECT_EQ("\xFF\xD8\xFF", kit::contentOf(folder / "a.jpg").substr(0, 3));
    EXPECT_EQ("\x89PNG", kit::contentOf(folder / "b.png").substr(0, 4));
    EXPECT_FALSE(recordings.wanted());
}

TEST_F(RecordingsTest, aVideoIsAsLongAsAskedForByTheTimeOfTheFrames)
{
    order(orderFor("o.mp4", 2 * kOneSecond));
    frames(50);
    EXPECT_THAT(answers, IsEmpty());
    frames(5);
    EXPECT_THAT(answers, ElementsAre(""));
    EXPECT_EQ(50, framesOf("o.mp4"));
}

TEST_F(RecordingsTest, aVideoEndsWithItsClient)
{
    int ends[2];
    ASSERT_EQ(0, ::pipe2(ends, O_CLOEXEC));
    FileDescriptor client(ends[1]);
    Recordings::Order video = orderFor("o.mp4", 3600 * kOneSecond);
    video.client = FileDescriptor(ends[0]);
    order(std::move(video));
    frames(5);
    client.reset();
    frames(5);
    EXPECT_EQ(1u, answers.size());
    EXPECT_EQ(5, framesOf("o.mp4"));
}

TEST_F(RecordingsTest, aVideoGoesOnWhileTheSourceIsGone)
{
    order(orderFor("o.mp4", 3 * kOneSecond));
    recordings.drawGone(1, "");
    frames(5);
    const std::int64_t time = camera::video::nanosecondsOf(last);
    recordings.drawGone(time + 1000000000, "");
    recordings.drawGone(time + 3000000000, "");
    EXPECT_THAT(answers, ElementsAre(""));
    EXPECT_EQ(6, framesOf("o.mp4"));
}

TEST_F(RecordingsTest, theEndOfTheCameraIsToldAndLeavesAVideoThatPlays)
{
    order(orderFor("a.png"));
    recordings.end();
    EXPECT_THAT(answers, ElementsAre("the camera has ended"));
    EXPECT_EQ(refusal(orderFor("b.png")), "the camera has no pictures now");
    answers.clear();

    recordings.begin(25);
    order(orderFor("o.mp4", 3600 * kOneSecond));
    frames(5);
    recordings.end();
    EXPECT_THAT(answers,
                ElementsAre("the camera has ended; '" + (folder / "o.mp4").string() + "' has what came until then"));
    EXPECT_EQ(5, framesOf("o.mp4"));
}

TEST_F(RecordingsTest, aFullDiskIsOneSentenceAndLeavesNoHalfOfAPicture)
{
    const kit::FileSizeLimit limit(5000);
    order(orderFor("a.png"));
    order(orderFor("o.mp4", 3600 * kOneSecond));
    frames(20);
    EXPECT_THAT(
        answers,
        ElementsAre(HasSubstr("cannot write the picture '" + (folder / "a.png").string() + "': File too large"),
                    HasSubstr("cannot write the overlay video '" + (folder / "o.mp4").string() + "': File too large")));
    EXPECT_EQ("", kit::contentOf(folder / "a.png"));
}

TEST_F(RecordingsTest, refusesWhatIsNoFileAndTooMuchAtOnce)
{
    Recordings::Order pipe = orderFor("a.png");
    pipe.file = FileDescriptor(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    EXPECT_THAT(refusal(std::move(pipe)), HasSubstr("is no regular file"));
    EXPECT_FALSE(recordings.accept(nullptr)) << "there is no order";
    for (int i = 0; i < 8; ++i) {
        order(orderFor("o" + std::to_string(i) + ".png"));
    }
    EXPECT_THAT(refusal(orderFor("p.png")), HasSubstr("8 pictures and videos already"));
    frames(1);
    order(orderFor("p.png"));
}

} // namespace
