// What every program of the camera has: its outputs, the signals that end it, the plug-in that it loads.
#include "camera/base/Console.h"
#include "camera/base/Contained.h"
#include "camera/base/Current.h"
#include "camera/base/Log.h"
#include "camera/base/PluginPath.h"
#include "camera/base/StopSignal.h"
#include "kit/LogLines.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <new>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <system_error>
#include <termios.h>
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

TEST(Console, printsAStatusEveryTenSecondsWhereNoTerminalIs)
{
    const kit::TemporaryFolder folder;
    std::FILE* err = std::fopen((folder / "err").c_str(), "w");
    const auto begin = std::chrono::steady_clock::now();
    {
        Console console(stdout, err);
        const auto later = std::chrono::steady_clock::now();
        console.status("too early", begin + std::chrono::milliseconds(9999));
        console.status("one", later + std::chrono::seconds(10));
        console.status("too early again", later + std::chrono::milliseconds(19999));
        console.status("two", later + std::chrono::seconds(20));
    }
    std::fclose(err);
    EXPECT_EQ("one\ntwo\n", kit::contentOf(folder / "err"));
}

/// A terminal on which a console shows its status.
class TerminalTest : public testing::Test {
protected:
    TerminalTest()
    {
        termios mode{};
        cfmakeraw(&mode);
        openpty(&reader, &writer, nullptr, &mode, nullptr);
        terminal = fdopen(writer, "w");
        setColumns(30);
    }
    ~TerminalTest() override
    {
        std::fclose(terminal);
        close(reader);
    }

    void setColumns(unsigned short columns) const
    {
        const winsize size{25, columns, 0, 0};
        ioctl(writer, TIOCSWINSZ, &size);
    }

    /// What was written since the last call; the stream's own buffer is no part of it.
    std::string shown() const
    {
        pollfd waiting{reader, POLLIN, 0};
        char text[1000];
        const ssize_t count = poll(&waiting, 1, 0) == 1 ? read(reader, text, sizeof text) : 0;
        return {text, static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
    }

    int reader = -1;
    int writer = -1;
    std::FILE* terminal = nullptr;
};

TEST_F(TerminalTest, keepsTheStatusBelowTheLines)
{
    Console console(terminal, terminal);
    console.status("one");
    EXPECT_EQ(shown(), "one");
    console.status("two");
    EXPECT_EQ(shown(), "\r\x1b[Ktwo");
    console.line("a line");
    EXPECT_EQ(shown(), "\r\x1b[Ka line\ntwo");
    console.clearStatus();
    EXPECT_EQ(shown(), "\r\x1b[K");
    console.line("another");
    EXPECT_EQ(shown(), "another\n");
}

TEST_F(TerminalTest, cutsAStatusToOneLine)
{
    Console console(terminal, terminal);
    console.status(std::string(200, 'x'));
    EXPECT_EQ(shown(), std::string(29, 'x'));
    setColumns(19);
    console.status(std::string(200, 'y'));
    EXPECT_EQ(shown(), "\r\x1b[K" + std::string(79, 'y')) << "so few columns are no size";
    setColumns(20);
    console.status(std::string(200, 'z'));
    EXPECT_EQ(shown(), "\r\x1b[K" + std::string(19, 'z'));
}

TEST_F(TerminalTest, showsNoStatusToPrograms)
{
    Console console(terminal, terminal);
    Log::instance().setFormat(LogFormat::json);
    console.status("one");
    console.error("a refusal");
    Log::instance().setFormat(LogFormat::text);
    EXPECT_THAT(shown(), testing::MatchesRegex("[{]\"time\":.*\"text\":\"a refusal.\"[}]\n"));
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

TEST(SharedFile, isBesideTheProgramOrInShare)
{
    const kit::TemporaryFolder folder;
    std::filesystem::create_directories((folder / "bin").string());
    std::filesystem::create_directories((folder / "share/detection").string());
    EXPECT_EQ(sharedFile("a.xml", folder / "bin"), "");
    for (const char* place : {"share/a.xml", "share/detection/a.xml", "bin/a.xml"}) {
        EXPECT_EQ(sharedFile("a.xml", folder / "bin"), folder.write(place, "x")) << "the last one comes first";
    }
    EXPECT_TRUE(std::filesystem::exists(programFolder() / "unit_camera_base"));
}

TEST(Current, isOneAtATime)
{
    EXPECT_EQ(Current<int>::get(), nullptr);
    {
        const Current<int>::Binding binding(std::make_shared<int>(5));
        EXPECT_EQ(*Current<int>::get(), 5);
        EXPECT_EQ(kit::refusalOf([] { const Current<int>::Binding second(std::make_shared<int>(6)); }),
                  "another device is running in this process; end it first");
    }
    EXPECT_EQ(Current<int>::get(), nullptr);
}

TEST(StopSignal, endsAWaitAtOnce)
{
    const StopSignal stop;
    EXPECT_FALSE(stop.stopped());
    // To the thread that waits: ThreadSanitizer defers a signal that another thread gets, and loses it when that thread
    // ends first.
    std::thread other([waiter = pthread_self()] { pthread_kill(waiter, SIGTERM); });
    stop.waitUntil(std::chrono::steady_clock::now() + std::chrono::minutes(1));
    other.join();
    EXPECT_TRUE(stop.stopped());
    EXPECT_TRUE(stop.flag().load());
}

TEST(StopSignal, sleepsUntilTheTimeWithoutASignal)
{
    const auto time = std::chrono::steady_clock::now() + std::chrono::milliseconds(5);
    const auto sleeps = [] {
        rusage use{};
        getrusage(RUSAGE_THREAD, &use);
        return use.ru_nvcsw;
    };
    const StopSignal stop;
    const auto before = sleeps();
    stop.waitUntil(time);
    EXPECT_GE(std::chrono::steady_clock::now(), time);
    EXPECT_GT(sleeps(), before);
}

TEST(StopSignal, aSecondSignalWouldEndTheProcess)
{
    const StopSignal stop;
    struct sigaction now {};
    sigaction(SIGINT, nullptr, &now);
    EXPECT_TRUE(now.sa_flags & SA_RESTART) << "calls go on that the first one meets";
    std::raise(SIGINT);
    EXPECT_TRUE(stop.stopped());
    sigaction(SIGINT, nullptr, &now);
    EXPECT_EQ(SIG_DFL, now.sa_handler);
}

TEST(StopSignal, startsAnewWithEveryObject)
{
    {
        const StopSignal stop;
        std::raise(SIGHUP);
        EXPECT_TRUE(stop.stopped());
    }
    struct sigaction now {};
    sigaction(SIGTERM, nullptr, &now);
    EXPECT_EQ(SIG_DFL, now.sa_handler);
    EXPECT_FALSE(StopSignal().stopped());
}

TEST(Contained, logsWhatIsThrownAndGoesOn)
{
    const kit::LogLines log;
    EXPECT_TRUE(contained("x", "nothing", [] {}));
    EXPECT_EQ(log.count(""), 0U);
    EXPECT_FALSE(contained("x", "an end", [] { throw std::runtime_error("a sentence"); }));
    EXPECT_THAT(log.lines(1), testing::ElementsAre(testing::EndsWith("error x: an end: a sentence\n")));
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
