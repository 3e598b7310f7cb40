#include "DeviceTest.h"

#include <csignal>

namespace camera::system_tests {
namespace {

using testing::HasSubstr;

constexpr int kPackagesMissing = 77;

// A second implementation of the bus protocol, in another language.
using IndependentClientTest = DeviceTest;

TEST_F(IndependentClientTest, configuresMovesAndHearsWhatHappensInOrder)
{
    RunningCamera camera(state(), {kLively, "--place", "Gate=-10,5,1.5"});
    ASSERT_TRUE(camera.serves()) << camera.err();
    const Finished done =
        run({"/usr/bin/python3", CLIENT_SCRIPT, camera.address(), motion("Gate rule", "Gate"), "Gate", "Gate rule"});
    if (done.exitCode == kPackagesMissing) {
        GTEST_SKIP() << done.out;
    }
    EXPECT_EQ(0, done.exitCode) << done.out << done.err << camera.out();
    EXPECT_THAT(done.out, HasSubstr("done\n"));
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
}

} // namespace
} // namespace camera::system_tests
