#include "camera/base/Log.h"

#include "ravel/logging.h"

#include <gmock/gmock.h>

#include <string>
#include <thread>
#include <vector>

namespace {

using camera::base::Log;
using camera::base::LogLevel;
using namespace testing;

class LogTest : public testing::Test {
protected:
    void SetUp() override
    {
        Log::instance().setLevel(LogLevel::debug);
        Log::instance().setWriter([this](const std::string& line) { lines.push_back(line); });
        ASSERT_EQ(ravel_core_logging_init("DETECTION", &handle), 0);
    }
    void TearDown() override
    {
        ravel_core_logging_deinit(handle);
        Log::instance().setWriter({});
        Log::instance().setLevel(LogLevel::error);
    }

    std::vector<std::string> lines;
    void* handle = nullptr;
};

TEST_F(LogTest, writesTimeLevelComponentAndText)
{
    ravel_core_logging_log(handle, RAVEL_CORE_LOG_ERROR, "%s: %d of %s", "frame", 3, "five");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_THAT(lines[0], MatchesRegex("[0-9]+-[0-9][0-9]-[0-9][0-9]T[0-9][0-9]:[0-9][0-9]:[0-9][0-9]\\.[0-9][0-9][0-9]"
                                       "[-+][0-9][0-9]:[0-9][0-9] error DETECTION: frame: 3 of five\n"));
}

TEST_F(LogTest, writesAnObjectALineForPrograms)
{
    Log::instance().setFormat(camera::base::LogFormat::json);
    Log::instance().write(LogLevel::info, "a", "b\n\xff");
    Log::instance().setFormat(camera::base::LogFormat::text);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_THAT(lines[0],
                MatchesRegex("[{]\"time\":\"[-0-9]+T[-+:.0-9]+\",\"component\":\"a\",\"level\":\"info\",\"text\":"
                             "\"b\\\\\\\\n\xef\xbf\xbd\"[}]\n"));
}

TEST_F(LogTest, knowsTheLevelsByTheirNames)
{
    EXPECT_EQ(LogLevel::debug, camera::base::logLevelNamed("debug"));
    EXPECT_EQ(std::nullopt, camera::base::logLevelNamed("loud"));
    for (const std::string& name : camera::base::kLogLevels) {
        const LogLevel level = *camera::base::logLevelNamed(name);
        EXPECT_EQ(level, camera::base::levelOfVerbosity(camera::base::verbosityOf(level))) << name;
    }
}

TEST_F(LogTest, namesTheThreeLevels)
{
    ravel_core_logging_log(handle, RAVEL_CORE_LOG_ERROR, "a");
    ravel_core_logging_log(handle, RAVEL_CORE_LOG_INFO, "b");
    ravel_core_logging_log(handle, RAVEL_CORE_LOG_DEBUG, "c");
    EXPECT_THAT(lines, ElementsAre(EndsWith("error DETECTION: a\n"), EndsWith("info DETECTION: b\n"),
                                   EndsWith("debug DETECTION: c\n")));
}

TEST_F(LogTest, dropsLinesBelowTheLevel)
{
    Log::instance().setLevel(LogLevel::info);
    ravel_core_logging_log(handle, RAVEL_CORE_LOG_DEBUG, "quiet");
    ravel_core_logging_log(handle, RAVEL_CORE_LOG_INFO, "said");
    Log::instance().setLevel(LogLevel::silent);
    ravel_core_logging_log(handle, RAVEL_CORE_LOG_ERROR, "nothing");
    Log::instance().write(LogLevel::error, "a", "nothing");
    EXPECT_THAT(lines, ElementsAre(EndsWith(": said\n")));
}

TEST_F(LogTest, keepsOneCallOnOneLine)
{
    ravel_core_logging_log(handle, RAVEL_CORE_LOG_ERROR, "one\ntwo\t\x1b[31m %s", "\xc3\xa9");
    EXPECT_THAT(lines, ElementsAre(EndsWith(": one\\ntwo\\x09\\x1b[31m \xc3\xa9\n")));
}

TEST_F(LogTest, cutsVeryLongTextsAndSaysHowLongTheyWere)
{
    const std::string text(100000, 'a');
    ravel_core_logging_log(handle, RAVEL_CORE_LOG_ERROR, "%s", text.c_str());
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_LT(lines[0].size(), 9000u);
    EXPECT_THAT(lines[0], EndsWith("aaa... (100000 bytes)\n"));
}

TEST_F(LogTest, writesNothingToANullAClosedOrAForeignHandle)
{
    void* closed = handle;
    ravel_core_logging_deinit(closed);
    ravel_core_logging_log(closed, RAVEL_CORE_LOG_ERROR, "closed %d", 1);
    ravel_core_logging_log(nullptr, RAVEL_CORE_LOG_ERROR, "null");
    int foreign = 0;
    ravel_core_logging_log(&foreign, RAVEL_CORE_LOG_ERROR, "foreign");
    ravel_core_logging_deinit(&foreign);
    ravel_core_logging_deinit(closed);
    EXPECT_THAT(lines, IsEmpty());
}

TEST_F(LogTest, neverReusesAClosedHandle)
{
    void* closed = handle;
    ravel_core_logging_deinit(closed);
    ASSERT_EQ(ravel_core_logging_init("NEXT", &handle), 0);
    EXPECT_NE(handle, closed);
    ravel_core_logging_log(closed, RAVEL_CORE_LOG_ERROR, "late");
    EXPECT_THAT(lines, IsEmpty());
}

TEST_F(LogTest, takesLinesFromManyThreadsWhileTheHandleCloses)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([this] {
            for (int line = 0; line < 500; ++line) {
                ravel_core_logging_log(handle, RAVEL_CORE_LOG_ERROR, "line %d", line);
            }
        });
    }
    ravel_core_logging_deinit(handle);
    const std::size_t atClosing = lines.size();
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(lines.size(), atClosing) << "a line came after the handle was closed";
    for (const auto& line : lines) {
        EXPECT_THAT(line, EndsWith("\n"));
    }
}

TEST_F(LogTest, refusesANullTagOrHandle)
{
    void* unchanged = handle;
    EXPECT_NE(ravel_core_logging_init(nullptr, &unchanged), 0);
    EXPECT_NE(ravel_core_logging_init("TAG", nullptr), 0);
    EXPECT_EQ(unchanged, handle);
}

TEST_F(LogTest, writesWholeLinesToStandardError)
{
    Log::instance().setWriter({});
    testing::internal::CaptureStderr();
    ravel_core_logging_log(handle, RAVEL_CORE_LOG_ERROR, "on stderr");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), EndsWith(" error DETECTION: on stderr\n"));
}

} // namespace
