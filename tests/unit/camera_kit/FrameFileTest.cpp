#include "camera/kit/FrameFile.h"

#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace {

using analytics_lib::ColorYuv;
using analytics_lib::YuvFrame;
using namespace camera::kit;
using kit::contentOf;
using kit::refusalOf;

constexpr std::size_t kFileHeader = 16;
constexpr std::size_t kFrameHeader = 48;

class FrameFileTest : public testing::Test {
protected:
    /// Two by two pixels, and rows that are longer.
    YuvFrame frame()
    {
        YuvFrame frame;
        frame.timestamp[0] = 0x01020304;
        frame.timestamp[1] = 0x05060708;
        frame.data = pixels;
        frame.width = 2;
        frame.height = 2;
        frame.bytesPerRow = 3;
        frame.pan = 0x90000001;
        frame.tilt = -2;
        frame.zoom = 0x90000003;
        frame.horizontalAngleOfView = 0x90000004;
        frame.verticalAngleOfView = 0x90000005;
        return frame;
    }

    /// @return the file with so many of these frames.
    std::string recorded(const YuvFrame& frame, unsigned count = 1)
    {
        FrameFileWriter writer(path, count);
        writer.begin(7);
        for (unsigned i = 0; i < count; ++i) {
            writer.add(frame, {});
        }
        return contentOf(path);
    }

    std::string refusal(const std::string& content, bool firstFrameIsGood = false)
    {
        folder.write("frames", content);
        return refusalOf<std::runtime_error>([&] {
            FrameFileReader reader(path, true);
            if (firstFrameIsGood) {
                EXPECT_TRUE(reader.next());
            }
            reader.next();
        });
    }

    const kit::TemporaryFolder folder;
    const std::string path = folder / "frames";
    std::uint8_t pixels[9] = {1, 2, 99, 3, 4, 99, 200, 6, 99};
};

TEST_F(FrameFileTest, bytesAreFixed)
{
    FrameFileWriter writer(path, 1);
    EXPECT_FALSE(writer.full());
    writer.begin(0x0a0b0c0d);
    writer.add(frame(), ColorYuv{11, 12, 13});
    EXPECT_TRUE(writer.full());
    const std::string expected("VCFRAMES\x01\0\0\0\x0d\x0c\x0b\x0a"
                               "FRAM\x04\x03\x02\x01\x08\x07\x06\x05\x02\0\0\0\x02\0\0\0"
                               "\x01\0\0\x90\xfe\xff\xff\xff\x03\0\0\x90\x04\0\0\x90\x05\0\0\x90"
                               "\x01\x0b\x0c\x0d\x5d\x2e\x5a\x0a"
                               "\x01\x02\x03\x04\xc8\x06",
                               kFileHeader + kFrameHeader + 6);
    EXPECT_EQ(contentOf(path), expected) << "also while its writer is there";
}

TEST_F(FrameFileTest, isReadBackFrameByFrame)
{
    {
        FrameFileWriter writer(path, 5);
        writer.begin(70000);
        writer.add(frame(), ColorYuv{11, 12, 13});
        pixels[0] = 77;
        writer.add(frame(), {});
    }
    FrameFileReader reader(path, true);
    EXPECT_TRUE(reader.fresh());
    EXPECT_FALSE(FrameFileReader(path, false).fresh());
    EXPECT_EQ(reader.firstObject(), 70000U);
    auto read = reader.next();
    ASSERT_TRUE(read && read->blanked);
    EXPECT_EQ(read->blanked->y, 11);
    EXPECT_EQ(read->blanked->u, 12);
    EXPECT_EQ(read->blanked->v, 13);
    EXPECT_EQ(read->frame.timestamp[0], 0x01020304U);
    EXPECT_EQ(read->frame.timestamp[1], 0x05060708U);
    EXPECT_EQ(read->frame.width, 2U);
    EXPECT_EQ(read->frame.height, 2U);
    EXPECT_EQ(read->frame.bytesPerRow, 2U);
    EXPECT_EQ(read->frame.pan, 0x90000001U);
    EXPECT_EQ(read->frame.tilt, -2);
    EXPECT_EQ(read->frame.zoom, 0x90000003U);
    EXPECT_EQ(read->frame.horizontalAngleOfView, 0x90000004U);
    EXPECT_EQ(read->frame.verticalAngleOfView, 0x90000005U);
    EXPECT_EQ(std::vector<std::uint8_t>(read->frame.data, read->frame.data + 6),
              (std::vector<std::uint8_t>{1, 2, 3, 4, 200, 6}));
    read = reader.next();
    ASSERT_TRUE(read);
    EXPECT_FALSE(read->blanked);
    EXPECT_EQ(read->frame.data[0], 77);
    EXPECT_FALSE(reader.next());
}

