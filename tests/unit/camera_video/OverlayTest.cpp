#include "camera/video/Overlay.h"

#include "camera/video/LibavLog.h"
#include "camera/video/OverlayPainter.h"
#include "camera/video/PictureWriter.h"
#include "camera/video/Scene.h"
#include "camera/video/Timestamp.h"
#include "camera/video/VideoInput.h"
#include "kit/FileSizeLimit.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <opencv2/imgproc.hpp>

#include <array>
#include <filesystem>
#include <map>

namespace camera::video {
namespace {

using namespace kit;
using testing::HasSubstr;

const std::string kScene = "scene:size=320x180,objects=0,noise=0,frames=12";

RgbPicture grey(int width, int height)
{
    RgbPicture picture;
    picture.width = width;
    picture.height = height;
    picture.pixels.assign(static_cast<std::size_t>(3 * width * height), 100);
    return picture;
}

BoxRecord boxAt(double left, double top, double right, double bottom, std::uint32_t id = 7)
{
    BoxRecord box;
    box.id = id;
    box.upperLeft = {left, top};
    box.lowerRight = {right, bottom};
    return box;
}

RuleRecord square(RuleState state)
{
    RuleRecord rule;
    rule.state = state;
    rule.name = "Gate";
    rule.points = {{0.25, 0.25}, {0.75, 0.25}, {0.75, 0.75}, {0.25, 0.75}};
    return rule;
}

void paint(RgbPicture& picture, const Drawing& drawing, std::int64_t nanoseconds)
{
    OverlayPainter().paint(picture, drawing, nanoseconds);
}

bool isGrey(const RgbPicture& picture, int x, int y)
{
    const std::uint8_t* p = picture.at(x, y);
    return p[0] == 100 && p[1] == 100 && p[2] == 100;
}

TEST(OverlayPainter, drawsABoxWhereItIsAndLeavesTheRestAlone)
{
    RgbPicture picture = grey(800, 600);
    Drawing drawing;
    drawing.boxes.push_back(boxAt(0.5, 0.5, 0.75, 0.8));
    paint(picture, drawing, 0);
    const std::uint8_t* edge = picture.at(600, 300);
    EXPECT_GT(edge[0], 200);
    EXPECT_LT(edge[2], 60);
    EXPECT_TRUE(isGrey(picture, 500, 400));
    EXPECT_TRUE(isGrey(picture, 100, 100));
    EXPECT_TRUE(isGrey(picture, 700, 400));
}

TEST(OverlayPainter, drawsARuleInTheColourOfItsState)
{
    const auto centre = [](RuleState state) {
        RgbPicture picture = grey(400, 400);
        Drawing drawing;
        drawing.rules.push_back(square(state));
        paint(picture, drawing, 0);
        EXPECT_TRUE(isGrey(picture, 50, 200));
        const std::uint8_t* p = picture.at(200, 200);
        return std::array<int, 3>{p[0], p[1], p[2]};
    };
    const auto alarm = centre(RuleState::kAlarm);
    EXPECT_GT(alarm[0], alarm[1] + 20);
    const auto quiet = centre(RuleState::kQuiet);
    EXPECT_GT(quiet[1], quiet[0] + 5);
    const auto disarmed = centre(RuleState::kDisarmed);
    EXPECT_EQ(disarmed[0], disarmed[1]);
}

TEST(OverlayPainter, tintsMovingCellsAndOutlinesWatchedOnes)
{
    RgbPicture picture = grey(400, 400);
    Drawing drawing;
    CellsRecord cells;
    cells.columns = 4;
    cells.rows = 4;
    cells.bits.assign(2, 0);
    cells.set(1, 2);
    drawing.cells.push_back(cells);
    cells.kind = CellsKind::kWatched;
    cells.set(0, 0);
    drawing.cells.push_back(cells);
    paint(picture, drawing, 0);
    EXPECT_FALSE(isGrey(picture, 150, 250)); // moving, and watched
    EXPECT_FALSE(isGrey(picture, 100, 250)); // its left edge
    EXPECT_TRUE(isGrey(picture, 50, 50));    // watched only
    EXPECT_FALSE(isGrey(picture, 100, 50));  // its right edge
    EXPECT_FALSE(isGrey(picture, 50, 100));  // its lower edge
    EXPECT_TRUE(isGrey(picture, 0, 50));     // the picture's own edge
    EXPECT_TRUE(isGrey(picture, 250, 150));
}

TEST(OverlayPainter, survivesDrawingsAtAndBeyondTheEdgesAndTinyPictures)
{
    for (const int size : {16, 64, 300}) {
        RgbPicture picture = grey(size, size);
        Drawing drawing;
        drawing.boxes.push_back(boxAt(0, 0, 1, 1, 4000000000U));
        drawing.boxes.push_back(boxAt(-0.5, -0.5, 1.5, 1.5));
        drawing.boxes.push_back(boxAt(0.9, 0.9, 0.1, 0.1));
        RuleRecord rule = square(RuleState::kAlarm);
        rule.points = {{-1, -1}, {2, 0}, {2, 2}};
        rule.name = std::string(255, 'W');
        drawing.rules.push_back(rule);
        rule.points = {{0.5, 0.5}};
        drawing.rules.push_back(rule);
        rule.points.clear();
        drawing.rules.push_back(rule);
        CellsRecord cells;
        cells.columns = 1000;
        cells.rows = 1000;
        cells.bits.assign(125000, 255);
        drawing.cells.push_back(cells);
        paint(picture, drawing, -1);
        EXPECT_EQ(static_cast<std::size_t>(3 * size * size), picture.pixels.size());
    }
}

// Where a label of this colour stands: labels are filled areas, and nothing else has this colour in so many pixels.
std::vector<cv::Rect> labels(const RgbPicture& picture, std::array<int, 3> colour)
{
    cv::Mat mask;
    const cv::Scalar exactly(colour[0], colour[1], colour[2]);
    cv::inRange(cv::Mat(picture.height, picture.width, CV_8UC3, const_cast<std::uint8_t*>(picture.pixels.data())),
                exactly, exactly, mask);
    cv::morphologyEx(mask, mask, cv::MORPH_CLOSE, cv::Mat::ones(9, 9, CV_8U)); // letters are holes
    cv::morphologyEx(mask, mask, cv::MORPH_OPEN, cv::Mat::ones(9, 9, CV_8U));  // edges are no labels
    std::vector<std::vector<cv::Point>> found;
    cv::findContours(mask, found, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_SIMPLE);
    std::vector<cv::Rect> areas;
    for (const auto& contour : found) {
        areas.push_back(cv::boundingRect(contour));
    }
    return areas;
}

constexpr std::array<int, 3> kQuietColour = {88, 196, 110};
constexpr std::array<int, 3> kAlarmColour = {244, 67, 54};
constexpr std::array<int, 3> kDisarmedColour = {160, 160, 160};
constexpr std::array<int, 3> kMovingColour = {255, 196, 0};

RuleRecord ruleAt(const std::string& name, double left, double top, double right, double bottom)
{
    return {RuleState::kQuiet, name, {{left, top}, {right, top}, {right, bottom}, {left, bottom}}};
}

TEST(OverlayPainter, putsARulesNameAtItsRegion)
{
    RgbPicture picture = grey(1000, 800);
    Drawing drawing;
    drawing.rules.push_back(ruleAt("Gate", 0.5, 0.5, 0.7, 0.7));
    drawing.rules.push_back({RuleState::kQuiet, "Cells", {{0.2, 0.3}}});
    paint(picture, drawing, 0);
    std::vector<cv::Rect> found = labels(picture, kQuietColour);
    ASSERT_EQ(found.size(), 2U);
    std::sort(found.begin(), found.end(), [](const cv::Rect& a, const cv::Rect& b) { return a.x < b.x; });
    EXPECT_NEAR(found[0].x, 200, 6) << "a region of cells has one point";
    EXPECT_NEAR(found[0].br().y, 240, 6);
    EXPECT_NEAR(found[1].x, 500, 6);
    EXPECT_NEAR(found[1].br().y, 400, 6);
}

TEST(OverlayPainter, coversNeitherAnObjectNorAnotherLabel)
{
    RgbPicture picture = grey(1000, 800);
    Drawing drawing;
    // Of three colours, because labels stand too close to be told apart otherwise.
    for (const RuleState state : {RuleState::kQuiet, RuleState::kAlarm, RuleState::kDisarmed}) {
        drawing.rules.push_back(ruleAt("Gate of the yard", 0.4, 0.4, 0.7, 0.8));
        drawing.rules.back().state = state;
    }
    drawing.boxes.push_back(boxAt(0.3, 0.2, 0.6, 0.395, 1)); // where the first name would stand
    drawing.boxes.push_back(boxAt(0.65, 0.1, 0.8, 0.5, 2));
    drawing.boxes.push_back(boxAt(0.8, 0.1, 0.95, 0.5, 3)); // its name and the one before would stand in one line
    paint(picture, drawing, 0);
    std::vector<cv::Rect> all;
    for (const auto& colour : {kQuietColour, kAlarmColour, kDisarmedColour, kMovingColour}) {
        const std::vector<cv::Rect> found = labels(picture, colour);
        EXPECT_EQ(found.size(), colour == kMovingColour ? 3U : 1U);
        all.insert(all.end(), found.begin(), found.end());
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
        for (const BoxRecord& box : drawing.boxes) {
            const cv::Rect object(cv::Point2d(box.upperLeft.x * 999 + 4, box.upperLeft.y * 799 + 4),
                                  cv::Point2d(box.lowerRight.x * 999 - 4, box.lowerRight.y * 799 - 4));
            EXPECT_TRUE((all[i] & object).empty()) << all[i] << " covers object " << box.id;
        }
        for (std::size_t other = 0; other < i; ++other) {
            EXPECT_TRUE((all[i] & all[other]).empty()) << all[i] << " covers " << all[other];
        }
    }
}

TEST(OverlayPainter, cutsALongNameAndDrawsNamesBeyondAscii)
{
    RgbPicture picture = grey(900, 600);
    Drawing drawing;
    drawing.rules.push_back(ruleAt(std::string(255, 'W'), 0.1, 0.2, 0.9, 0.4));
    paint(picture, drawing, 0);
    const std::vector<cv::Rect> found = labels(picture, kQuietColour);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_LE(found[0].width, 900 / 3 + 16);

    const auto shown = [](const std::string& name) {
        RgbPicture shownPicture = grey(400, 300);
        Drawing one;
        one.rules.push_back(ruleAt(name, 0.2, 0.4, 0.9, 0.9));
        paint(shownPicture, one, 0);
        return shownPicture.pixels;
    };
    EXPECT_NE(shown("Tür"), shown("Tor"));
    EXPECT_NE(shown("Ж"), shown("Ю"));
}

TEST(Drawing, readsTheRecordsOfSeveralEngines)
{
    std::array<std::uint8_t, 512> buffer{};
    DrawingWriter writer(buffer.data(), buffer.size());
    FrameRecord frame;
    frame.source = "Simple";
    writer.add(frame);
    writer.add(square(RuleState::kAlarm));
    frame.source = "Motion";
    writer.add(frame);
    writer.add(boxAt(0.1, 0.1, 0.2, 0.2));
    BoxRecord resting = boxAt(0.3, 0.3, 0.4, 0.4, 8);
    resting.kind = BoxKind::kResting;
    writer.add(resting);
    const Drawing drawing = readDrawing(buffer.data(), writer.usedBytes());
    EXPECT_EQ(2U, drawing.boxes.size());
    EXPECT_EQ(1U, drawing.movingBoxes());
    EXPECT_EQ(1U, drawing.alarms());
    EXPECT_FALSE(drawing.damaged);
    EXPECT_TRUE(readDrawing(buffer.data(), writer.usedBytes() - 1).damaged);
    EXPECT_TRUE(readDrawing(nullptr, 0).boxes.empty());
}

TEST(Drawing, findsTravelledObjectsAlarmsAndLargeOnesMoreInteresting)
{
    Drawing one;
    one.boxes.push_back(boxAt(0.1, 0.1, 0.2, 0.2));
    Drawing larger;
    larger.boxes.push_back(boxAt(0.1, 0.1, 0.4, 0.4));
    Drawing two = one;
    two.boxes.push_back(boxAt(0.5, 0.5, 0.6, 0.6));
    Drawing alarm = one;
    alarm.rules.push_back(square(RuleState::kAlarm));
    EXPECT_GT(one.interest(1), Drawing().interest(0));
    EXPECT_GT(larger.interest(1), one.interest(1));
    EXPECT_GT(two.interest(2), larger.interest(1));
    EXPECT_GT(larger.interest(1), two.interest(1));
    EXPECT_GT(alarm.interest(1), larger.interest(1));
}

TEST(TravelledObjects, countsThoseThatLeftTheirPlaceByHalfTheirSize)
{
    TravelledObjects travelled;
    const auto frame = [&](const std::vector<BoxRecord>& boxes) {
        Drawing drawing;
        drawing.boxes = boxes;
        return travelled.count(drawing);
    };
    const BoxRecord still = boxAt(0.5, 0.5, 0.6, 0.7, 2);
    EXPECT_EQ(0U, frame({boxAt(0.1, 0.1, 0.2, 0.3, 1), still}));
    EXPECT_EQ(0U, frame({boxAt(0.14, 0.1, 0.24, 0.3, 1), still}));
    EXPECT_EQ(1U, frame({boxAt(0.16, 0.1, 0.26, 0.3, 1), still}));
    EXPECT_EQ(1U, frame({boxAt(0.1, 0.21, 0.2, 0.41, 1), still}));
    BoxRecord resting = boxAt(0.9, 0.1, 1.0, 0.3, 1);
    resting.kind = BoxKind::kResting;
    EXPECT_EQ(0U, frame({resting, still}));
    EXPECT_EQ(0U, frame({}));
    EXPECT_EQ(0U, frame({boxAt(0.1, 0.1, 0.2, 0.3, 1)}));
}

class OverlayTest : public testing::Test {
protected:
    void SetUp() override { routeLibavLog(); }

