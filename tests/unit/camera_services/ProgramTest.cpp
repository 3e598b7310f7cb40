#include "camera/base/Log.h"
#include "support/TestBus.h"
#include "unit/camera_services/ServicesClient.h"
#include "unit/camera_services/SocketReader.h"
#include "unit/camera_store/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace services_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

/// The program, with what it says on both outputs.
class Program {
public:
    explicit Program(const std::vector<std::string>& arguments)
    {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        std::vector<char*> raw{const_cast<char*>(CAMERA_SERVICES_PROGRAM)};
        for (const std::string& argument : arguments) {
            raw.push_back(const_cast<char*>(argument.c_str()));
        }
        raw.push_back(nullptr);
        _pid = ::fork();
        if (_pid == 0) {
            ::dup2(ends[1], STDOUT_FILENO);
            ::dup2(ends[1], STDERR_FILENO);
            ::execv(raw[0], raw.data());
            ::_exit(127);
        }
        ::close(ends[1]);
        _output = camera::base::FileDescriptor(ends[0]);
    }
    ~Program()
    {
        if (_pid > 0) {
            ::kill(_pid, SIGKILL);
            ::waitpid(_pid, nullptr, 0);
        }
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void signal(int number) const { ::kill(_pid, number); }
    pid_t pid() const { return _pid; }

    /// Waits for its end; the exit code, or minus the signal, or 1000 when it does not end.
    int end()
    {
        pollfd readable{_output.get(), POLLIN, 0};
        char bytes[4096];
        ssize_t count = 1;
        while (count > 0) {
            if (::poll(&readable, 1, 30000) <= 0) {
                return 1000;
            }
            count = ::read(_output.get(), bytes, sizeof bytes);
            said.append(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
        }
        int status = 0;
        ::waitpid(_pid, &status, 0);
        _pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    std::string said;

private:
    pid_t _pid = -1;
    camera::base::FileDescriptor _output;
};

class ProgramTest : public testing::Test {
protected:
    ProgramTest()
    {
        camera::base::Log::instance().setWriter([](const std::string&) {});
    }
    ~ProgramTest() override
    {
        client.connection.stop();
        camera::base::Log::instance().setWriter({});
    }

    std::vector<std::string> arguments(std::vector<std::string> more = {}) const
    {
        std::vector<std::string> all = {
            "--bus", bus.address(), "--state", (folder / "state").string(), "--runtime", (folder / "run").string()};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    // Waits until the program with that id serves.
    bool serves(const Program& program)
    {
        return eventually([&] {
            try {
                return client.properties(service::kServices).at("Pid").get<std::uint32_t>() ==
                       static_cast<std::uint32_t>(program.pid());
            } catch (const sdbus::Error&) {
                return false;
            }
        });
    }

    std::vector<std::string> filesOf(const std::string& name) const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder / name)) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }

    test_support::TestBus bus;
    TemporaryFolder folder;
    ServicesClient client{bus.address()};
};

TEST_F(ProgramTest, wrongArgumentsAreOneSentenceAndTwo)
{
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{}, "--bus ADDRESS is missing"},
        {{"--bus", "unix:path=/x"}, "--state DIR is missing"},
        {{"--bus", "unix:path=/x", "--state", "s", "--rotation", "45"}, "--rotation takes 0, 90, 180 or 270, not '45'"},
        {{"--bus", "unix:path=/x", "--state", "s", "extra"}, "'extra' is too much"},
        {{"--bus", "unix:path=/x", "--state", "s", "--nothing"}, "there is no option --nothing"},
        {{"--bus", "unix:path=/x", "--state", "s", "--runtime"}, "--runtime needs DIR"},
        {{"--bus", "unix:path=/x", "--state", ""}, "--state is given an empty value"},
        {{"--bus", "unix:path=/x", "--state", "s", "--rotation-service", "--no-rotation-service"}, "one is meant"},
    };
    for (const auto& [given, text] : cases) {
        Program program(given);
        EXPECT_EQ(program.end(), 2) << text;
        EXPECT_THAT(program.said, HasSubstr(text));
        EXPECT_EQ(std::count(program.said.begin(), program.said.end(), '\n'), 1) << program.said;
    }
}

TEST_F(ProgramTest, helpNamesEveryOption)
{
    Program program({"--help"});
    EXPECT_EQ(program.end(), 0);
    for (const char* option :
         {"--bus ADDRESS", "--state DIR", "--runtime DIR", "--rotation ", "--no-rotation-service", "-v"}) {
        EXPECT_THAT(program.said, HasSubstr(option));
    }
}

