// What every program of the camera has: its outputs, the signals that end it, the plug-in that it loads.
#include "camera/base/Console.h"
#include "camera/base/Contained.h"
#include "camera/base/PluginPath.h"
#include "camera/base/StopSignal.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <csignal>
#include <new>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace camera::base {
namespace {

using testing::HasSubstr;

TEST(Console, writesLinesAndRefusalsApart)
{
    const kit::TemporaryFolder folder;
    std::FILE* out = std::fopen((folder / "out").c_str(), "w");
    std::FILE* err = std::fopen((folder / "err").c_str(), "w");
    {
        Console console(out, err);
        console.status("not shown where nobody looks");
        console.line("a line");
        console.error("a refusal\x1b");
        console.error("a whole sentence.");
        console.log("12:00 error x: y\n");
    }
    std::fclose(out);
    std::fclose(err);
    EXPECT_EQ("a line\n", kit::contentOf(folder / "out"));
    EXPECT_EQ("camera: a refusal\\x1b.\ncamera: a whole sentence.\n12:00 error x: y\n", kit::contentOf(folder / "err"));
}

TEST(Console, noticesThatNothingCanBeWritten)
{
    std::FILE* full = std::fopen("/dev/full", "w");
    ASSERT_NE(nullptr, full);
    {
        Console console(full, stderr);
        EXPECT_TRUE(console.writable());
        console.line("lost");
        EXPECT_FALSE(console.writable());
    }
    std::fclose(full);
}

TEST(Console, tellsAClosedPipeFromAFullDisk)
{
    std::FILE* full = std::fopen("/dev/full", "w");
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    close(ends[0]);
    std::FILE* closed = fdopen(ends[1], "w");
    std::signal(SIGPIPE, SIG_IGN);
    {
        Console onDisk(full, stderr);
        onDisk.line("lost");
        EXPECT_FALSE(onDisk.readerGone());
        Console unread(closed, stderr);
        EXPECT_FALSE(unread.readerGone());
        unread.line("not read");
        EXPECT_TRUE(unread.readerGone());
        EXPECT_FALSE(unread.writable());
    }
    std::signal(SIGPIPE, SIG_DFL);
    std::fclose(full);
    std::fclose(closed);
}

TEST(PluginPath, findsThePluginBesideTheProgramOrInLib)
{
    const kit::TemporaryFolder folder;
    std::filesystem::create_directories((folder / "bin").string());
    std::filesystem::create_directories((folder / "lib").string());
    const std::string inLib = folder.write("lib/libdetection.so", "x");
    EXPECT_EQ(std::filesystem::canonical(inLib), pluginPath("", (folder / "bin").string()));
    const std::string beside = folder.write("bin/libdetection.so", "x");
    EXPECT_EQ(std::filesystem::canonical(beside), pluginPath("", (folder / "bin").string()));
    EXPECT_EQ(std::filesystem::path(inLib), pluginPath(inLib, (folder / "bin").string()));
}

TEST(PluginPath, refusesAMissingPluginNamingWhereItLooked)
{
    const kit::TemporaryFolder folder;
    const auto refused = [&](const std::string& given) {
        return kit::refusalOf([&] { pluginPath(given, folder / "bin"); });
    };
    EXPECT_THAT(refused(""), HasSubstr("is neither in '" + (folder / "bin").string() + "'"));
    EXPECT_THAT(refused("/none.so"), HasSubstr("the plug-in '/none.so' is no file"));
    EXPECT_THAT(refused(folder.path().string()), HasSubstr("is no file"));
}

TEST(StopSignal, endsAWaitAtOnce)
{
    const StopSignal stop;
    EXPECT_FALSE(stop.stopped());
    std::thread other([] { kill(getpid(), SIGTERM); });
    stop.waitUntil(std::chrono::steady_clock::now() + std::chrono::hours(1));
    other.join();
    EXPECT_TRUE(stop.stopped());
    EXPECT_TRUE(stop.flag().load());
}

TEST(StopSignal, aSecondSignalWouldEndTheProcess)
{
    const StopSignal stop;
    std::raise(SIGINT);
    EXPECT_TRUE(stop.stopped());
    struct sigaction now {};
    sigaction(SIGINT, nullptr, &now);
    EXPECT_EQ(SIG_DFL, now.sa_handler);
}

TEST(StopSignal, startsAnewWithEveryObject)
{
    {
        const StopSignal stop;
        std::raise(SIGINT);
    }
    EXPECT_FALSE(StopSignal().stopped());
}

TEST(ReasonOfException, saysWhatToDoWhereMemoryOrThreadsAreTooFew)
{
    const auto reasonOf = [](const auto& thrown) {
        try {
            throw thrown;
        } catch (...) {
            return reasonOfException();
        }
    };
    EXPECT_THAT(reasonOf(std::bad_alloc()),
                HasSubstr("unit_camera_base has too little memory; end other programs, or raise"));
    EXPECT_THAT(reasonOf(std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again))),
                HasSubstr("unit_camera_base cannot start a thread; end other programs, or raise"));
    EXPECT_EQ("a sentence", reasonOf(std::runtime_error("a sentence")));
    EXPECT_EQ("an exception of an unknown type", reasonOf(1));
}

} // namespace
} // namespace camera::base