TEST_F(FrameFileTest, hasSidesOfAtMost16384Pixels)
{
    std::vector<std::uint8_t> line(3 * 16385, 5);
    YuvFrame narrow = frame();
    narrow.data = line.data();
    narrow.bytesPerRow = 1;
    for (const unsigned side : {16384U, 16385U}) {
        narrow.width = 1;
        narrow.height = side;
        const std::string tall = recorded(narrow);
        narrow.width = side;
        narrow.height = 1;
        const std::string wide = recorded(narrow);
        EXPECT_EQ(refusal(tall) == "not refused", side == 16384);
        EXPECT_EQ(refusal(wide) == "not refused", side == 16384);
    }
}

TEST_F(FrameFileTest, isRefusedWhenItIsNone)
{
    const std::string file = "'" + path + "': ";
    EXPECT_EQ(refusalOf([&] { FrameFileReader(path, true); }),
              "cannot read frames from " + file + "no such file, or it is empty");
    EXPECT_EQ(refusal(""), "cannot read frames from " + file + "no such file, or it is empty");
    EXPECT_EQ(refusal("this is no recording at all"),
              "cannot read frames from " + file + "it is no frame file of this version");
    std::string later = recorded(frame());
    later[8] = 2;
    EXPECT_EQ(refusal(later), "cannot read frames from " + file + "it is no frame file of this version");
}

TEST_F(FrameFileTest, endsBeforeAFrameThatIsDamaged)
{
    const std::string whole = recorded(frame(), 2);
    const std::size_t second = kFileHeader + (whole.size() - kFileHeader) / 2;
    EXPECT_EQ(refusal(whole, true), "not refused");
    const std::string damaged = "the frame file '" + path + "' is damaged: what follows is not read";
    for (std::size_t length = second + 1; length < whole.size(); ++length) {
        EXPECT_EQ(refusal(whole.substr(0, length), true), damaged) << length;
    }
    for (const std::size_t offset : {0U, 3U, 12U, 16U, 44U, 47U, 48U, 53U}) {
        std::string changed = whole;
        changed[second + offset] = static_cast<char>(changed[second + offset] ^ 0x55);
        EXPECT_EQ(refusal(changed, true), damaged) << offset;
    }
    for (const std::size_t side : {12U, 16U}) { // no picture, and one far beyond the file
        for (const char* size : {"\0\0\0", "\0\x40\0"}) {
            EXPECT_EQ(refusal(std::string(whole).replace(second + side, 4, std::string(size, 3) + '\0'), true),
                      damaged);
        }
    }
}

TEST_F(FrameFileTest, isNotWrittenWhereItCannotBe)
{
    EXPECT_EQ(refusalOf([] { FrameFileWriter("/nonexistent/frames", 1); }),
              "cannot write frames to '/nonexistent/frames': the file cannot be made");
    FrameFileWriter full("/dev/full", 1);
    full.begin(1);
    EXPECT_EQ(refusalOf([&] { full.add(frame(), {}); }), "cannot write frames to '/dev/full': the disk may be full");
}

} // namespace