TEST_F(ProgramTest, stateThatCannotBeUsedIsOneSentenceAndOne)
{
    Program program({"--bus", bus.address(), "--state", "/dev/null/state"});
    EXPECT_EQ(program.end(), 1);
    EXPECT_THAT(program.said, HasSubstr("the state folder /dev/null/state/services cannot be used"));
    EXPECT_EQ(std::count(program.said.begin(), program.said.end(), '\n'), 1) << program.said;
}

TEST_F(ProgramTest, aPathTooLongForTheSocketIsOneSentenceAndOne)
{
    Program program({"--bus", bus.address(), "--state", (folder / "s").string(), "--runtime",
                     (folder / std::string(120, 'r')).string()});
    EXPECT_EQ(program.end(), 1);
    EXPECT_THAT(program.said, HasSubstr("name a shorter folder with --runtime"));
}

TEST_F(ProgramTest, bothSignalsEndItWithNothingLeftBehind)
{
    for (const int number : {SIGTERM, SIGINT}) {
        Program program(arguments());
        ASSERT_TRUE(serves(program));
        EXPECT_THAT(filesOf("run"), ElementsAre("metadata.sock"));
        client.setFault(service::kDayNight, "slow", 3600);
        EXPECT_THROW(client.askWithin<bool>(10ms, service::kDayNight, "isMoving"), sdbus::Error);
        program.signal(number);
        EXPECT_EQ(program.end(), 0) << program.said;
        EXPECT_EQ(program.said, "");
        EXPECT_THAT(filesOf("run"), IsEmpty());
        for (const char* name : {service::kServices, service::kDayNight, service::kWindowBlanking, service::kRotate,
                                 service::kConfiguration, service::kOnvifMetadataStreamer}) {
            EXPECT_TRUE(eventually([&] { return !client.isServed(name); })) << name;
        }
        EXPECT_THAT(filesOf("state"), ElementsAre("services"));
    }
}

TEST_F(ProgramTest, itEndsAtOnceWhileTheBusIsAway)
{
    bus.kill();
    Program program(arguments());
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(folder / "run" / "metadata.sock"); }));
    program.signal(SIGTERM);
    EXPECT_EQ(program.end(), 0) << program.said;
}

TEST_F(ProgramTest, itWaitsForABusThatIsAwayAndServesWhenItComes)
{
    bus.kill();
    Program program(arguments({"--rotation", "90"}));
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(folder / "run" / "metadata.sock"); }));
    bus.start();
    ASSERT_TRUE(serves(program));
    EXPECT_EQ(client.one<std::uint32_t>(service::kRotate, "getAngle"), 90U);
    bus.kill();
    bus.start();
    EXPECT_TRUE(serves(program));
}

TEST_F(ProgramTest, afterAKillTheNextOneHasEverythingThatWasAcknowledged)
{
    for (std::int32_t round = 0; round < 3; ++round) {
        Program program(arguments());
        ASSERT_TRUE(serves(program));
        if (round > 0) {
            EXPECT_EQ(client.one<std::int32_t>(service::kConfiguration, "getIntValue", std::string("round")),
                      round - 1);
            EXPECT_EQ(client.one<std::uint32_t>(service::kRotate, "getAngle"), 180U);
        }
        SocketReader reader(client.one<std::string>(service::kOnvifMetadataStreamer, "getSocket"));
        client.ask<>(service::kRotate, "setAngle", 180U);
        client.ask<>(service::kConfiguration, "setIntValue", std::string("round"), round);
        program.signal(SIGKILL);
        EXPECT_EQ(program.end(), -SIGKILL);
        EXPECT_THAT(filesOf("run"), ElementsAre("metadata.sock"));
    }
}

TEST_F(ProgramTest, aSecondOneOnTheSameStateOrSocketIsRefused)
{
    Program first(arguments());
    ASSERT_TRUE(serves(first));
    Program sameState(arguments());
    EXPECT_EQ(sameState.end(), 1);
    EXPECT_THAT(sameState.said, HasSubstr("is in use by process " + std::to_string(first.pid())));
    Program sameSocket(
        {"--bus", bus.address(), "--state", (folder / "other").string(), "--runtime", (folder / "run").string()});
    EXPECT_EQ(sameSocket.end(), 1);
    EXPECT_THAT(sameSocket.said, HasSubstr("another process listens there"));
    EXPECT_EQ(client.one<std::uint32_t>(service::kRotate, "getAngle"), 0U);
}

TEST_F(ProgramTest, withoutARotationServiceTheOthersAreServed)
{
    Program program(arguments({"--no-rotation-service", "--rotation", "270"}));
    ASSERT_TRUE(serves(program));
    EXPECT_FALSE(client.isServed(service::kRotate));
    EXPECT_EQ(
        client.one<std::int32_t>(service::kConfiguration, "getIntValue", std::string("default_analytics_rotation")),
        270);
}

} // namespace
