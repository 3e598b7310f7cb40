#include "camera/store/StateFolder.h"

#include "kit/LogLines.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

namespace {

using camera::store::StateFolder;

TEST(StateFolder, keepsTheTimeOfTheLastFrame)
{
    const kit::TemporaryFolder folder;
    const StateFolder state(folder.path().string());
    EXPECT_TRUE(state.kept());
    EXPECT_EQ(0, state.lastFrameTime());
    state.keepLastFrameTime(1700000000123456789);
    EXPECT_EQ(1700000000123456789, StateFolder(folder.path().string()).lastFrameTime());
    for (const std::int64_t time : {std::int64_t{1}, 4294967294999999999}) {
        state.keepLastFrameTime(time);
        EXPECT_EQ(time, state.lastFrameTime());
    }
    for (const std::string damaged :
         {"", "x", "-4", "12x", "12 13", "99999999999999999999", "4294967295000000000", "0"}) {
        folder.write("last-frame-time", damaged);
        const kit::LogLines log;
        EXPECT_EQ(0, state.lastFrameTime()) << damaged;
        EXPECT_THAT(log.lines(), testing::ElementsAre(testing::HasSubstr("holds no time"))) << damaged;
    }
}

TEST(StateFolder, saysWhenTheTimeCannotBeKept)
{
    const StateFolder state("/proc/none");
    EXPECT_THROW(state.keepLastFrameTime(1), std::runtime_error);
}

TEST(StateFolder, takesATemporaryFolderAwayAgain)
{
    std::filesystem::path path;
    {
        const StateFolder state("");
        path = state.path();
        EXPECT_FALSE(state.kept());
        EXPECT_TRUE(std::filesystem::is_directory(path));
        state.keepLastFrameTime(5);
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

} // namespace
