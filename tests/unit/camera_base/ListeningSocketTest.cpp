#include "camera/base/ListeningSocket.h"

#include "kit/Refusal.h"

#include <gmock/gmock.h>

#include <netinet/in.h>
#include <sys/socket.h>

namespace camera::base {
namespace {

using testing::HasSubstr;

bool canConnect(std::uint16_t port)
{
    const FileDescriptor client(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return ::connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

TEST(ListeningSocketTest, takesConnectionsOnThePortThatItTells)
{
    const FileDescriptor listener = listeningSocket("127.0.0.1", 0);
    EXPECT_NE(0, portOf(listener.get()));
    EXPECT_EQ("127.0.0.1", addressOf(listener.get()));
    EXPECT_TRUE(canConnect(portOf(listener.get())));
}

TEST(ListeningSocketTest, tellsWhereOthersReachIt)
{
    const FileDescriptor bound = listeningSocket("127.0.0.1", 0);
    EXPECT_EQ("127.0.0.1", reachableAddress(bound.get()));
    EXPECT_EQ("https://127.0.0.1:" + std::to_string(portOf(bound.get())), baseAddress("https", bound.get()));
    const FileDescriptor everywhere = listeningSocket("0.0.0.0", 0);
    EXPECT_EQ(outwardAddress(AF_INET, "127.0.0.1"), reachableAddress(everywhere.get()));
    EXPECT_EQ("nowhere", outwardAddress(AF_UNIX, "nowhere"));
    EXPECT_EQ("http://camera.example:80", baseAddress("http", "camera.example", 80));
    EXPECT_EQ("https://[2001:db8::2]:443", baseAddress("https", "2001:db8::2", 443));
}

TEST(ListeningSocketTest, putsAnAddressWithColonsIntoBrackets)
{
    FileDescriptor bound;
    try {
        bound = listeningSocket("::1", 0);
    } catch (const std::runtime_error& error) {
        GTEST_SKIP() << "this computer has no IPv6: " << error.what();
    }
    EXPECT_EQ("http://[::1]:" + std::to_string(portOf(bound.get())), baseAddress("http", bound.get()));
}

TEST(ListeningSocketTest, takesAPortAgainOnWhichAConnectionEnds)
{
    std::uint16_t port = 0;
    {
        const FileDescriptor first = listeningSocket("127.0.0.1", 0);
        port = portOf(first.get());
        ASSERT_TRUE(canConnect(port));
        // The side that closes first keeps the connection for a while.
        const FileDescriptor accepted(::accept(first.get(), nullptr, nullptr));
    }
    EXPECT_EQ(port, portOf(listeningSocket("127.0.0.1", port).get()));
}

TEST(ListeningSocketTest, saysWhatToDoWhenItCannotListen)
{
    const FileDescriptor taken = listeningSocket("127.0.0.1", 0);
    const std::uint16_t port = portOf(taken.get());
    const auto refusal = [](const std::string& address, std::uint16_t wanted) {
        return kit::refusalOf([&] { listeningSocket(address, wanted); });
    };
    EXPECT_EQ("cannot listen on port " + std::to_string(port) +
                  " of '127.0.0.1': Address already in use; choose another port",
              refusal("127.0.0.1", port));
    EXPECT_THAT(refusal("192.0.2.1", 0), HasSubstr("of '192.0.2.1': Cannot assign requested address; give an address"));
    EXPECT_EQ("cannot listen on port 80 of 'camera': that is no address; give one of this computer, 127.0.0.1 or "
              "0.0.0.0 for instance",
              refusal("camera", 80));
}

TEST(ListeningSocketTest, knowsADescriptorThatIsNoListener)
{
    const FileDescriptor local(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const FileDescriptor silent(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    for (const int descriptor : {-1, 1000000, local.get(), silent.get()}) {
        EXPECT_EQ("the descriptor " + std::to_string(descriptor) + " is no TCP socket that listens",
                  kit::refusalOf([&] { portOf(descriptor); }));
    }
}

} // namespace
} // namespace camera::base
