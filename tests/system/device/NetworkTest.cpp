// A whole camera that serves ONVIF clients, and that is brought back to its factory settings.
#include "DeviceTest.h"

#include <csignal>

namespace camera::system_tests {
namespace {

using namespace testing;

constexpr const char* kPassword = "Quince-4711";

class NetworkTest : public DeviceTest {
protected:
    static Words with(Words words)
    {
        words.insert(words.begin(),
                     {kLively, "--http", "0", "--user", std::string("root:") + kPassword + ":administrator"});
        return words;
    }

    static std::string addressOf(const RunningCamera& camera)
    {
        return camera.status()["supervisor"]["onvif"].asString();
    }

    static Finished ask(const std::string& address, const std::string& operation,
                        const std::string& password = kPassword)
    {
        return run({"python3", ONVIF_REQUEST, address, "root", password, operation});
    }

    static void expectServes(const std::string& address)
    {
        const Finished done = ask(address, "GetUsers");
        EXPECT_THAT(done.out, AllOf(HasSubstr("root"), Not(HasSubstr(kPassword)))) << done.err;
    }

    static Finished call(const RunningCamera& camera, const Words& method)
    {
        Words words = {"busctl",           "--address=" + camera.address(), "call",
                       "ravel.supervisor", "/ravel/supervisor/main",        "ravel.supervisor"};
        words.insert(words.end(), method.begin(), method.end());
        return run(words);
    }

