#include "integration/camera_services/ServicesClient.h"
#include "integration/camera_services/SocketReader.h"
#include "kit/LogLines.h"
#include "kit/PrivateBus.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace {

using namespace services_test;
using namespace testing;

std::ptrdiff_t lineEnds(const std::string& text)
{
    return std::count(text.begin(), text.end(), '\n');
}

/// The program; what it says on both outputs is its output.
class Program : public ChildProcess {
public:
    explicit Program(std::vector<std::string> arguments) : ChildProcess(words(std::move(arguments)), bothOutputs()) {}

private:
    static std::vector<std::string> words(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), CAMERA_SERVICES_PROGRAM);
        return arguments;
    }
};

class ProgramTest : public testing::Test {
protected:
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
                       static_cast<std::uint32_t>(program.id());
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

    const LogLines log;
    PrivateBus bus;
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
        EXPECT_EQ(program.finish().exitCode, 2) << text;
        EXPECT_THAT(program.out(), HasSubstr(text));
        EXPECT_EQ(lineEnds(program.out()), 1) << program.out();
    }
}

TEST_F(ProgramTest, helpNamesEveryOption)
{
    Program program({"--help"});
    EXPECT_EQ(program.finish().exitCode, 0);
    for (const char* option :
         {"--bus ADDRESS", "--state DIR", "--runtime DIR", "--rotation ", "--no-rotation-service", "-v"}) {
        EXPECT_THAT(program.out(), HasSubstr(option));
    }
}

TEST_F(ProgramTest, stateThatCannotBeUsedIsOneSentenceAndOne)
{
    Program program({"--bus", bus.address(), "--state", "/dev/null/state"});
    EXPECT_EQ(program.finish().exitCode, 1);
    EXPECT_THAT(program.out(), HasSubstr("the state folder /dev/null/state/services cannot be used"));
    EXPECT_EQ(lineEnds(program.out()), 1) << program.out();
}

TEST_F(ProgramTest, aPathTooLongForTheSocketIsOneSentenceAndOne)
{
    Program program({"--bus", bus.address(), "--state", (folder / "s").string(), "--runtime",
                     (folder / std::string(120, 'r')).string()});
    EXPECT_EQ(program.finish().exitCode, 1);
    EXPECT_THAT(program.out(), HasSubstr("name a shorter folder with --runtime"));
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
        EXPECT_EQ(program.finish().exitCode, 0) << program.out();
        EXPECT_EQ(program.out(), "");
        EXPECT_THAT(filesOf("run"), IsEmpty());
        EXPECT_TRUE(eventually([&] { return !client.isServed(service::kServices); }));
        for (const char* name : kEach) {
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
    EXPECT_EQ(program.finish().exitCode, 0) << program.out();
}

TEST_F(ProgramTest, itWaitsForABusThatIsAwayAndServesWhenItComes)
{
    bus.kill();
    Program program(arguments({"--rotation", "90"}));
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(folder / "run" / "metadata.sock"); }));
    bus.start();
    ASSERT_TRUE(serves(program));
    EXPECT_EQ(client.angle(), 90U);
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
            EXPECT_EQ(client.value("round"), round - 1);
            EXPECT_EQ(client.angle(), 180U);
        }
        SocketReader reader(client.one<std::string>(service::kOnvifMetadataStreamer, "getSocket"));
        client.setAngle(180);
        client.setValue("round", round);
        program.signal(SIGKILL);
        EXPECT_EQ(program.finish().exitCode, -SIGKILL);
        EXPECT_THAT(filesOf("run"), ElementsAre("metadata.sock"));
    }
}

TEST_F(ProgramTest, aSecondOneOnTheSameStateOrSocketIsRefused)
{
    Program first(arguments());
    ASSERT_TRUE(serves(first));
    Program sameState(arguments());
    EXPECT_EQ(sameState.finish().exitCode, 1);
    EXPECT_THAT(sameState.out(), HasSubstr("is in use by process " + std::to_string(first.id())));
    Program sameSocket(
        {"--bus", bus.address(), "--state", (folder / "other").string(), "--runtime", (folder / "run").string()});
    EXPECT_EQ(sameSocket.finish().exitCode, 1);
    EXPECT_THAT(sameSocket.out(), HasSubstr("another process listens there"));
    EXPECT_EQ(client.angle(), 0U);
}

TEST_F(ProgramTest, withoutARotationServiceTheOthersAreServed)
{
    Program program(arguments({"--no-rotation-service", "--rotation", "270"}));
    ASSERT_TRUE(serves(program));
    EXPECT_FALSE(client.isServed(service::kRotate));
    EXPECT_EQ(client.value("default_analytics_rotation"), 270);
}

} // namespace
