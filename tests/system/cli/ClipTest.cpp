#include "CameraTest.h"

namespace camera::system_tests {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

class ClipTest : public CameraTest {
protected:
    void SetUp() override
    {
        const Finished found = run({CLIP_SCRIPT});
        if (found.exitCode != 0) {
            GTEST_SKIP() << found.err;
        }
        clip = found.out.substr(0, found.out.find('\n'));
    }

    std::string clip;
};

TEST_F(ClipTest, findsThePeopleOfTheClip)
{
    const Finished done = camera({"run", clip, "--config", simple(), "--config", motion(), "--speed", "max", "--frames",
                                  "120", "--metadata", path("m.xml"), "--picture", path("p.png")});
    EXPECT_EQ(0, done.exitCode) << done.err;
    EXPECT_THAT(done.out, HasSubstr("IsMotion=true"));
    EXPECT_THAT(done.out, HasSubstr("State=true"));
    EXPECT_THAT(done.out, HasSubstr("  frames    120 in "));
    EXPECT_THAT(done.out, ContainsRegex("at most ([4-9]|[1-9][0-9]) at once"));
    EXPECT_EQ(120U, count(read(path("m.xml")), "<tt:MetadataStream"));
}

TEST_F(ClipTest, reportsAClipThatIsCutOffAfterAnalysingItsBeginning)
{
    const std::string whole = read(clip);
    const std::string cut = write("cut.avi", whole.substr(0, whole.size() / 8));
    const Finished done = camera({"run", cut, "--speed", "max"});
    EXPECT_EQ(1, done.exitCode);
    EXPECT_THAT(done.err, HasSubstr("'" + cut + "' is damaged"));
    EXPECT_THAT(done.out, ContainsRegex("frames    [1-9][0-9]+ in "));
}

} // namespace
} // namespace camera::system_tests