    // Its processes were started again so often.
    static bool restarted(const RunningCamera& camera, int times)
    {
        return eventually([&] {
            const Json::Value now = camera.status();
            return now["process"]["camera-services"]["restarts"] == times &&
                   now["process"]["camera-pipeline"]["restarts"] == times && now["pipeline"]["frames"].asUInt64() > 0;
        });
    }
};

TEST_F(NetworkTest, servesOnvifClientsAndTellsWhere)
{
    RunningCamera camera(state(), with({"--json"}));
    ASSERT_TRUE(camera.serves()) << camera.err();
    const std::string address = addressOf(camera);
    EXPECT_THAT(address, StartsWith("http://127.0.0.1:"));
    EXPECT_TRUE(eventually([&] { return camera.out().find("\"onvif\":\"" + address + "\"") != std::string::npos; }));
    expectServes(address);
    EXPECT_NE(0, ask(address, "GetUsers", "another").exitCode);
    EXPECT_THAT(camera.command({"status", "--wait", "60"}).out, HasSubstr("\nonvif       " + address + "\n"));
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
    EXPECT_NE(0, ask(address, "GetSystemDateAndTime").exitCode) << "nobody listens any more";
    EXPECT_THAT(leftBehind(), IsEmpty());
}

TEST_F(NetworkTest, aGatewayThatDiesIsThereAgainOnItsPort)
{
    RunningCamera camera(state(), with({}));
    ASSERT_TRUE(camera.serves()) << camera.err();
    const std::string address = addressOf(camera);
    expectServes(address);
    const pid_t before = camera.process("camera-gateway");
    ASSERT_GT(before, 0);
    kill(before, SIGKILL);
    ASSERT_TRUE(eventually([&] {
        const pid_t now = camera.process("camera-gateway");
        return now != before && now != 0;
    })) << camera.err();
    expectServes(address);
    EXPECT_THAT(camera.err(), HasSubstr("camera-gateway ended by signal 9 (Killed); starting it again"));
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
}

TEST_F(NetworkTest, noPasswordIsInAnArgumentOfAProcessOrInALog)
{
    RunningCamera camera(state(), with({"-v", "-v"}));
    ASSERT_TRUE(camera.serves()) << camera.err();
    expectServes(addressOf(camera));
    for (const std::string name : {"dbus-daemon", "camera-services", "camera-pipeline", "camera-gateway"}) {
        const std::string words = kit::contentOf("/proc/" + std::to_string(camera.process(name)) + "/cmdline");
        EXPECT_NE(words, "") << name;
        EXPECT_THAT(words, Not(HasSubstr(kPassword))) << name;
    }
    EXPECT_EQ(0, camera.end(SIGINT));
    EXPECT_THAT(camera.out() + camera.err(), Not(HasSubstr(kPassword)));
}

TEST_F(NetworkTest, aPortThatIsTakenIsRefusedBeforeAnythingStarts)
{
    RunningCamera camera(path("one"), with({}));
    ASSERT_TRUE(camera.serves()) << camera.err();
    const std::string address = addressOf(camera);
    const std::string port = address.substr(17, address.find('/', 17) - 17);
    const Finished refused =
        system_tests::camera({"run", kLively, "--speed", "max", "--http", port, "--state", path("two")});
    EXPECT_EQ(1, refused.exitCode);
    EXPECT_THAT(refused.err, HasSubstr("cannot listen on port " + port + " of '127.0.0.1': "));
    EXPECT_EQ(1U, count(refused.err, "\n")) << refused.err;
    EXPECT_FALSE(std::filesystem::exists(path("two/settings.db")));
    EXPECT_EQ(0, camera.end(SIGINT));
}

TEST_F(NetworkTest, takesItsUsersFromTheStandardInputAndOtherwiseMakesOneAndNamesTheFile)
{
    const auto users = [this] { return read(state() + "/gateway/users"); };
    const std::string given = write("users", std::string("root:administrator:") + kPassword + "\n");
    const Words words = {"/bin/sh", "-c",           "exec \"$1\" run \"$2\" --state \"$3\" --http 0 --users - <\"$4\"",
                         "sh",      CAMERA_PROGRAM, kLively,
                         state(),   given};
    {
        ChildProcess camera(words, kit::bothOutputs());
        EXPECT_TRUE(eventually([&] { return users() == std::string("root:Administrator:") + kPassword + "\n"; }));
        EXPECT_EQ(0, camera.end(SIGINT));
        EXPECT_THAT(camera.out(), Not(AnyOf(HasSubstr(kPassword), HasSubstr("Log in"))));
    }
    RunningCamera other(path("other"), {kLively, "--http", "0"});
    ASSERT_TRUE(eventually([&] { return other.err().find("Log in as") != std::string::npos || !other.runs(); }));
    EXPECT_THAT(other.err(),
                HasSubstr("Log in as \"admin\" with the password in " + path("other/gateway/users") + "."));
    EXPECT_EQ(0, other.end(SIGINT));
}

TEST_F(NetworkTest, startsAgainAndGoesBackToItsFactorySettingsWhenItIsTold)
{
    if (run({"busctl", "--version"}).exitCode != 0) {
        GTEST_SKIP() << "busctl is missing";
    }
    RunningCamera camera(state(), with({"--ptz"}));
    ASSERT_TRUE(camera.serves()) << camera.err();
    ASSERT_EQ(0, camera.command({"preset", "save", "Gate"}).exitCode);
    ASSERT_EQ(0, camera.command({"tour", "create", "Round", "Gate:1"}).exitCode);
    ASSERT_EQ(0, camera.command({"config", "set", motion("Gate rule", "Gate")}).exitCode);
    ASSERT_EQ(0, camera.command({"blanking", "on"}).exitCode);
    const pid_t gateway = camera.process("camera-gateway");

    ASSERT_EQ(0, call(camera, {"restart"}).exitCode);
    ASSERT_TRUE(restarted(camera, 1)) << camera.err();
    EXPECT_THAT(camera.command({"rules", "list"}).out, HasSubstr("Gate rule"));

    ASSERT_EQ(0, call(camera, {"factoryDefault", "b", "false"}).exitCode);
    ASSERT_TRUE(restarted(camera, 2)) << camera.err();
    EXPECT_EQ("", camera.command({"rules", "list"}).out);
    EXPECT_THAT(camera.command({"preset", "list"}).out, HasSubstr("Gate"));
    EXPECT_EQ("", camera.command({"tour", "list"}).out);
    EXPECT_FALSE(camera.status()["services"]["blanking"].asBool());
    EXPECT_EQ(gateway, camera.process("camera-gateway"));

    ASSERT_EQ(0, call(camera, {"factoryDefault", "b", "true"}).exitCode);
    ASSERT_TRUE(restarted(camera, 3)) << camera.err();
    EXPECT_EQ("", camera.command({"preset", "list"}).out);
    EXPECT_NE(gateway, camera.process("camera-gateway"));
    expectServes(addressOf(camera));
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
}

TEST_F(NetworkTest, anOnvifClientRestartsTheCameraAndBringsItBackToItsFactorySettings)
{
    RunningCamera camera(state(), {kLively, "--ptz", "--http", "0"});
    ASSERT_TRUE(camera.serves()) << camera.err();
    ASSERT_EQ(0, camera.command({"status", "--wait", "60"}).exitCode);
    ASSERT_EQ(0, camera.command({"preset", "save", "Gate"}).exitCode);
    const std::string address = addressOf(camera);
    const auto password = [this] {
        const std::string line = read(state() + "/gateway/users"); // admin:Administrator:PASSWORD
        return line.substr(0, line.find('\n')).substr(line.rfind(':') + 1);
    };
    const auto asAdmin = [&](const std::string& with, const Words& operation) {
        Words words = {"python3", ONVIF_REQUEST, address, "admin", with};
        words.insert(words.end(), operation.begin(), operation.end());
        return run(words);
    };
    const std::string first = password();
    EXPECT_THAT(asAdmin(first, {"SystemReboot"}).out, HasSubstr("SystemRebootResponse"));
    ASSERT_TRUE(restarted(camera, 1)) << camera.err();
    EXPECT_EQ(first, password());
    EXPECT_THAT(camera.command({"preset", "list"}).out, HasSubstr("Gate"));

    const Finished done = asAdmin(first, {"SetSystemFactoryDefault", "<FactoryDefault>Hard</FactoryDefault>"});
    EXPECT_THAT(done.out, HasSubstr("SetSystemFactoryDefaultResponse")) << done.err;
    ASSERT_TRUE(restarted(camera, 2)) << camera.err();
    ASSERT_TRUE(eventually([&] { return !password().empty() && password() != first; }));
    EXPECT_EQ("", camera.command({"preset", "list"}).out);
    EXPECT_THAT(asAdmin(password(), {"GetUsers"}).out, HasSubstr("admin"));
    EXPECT_NE(0, asAdmin(first, {"GetUsers"}).exitCode);
    EXPECT_EQ(2U, count(camera.err(), "Log in as \"admin\" with the password in ")) << camera.err();
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
}

// As a new one: with the modules that a new camera has, and with what its command line gives.
TEST_F(NetworkTest, aCameraThatIsKilledOnItsWayToItsFactorySettingsIsThereAtItsNextStart)
{
    if (run({"busctl", "--version"}).exitCode != 0) {
        GTEST_SKIP() << "busctl is missing";
    }
    {
        RunningCamera camera(state(), with({"--ptz"}));
        ASSERT_TRUE(camera.serves()) << camera.err();
        ASSERT_EQ(0, camera.command({"config", "set", simple("Anything")}).exitCode);
        ASSERT_EQ(0, camera.command({"preset", "save", "Gate"}).exitCode);
        ASSERT_EQ(0, call(camera, {"factoryDefault", "b", "false"}).exitCode);
        EXPECT_EQ(-SIGKILL, camera.end(SIGKILL));
    }
    const Finished next = run({CAMERA_PROGRAM, "run", kLively, "--state", state(), "--frames", "5"});
    EXPECT_EQ(0, next.exitCode) << next.err;
    EXPECT_EQ("", on({"rules", "list"}).out);
    EXPECT_THAT(on({"modules", "list"}).out, AllOf(HasSubstr("Cells"), HasSubstr("Objects")));
    RunningCamera camera(state(), {kLively});
    ASSERT_TRUE(camera.serves()) << camera.err();
    EXPECT_THAT(camera.command({"preset", "list"}).out, HasSubstr("Gate"));
    EXPECT_EQ(0, camera.end(SIGINT)) << camera.err();
}

} // namespace
} // namespace camera::system_tests