    static std::string failure(const OverlayFiles& files)
    {
        return ::kit::refusalOf([&] { Overlay overlay(files, 320, 180, 25, nullptr); });
    }

    static void draw(Overlay& overlay, const Frame& frame, const std::vector<BoxRecord>& boxes)
    {
        std::array<std::uint8_t, 256> buffer{};
        DrawingWriter writer(buffer.data(), buffer.size());
        for (const BoxRecord& box : boxes) {
            writer.add(box);
        }
        overlay.add(frame, readDrawing(buffer.data(), writer.usedBytes()), "");
    }

    std::vector<std::string> failures;
    const Overlay::Failed failed = [this](const std::string& sentence) { failures.push_back(sentence); };
    ::kit::TemporaryFolder folder;
};

TEST_F(OverlayTest, writesAVideoOfEveryFrameAndAPictureThatCanBeDecoded)
{
    const OverlayFiles files{(folder / "o.mp4").string(), (folder / "o.png").string()};
    Overlay overlay(files, 320, 180, 25, failed);
    Scene scene(kScene);
    int number = 0;
    while (const auto frame = scene.next()) {
        // The engines failed on every third frame.
        draw(overlay, *frame,
             ++number % 3 != 0 ? std::vector<BoxRecord>{boxAt(0.5, 0.5, 0.8, 0.8)} : std::vector<BoxRecord>());
    }
    overlay.finish();
    EXPECT_TRUE(overlay.pictureWritten());
    VideoInput video(files.video);
    int frames = 0;
    while (video.next()) {
        ++frames;
    }
    EXPECT_EQ(12, frames);
    VideoInput picture(files.picture);
    EXPECT_EQ(320, picture.width());
    EXPECT_EQ(180, picture.height());
}

TEST_F(OverlayTest, itsVideoPlaysUpToTheLastFrameAtAnyMoment)
{
    const OverlayFiles files{(folder / "o.mp4").string(), ""};
    Overlay overlay(files, 320, 180, 25, failed);
    Scene scene(kScene);
    for (int added = 1; const auto frame = scene.next(); ++added) {
        draw(overlay, *frame, {});
        VideoInput video(files.video); // as a process that dies now leaves it
        EXPECT_NEAR(25, video.framesPerSecond(), 0.01);
        int frames = 0;
        while (video.next()) {
            ++frames;
        }
        EXPECT_EQ(added, frames);
    }
}

TEST_F(OverlayTest, showsTheLastFrameDimmedWhileThereIsNone)
{
    const OverlayFiles files{(folder / "o.mp4").string(), ""};
    Overlay overlay(files, 320, 180, 25, failed);
    overlay.addDimmed(1, "");
    Scene scene(kScene);
    const Frame frame = *scene.next();
    draw(overlay, frame, {});
    overlay.addDimmed(nanosecondsOf(frame) + 1000000000, "waiting");
    overlay.finish();
    VideoInput video(files.video);
    const Frame bright = *video.next();
    const Frame dimmed = *video.next();
    EXPECT_FALSE(video.next());
    const auto luma = [](const Frame& of) { return of.data.get()[90 * of.strideBytes + 160]; };
    EXPECT_LT(luma(dimmed), luma(bright) * 2 / 3);
    EXPECT_NEAR(1e9, static_cast<double>(nanosecondsOf(dimmed) - nanosecondsOf(bright)), 1e6);
}

TEST_F(OverlayTest, picturesTheFrameWithTheMostToSee)
{
    const OverlayFiles files{"", (folder / "o.png").string()};
    Overlay overlay(files, 320, 180, 25, failed);
    Scene scene(kScene);
    const std::vector<std::vector<BoxRecord>> drawn = {
        {boxAt(0.1, 0.1, 0.2, 0.2)}, {boxAt(0.6, 0.4, 0.9, 0.8)}, {boxAt(0.7, 0.1, 0.8, 0.2, 9)}, {}};
    for (const auto& boxes : drawn) {
        const Frame frame = *scene.next();
        draw(overlay, frame, boxes);
    }
    overlay.finish();
    VideoInput picture(files.picture);
    const Frame shown = *picture.next();
    // The bright edge of the box in the second frame, where the object had gone somewhere.
    int brightest = 0;
    for (int x = 190; x < 194; ++x) {
        brightest = std::max<int>(brightest, shown.data.get()[100 * shown.strideBytes + x]);
    }
    EXPECT_GT(brightest, 165);
}

TEST(OverlayPainter, leavesThePictureItsColoursUnderARuleThatWatchesAllOfIt)
{
    RgbPicture picture = grey(400, 400);
    Drawing drawing;
    RuleRecord rule = square(RuleState::kAlarm);
    rule.points = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    drawing.rules.push_back(rule);
    paint(picture, drawing, 0);
    EXPECT_TRUE(isGrey(picture, 200, 200));
    EXPECT_TRUE(isGrey(picture, 399, 200));
    EXPECT_FALSE(isGrey(picture, 2, 2));
}

TEST(OverlayPainter, listsTheNamesOfRulesOfOnePlaceOneBelowTheOther)
{
    RgbPicture picture = grey(400, 400);
    Drawing drawing;
    RuleRecord rule = square(RuleState::kAlarm);
    drawing.rules.push_back(rule);
    rule.state = RuleState::kQuiet;
    drawing.rules.push_back(rule);
    paint(picture, drawing, 0);
    // Left in the tag, where no letter is: the first one above the corner, the second one below.
    const std::uint8_t* first = picture.at(101, 90);
    EXPECT_GT(first[0], first[1] + 100);
    const std::uint8_t* second = picture.at(101, 107);
    EXPECT_GT(second[1], second[0] + 50);
}

TEST_F(OverlayTest, writesNoPictureWithoutAFrame)
{
    const OverlayFiles files{"", (folder / "o.png").string()};
    Overlay overlay(files, 320, 180, 25, failed);
    overlay.finish();
    EXPECT_FALSE(overlay.pictureWritten());
    EXPECT_FALSE(std::filesystem::exists(files.picture));
}

TEST_F(OverlayTest, refusesFilesThatCannotBeWrittenBeforeTheFirstFrame)
{
    const std::string nowhere = (folder / "none/o").string();
    EXPECT_EQ("cannot write the overlay video '" + nowhere +
                  ".mp4': No such file or directory; name a file in a folder that can be written and has room.",
              failure({nowhere + ".mp4", ""}));
    EXPECT_EQ("cannot write the picture '" + nowhere +
                  ".png': No such file or directory; name a file in a folder that can be written.",
              failure({"", nowhere + ".png"}));
    EXPECT_THAT(failure({"", folder.path().string()}), HasSubstr("Is a directory"));
}

TEST_F(OverlayTest, saysOnceThatThereIsNoRoomForTheVideoAndGoesOnWithThePicture)
{
    EXPECT_THAT(failure({"/dev/full", ""}),
                HasSubstr("cannot write the overlay video '/dev/full': No space left on device"));

    const std::string path = (folder / "o.mp4").string();
    const ::kit::FileSizeLimit limit(200000);
    Overlay overlay({path, (folder / "o.png").string()}, 320, 180, 25, failed);
    Scene scene("scene:size=320x180,frames=80,noise=20");
    while (const auto frame = scene.next()) {
        draw(overlay, *frame, {});
    }
    overlay.finish();
    EXPECT_THAT(failures,
                testing::ElementsAre(HasSubstr("cannot write the overlay video '" + path + "': File too large")));
    EXPECT_TRUE(overlay.videoFailed());
    EXPECT_TRUE(overlay.pictureWritten());
}

TEST_F(OverlayTest, saysThatThereIsNoRoomForThePictureAndCompletesTheVideo)
{
    const OverlayFiles files{(folder / "o.mp4").string(), (folder / "o.png").string()};
    Overlay overlay(files, 320, 180, 25, failed);
    Scene scene(kScene);
    draw(overlay, *scene.next(), {});
    std::filesystem::create_directory(files.picture);
    overlay.finish();
    EXPECT_THAT(failures, testing::ElementsAre(HasSubstr("cannot write the picture '" + files.picture)));
    EXPECT_FALSE(overlay.pictureWritten());
    EXPECT_FALSE(overlay.videoFailed());
    EXPECT_NO_THROW(VideoInput video(files.video));
}

TEST_F(OverlayTest, saysWhenThereIsNoRoomForThePictureAndLeavesNoHalfOfIt)
{
    RgbPicture noisy = grey(200, 200);
    for (std::size_t i = 0; i < noisy.pixels.size(); ++i) {
        noisy.pixels[i] = static_cast<std::uint8_t>(i * i >> 3U);
    }
    const std::string path = (folder / "o.png").string();
    const ::kit::FileSizeLimit limit(500);
    EXPECT_THROW(writePicture(noisy, path), std::runtime_error);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(OverlayTest, thePictureHasTheFormatThatItsNameEndsIn)
{
    RgbPicture picture = grey(101, 75);
    for (int x = 0; x < 50; ++x) { // on the left red
        for (int y = 0; y < 75; ++y) {
            std::uint8_t* p = picture.pixels.data() + y * picture.strideBytes() + x * 3;
            p[0] = 255;
            p[1] = p[2] = 0;
        }
    }
    for (const auto& [name, begin] : std::map<std::string, std::string>{
             {"a.png", "\x89PNG"}, {"a.PNG", "\x89PNG"}, {"a.jpg", "\xFF\xD8\xFF"}, {"b.JPEG", "\xFF\xD8\xFF"}}) {
        const std::string path = folder / name;
        writePicture(picture, path);
        EXPECT_EQ(begin, ::kit::contentOf(path).substr(0, begin.size())) << name;
        VideoInput input(path);
        const Frame shown = *input.next();
        EXPECT_NEAR(81, shown.data.get()[30 * shown.strideBytes + 20], 4) << name; // the luma of red
        EXPECT_NEAR(102, shown.data.get()[30 * shown.strideBytes + 80], 4) << name;
    }
}

TEST_F(OverlayTest, fallsBackToAnotherEncoder)
{
    const std::string path = (folder / "m.mp4").string();
    Mp4Writer writer(path, 320, 180, 25, "mpeg4");
    RgbPicture picture = grey(320, 180);
    for (int i = 0; i < 5; ++i) {
        writer.add(picture, 1000000000 + 40000000LL * i);
    }
    writer.finish();
    VideoInput video(path);
    int frames = 0;
    while (video.next()) {
        ++frames;
    }
    EXPECT_EQ(5, frames);
    EXPECT_THROW(Mp4Writer(path, 320, 180, 25, "no-such-encoder"), std::runtime_error);
}

} // namespace
} // namespace camera::video
