// The man pages of the programs, read by the formatters.
#include "kit/ChildProcess.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

namespace {

using testing::AnyOf;
using testing::HasSubstr;

class ManPageTest : public testing::TestWithParam<const char*> {};

TEST_P(ManPageTest, isFormattedWithoutAWarning)
{
    const kit::TemporaryFolder folder;
    const kit::Finished page = kit::run({std::string(CAMERA_PROGRAMS) + "/" + GetParam(), "--man"});
    EXPECT_EQ(page.exitCode, 0);
    EXPECT_THAT(page.out, HasSubstr("\\-\\-state"));
    const std::string file = folder.write("page.1", page.out);
    bool formatted = false;
    for (const std::vector<std::string>& formatter :
         {std::vector<std::string>{"mandoc", "-Tlint"}, {"groff", "-man", "-ww", "-z"}}) {
        if (kit::run({"sh", "-c", "command -v " + formatter[0]}).exitCode != 0) {
            continue;
        }
        std::vector<std::string> words = formatter;
        words.push_back(file);
        const kit::Finished done = kit::run(words);
        EXPECT_EQ(done.exitCode, 0);
        EXPECT_EQ(done.out + done.err, "");
        formatted = true;
    }
    if (!formatted) {
        GTEST_SKIP() << "mandoc and groff are missing";
    }
}

INSTANTIATE_TEST_SUITE_P(Programs, ManPageTest,
                         testing::Values("camera", "camera-gateway", "camera-pipeline", "camera-services"));

} // namespace
