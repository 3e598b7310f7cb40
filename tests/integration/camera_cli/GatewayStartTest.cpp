// The sockets and users that camera run gives its gateway.
#include "camera/cli/GatewayStart.h"

#include "camera/base/ListeningSocket.h"
#include "camera/base/RunOptions.h"
#include "camera/cli/Command.h"
#include "kit/EnvironmentVariable.h"
#include "kit/Refusal.h"
#include "kit/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <unistd.h>

namespace camera::cli {
namespace {

using namespace testing;
using Words = std::vector<std::string>;

class GatewayStartTest : public Test {
protected:
    static GatewayStart start(Words words)
    {
        words.insert(words.begin(), "a");
        return GatewayStart(*parseArguments(cameraProgram(), base::runCommand(), words));
    }

    template <class Error = std::runtime_error>
    static std::string refusal(const Words& words)
    {
        return kit::refusalOf<Error>([&] { start(words); });
    }

    Words wordsOf(const GatewayStart& gateway, bool first = true) const
    {
        return gateway.program(runtime, first).words;
    }

    static std::string after(const Words& words, const std::string& option)
    {
        const auto found = std::find(words.begin(), words.end(), option);
        return found == words.end() ? "(none)" : *std::next(found);
    }

    // What the gateway reads.
    std::string usersOf(const GatewayStart& gateway) const
    {
        return kit::contentOf(after(wordsOf(gateway), "--users"));
    }

    static std::string address(const std::string& host, const base::FileDescriptor& socket)
    {
        return "http://" + host + ":" + std::to_string(base::portOf(socket.get())) + "/onvif/device_service";
    }

