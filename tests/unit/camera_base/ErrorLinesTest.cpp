#include "camera/base/ErrorLines.h"

#include "camera/base/Log.h"
#include "kit/LogLines.h"
#include "ravel/logging.h"

#include <gmock/gmock.h>

#include <string>
#include <thread>

namespace {

using camera::base::ErrorLines;
using camera::base::Log;
using camera::base::LogLevel;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;

class ErrorLinesTest : public testing::Test {
protected:
    static void error(const std::string& text) { Log::instance().write(LogLevel::error, "engines", text); }

    kit::LogLines log;
};

TEST_F(ErrorLinesTest, keepsTheErrorLinesOfItsLife)
{
    error("before");
    {
        const ErrorLines lines;
        error("one");
        Log::instance().write(LogLevel::info, "engines", "no error");
        error("two");
        EXPECT_THAT(lines.texts(), ElementsAre("one", "two"));
    }
    error("after");
    EXPECT_THAT(ErrorLines().texts(), IsEmpty());
    EXPECT_THAT(log.lines(), SizeIs(4)) << "the log has them too";
}

TEST_F(ErrorLinesTest, keepsThemWhateverTheLogWrites)
{
    void* handle = nullptr;
    ASSERT_EQ(ravel_core_logging_init("PLUGIN", &handle), 0);
    for (const LogLevel level : {LogLevel::silent, LogLevel::debug}) {
        Log::instance().setLevel(level);
        const ErrorLines lines;
        ravel_core_logging_log(handle, RAVEL_CORE_LOG_ERROR, "%s %d", "of a handle", 1);
        ravel_core_logging_log(handle, RAVEL_CORE_LOG_INFO, "no error");
        ravel_core_logging_log(handle, static_cast<ravel_core_log_priority>(2), "worse");
        error("of the camera");
        EXPECT_THAT(lines.texts(), ElementsAre("of a handle 1", "worse", "of the camera"));
    }
    ravel_core_logging_deinit(handle);
    const ErrorLines lines;
    ravel_core_logging_log(handle, RAVEL_CORE_LOG_ERROR, "closed");
    EXPECT_THAT(lines.texts(), IsEmpty());
}

TEST_F(ErrorLinesTest, writesNothingThatASilentLogDoesNotWrite)
{
    Log::instance().setLevel(LogLevel::silent);
    const ErrorLines lines;
    error("kept only");
    EXPECT_THAT(log.lines(), IsEmpty());
    EXPECT_THAT(lines.texts(), ElementsAre("kept only"));
}

TEST_F(ErrorLinesTest, aLineIsInEachThatLives)
{
    const ErrorLines outer;
    error("one");
    {
        const ErrorLines inner;
        error("two");
        EXPECT_THAT(inner.texts(), ElementsAre("two"));
    }
    error("three");
    EXPECT_THAT(outer.texts(), ElementsAre("one", "two", "three"));
}

TEST_F(ErrorLinesTest, linesOfOtherThreadsAreNotInIt)
{
    const ErrorLines lines;
    std::thread([] {
        const ErrorLines others;
        error("elsewhere");
        EXPECT_THAT(others.texts(), ElementsAre("elsewhere"));
    }).join();
    error("here");
    EXPECT_THAT(lines.texts(), ElementsAre("here"));
}

TEST_F(ErrorLinesTest, keepsSoManyAndEachInOnePrintableLine)
{
    const ErrorLines lines;
    error("a\nb" + std::string(100000, 'c'));
    for (std::size_t i = 0; i < 2 * ErrorLines::kMost; ++i) {
        error(std::to_string(i));
    }
    ASSERT_THAT(lines.texts(), SizeIs(ErrorLines::kMost));
    EXPECT_THAT(lines.texts()[0], testing::StartsWith("a\\nbc"));
    EXPECT_THAT(lines.texts()[0], EndsWith("c... (100003 bytes)"));
    EXPECT_EQ(lines.texts().back(), std::to_string(ErrorLines::kMost - 2)) << "the first ones";
}

} // namespace