    kit::TemporaryFolder folder;
    const kit::EnvironmentVariable variable{"XDG_RUNTIME_DIR", folder.path()};
    const supervisor::RuntimeFolder runtime{folder / "state"};
};

TEST_F(GatewayStartTest, passesSocketsThatListenUnderTheirNumbers)
{
    const GatewayStart gateway = start({"--http", "0", "--https", "0"});
    const supervisor::Program program = gateway.program(runtime, true);
    ASSERT_THAT(program.passed, SizeIs(2));
    EXPECT_THAT(program.words, ElementsAre(EndsWith("/camera-gateway"), "--bus", runtime.address(), "--state",
                                           runtime.stateDir().string(), "--bind", "127.0.0.1", "--http",
                                           "fd:" + std::to_string(program.passed[0]), "--https",
                                           "fd:" + std::to_string(program.passed[1]), "--announce"));
    const auto at = [&](const std::string& scheme, std::size_t i) {
        return scheme + "://127.0.0.1:" + std::to_string(base::portOf(program.passed[i])) + "/onvif/device_service";
    };
    EXPECT_THAT(gateway.addresses(), ElementsAre(at("http", 0), at("https", 1)));
    for (const int socket : program.passed) {
        EXPECT_NE(::fcntl(socket, F_GETFD) & FD_CLOEXEC, 0) << "no other process keeps it";
    }
}

TEST_F(GatewayStartTest, aPortThatIsTakenIsRefusedByItsNumber)
{
    const base::FileDescriptor taken = base::listeningSocket("127.0.0.1", 0);
    const std::string port = std::to_string(base::portOf(taken.get()));
    for (const Words& words : {Words{"--http", port}, {"--http", "0", "--https", port}}) {
        EXPECT_EQ(refusal(words),
                  "cannot listen on port " + port + " of '127.0.0.1': Address already in use; choose another port");
    }
}

// An address of this process alone; programs that listen on all addresses may have some of the ports nevertheless.
TEST_F(GatewayStartTest, withoutAPortTheFirstFreeOneOfARangeIsTakenAndWhenThereIsNoneThatIsTold)
{
    const auto id = static_cast<unsigned int>(::getpid());
    const std::string address = "127." + std::to_string(1 + (id >> 16U) % 200) + "." +
                                std::to_string((id >> 8U) % 256) + "." + std::to_string(1 + id % 256 % 250);
    std::vector<base::FileDescriptor> taken;
    for (std::uint16_t port = 8080; port <= 8099; ++port) {
        try {
            taken.push_back(base::listeningSocket(address, port));
        } catch (const std::runtime_error&) {
            continue;
        }
        taken.pop_back();
        EXPECT_THAT(start({"--bind", address}).addresses(),
                    ElementsAre("http://" + address + ":" + std::to_string(port) + "/onvif/device_service"));
        taken.push_back(base::listeningSocket(address, port));
    }
    EXPECT_FALSE(taken.empty());
    EXPECT_EQ(refusal({"--bind", address}), "no port from 8080 to 8099 is free on '" + address +
                                                "'; name another one with --http PORT, or let --http 0 choose");
}

TEST_F(GatewayStartTest, anAddressThatIsNoneOfThisComputerIsRefusedAsSuch)
{
    EXPECT_THAT(refusal({"--bind", "localhost"}), HasSubstr("'localhost': that is no address; give one of this "));
    EXPECT_THAT(refusal({"--bind", "192.0.2.1"}), HasSubstr("; give an address of this computer"));
}

TEST_F(GatewayStartTest, tellsAnAddressThatAClientCanUse)
{
    EXPECT_THAT(start({"--bind", "0.0.0.0", "--http", "0"}).addresses().front(),
                AllOf(StartsWith("http://"), Not(HasSubstr("//0.0.0.0"))));
    try {
        base::listeningSocket("::1", 0);
    } catch (const std::runtime_error&) {
        GTEST_SKIP() << "this computer has no IPv6";
    }
    EXPECT_THAT(start({"--bind", "::1", "--http", "0"}).addresses().front(), StartsWith("http://[::1]:"));
}

TEST_F(GatewayStartTest, givesUsersInMemoryAndOnlyUntilTheyAreTaken)
{
    const std::string file = folder.write("users", "root:administrator:se:cret\n\nview:user:pass\n");
    const GatewayStart gateway = start({"--http", "0", "--users", file, "--user", "op:o:p:operator"});
    EXPECT_EQ(usersOf(gateway), "root:Administrator:se:cret\nview:User:pass\nop:Operator:o:p\n");
    EXPECT_EQ(usersOf(gateway), "root:Administrator:se:cret\nview:User:pass\nop:Operator:o:p\n") << "again";
    EXPECT_THAT(gateway.program(runtime, true).passed, SizeIs(2));
    EXPECT_THAT(wordsOf(gateway, false), Not(AnyOf(Contains("--users"), Contains("--announce"))));
    EXPECT_THAT(gateway.program(runtime, false).passed, SizeIs(1));
    for (const std::string& word : wordsOf(gateway)) {
        EXPECT_THAT(word, Not(AnyOf(HasSubstr("cret"), HasSubstr("pass"), HasSubstr("o:p"))));
    }
    EXPECT_EQ(after(wordsOf(start({"--http", "0"})), "--users"), "(none)");
}

TEST_F(GatewayStartTest, tellsEachGatewayHowOthersFindIt)
{
    const GatewayStart named = start({"--http", "0", "--bind", "0.0.0.0", "--advertise-host", "camera.example"});
    const GatewayStart hidden = start({"--http", "0", "--no-discovery"});
    for (const bool first : {true, false}) {
        EXPECT_EQ(after(wordsOf(named, first), "--advertise-host"), "camera.example");
        EXPECT_THAT(wordsOf(named, first), Not(Contains("--no-discovery")));
        EXPECT_THAT(wordsOf(hidden, first), Contains("--no-discovery"));
    }
    EXPECT_THAT(wordsOf(start({"--http", "0"})), Not(Contains("--no-discovery")));
}

TEST_F(GatewayStartTest, usersThatCannotBeUsedAreRefusedWithoutTheirPasswords)
{
    const std::string file = folder.write("users", "root:administrator:a\nview:boss:hidden\n");
    EXPECT_EQ(refusal({"--users", file}), "the users cannot be read from '" + file +
                                              "': line 2: the level is 'administrator', 'operator' or 'user'; write "
                                              "lines NAME:LEVEL:PASSWORD");
    for (const std::string none : {folder / "none", folder.path()}) {
        EXPECT_EQ(refusal({"--users", none}),
                  "the users cannot be read from '" + none + "'; name a file that can be read");
    }
    EXPECT_EQ(refusal<base::UsageError>({"--user", "hidden"}),
              "camera run: --user: it is not of the form NAME:PASSWORD:LEVEL.");
    EXPECT_EQ(refusal<base::UsageError>({"--user", "a:hidden:boss"}),
              "camera run: --user: the level is 'administrator', 'operator' or 'user'.");
    EXPECT_EQ(refusal<base::UsageError>({"--user", "a:hidden:user"}),
              "camera run: --user: one user must be an administrator.");
}

} // namespace
} // namespace camera::cli
