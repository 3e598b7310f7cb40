#include "camera/bus/Address.h"

#include "support/TestBus.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace {

using camera::bus::requireListener;
using camera::bus::socketPath;

TEST(AddressTest, thePathStandsBetweenItsKeyAndTheNextOne)
{
    EXPECT_EQ(socketPath("unix:path=/run/bus"), "/run/bus");
    EXPECT_EQ(socketPath("unix:path=/run/bus,guid=0123"), "/run/bus");
    EXPECT_EQ(socketPath("unix:path=/a%20b%2c"), "/a b,");
    EXPECT_EQ(socketPath("unix:path=/a%2"), "/a%2");
    for (const char* other : {"", "unix:", "unix:abstract=x", "tcp:host=h,port=1", "unix:path=/a;unix:path=/b"}) {
        EXPECT_EQ(socketPath(other), "") << other;
    }
}

TEST(AddressTest, onlyWhereNobodyListensItIsAnError)
{
    test_support::TestBus bus;
    EXPECT_NO_THROW(requireListener(bus.address()));
    bus.kill();
    EXPECT_THROW(requireListener(bus.address()), std::system_error);
    EXPECT_THROW(requireListener("unix:path=/nowhere/at/all"), std::system_error);
    EXPECT_NO_THROW(requireListener("tcp:host=nowhere,port=1"));
    bus.start();
    EXPECT_NO_THROW(requireListener(bus.address()));
}

TEST(AddressTest, aListenerWhoseQueueIsFullIsOne)
{
    char folder[] = "/tmp/address-test-XXXXXX";
    ASSERT_NE(::mkdtemp(folder), nullptr);
    const std::string path = std::string(folder) + "/bus";
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    path.copy(name.sun_path, sizeof name.sun_path - 1);
    const auto* address = reinterpret_cast<const sockaddr*>(&name);
    std::vector<int> sockets = {::socket(AF_UNIX, SOCK_STREAM, 0)};
    ASSERT_EQ(::bind(sockets[0], address, sizeof name), 0);
    ASSERT_EQ(::listen(sockets[0], 0), 0);
    do { // nobody accepts
        sockets.push_back(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0));
    } while (sockets.size() < 100 && ::connect(sockets.back(), address, sizeof name) == 0);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_NO_THROW(requireListener("unix:path=" + path));
    for (const int socket : sockets) {
        ::close(socket);
    }
    std::filesystem::remove_all(folder);
}

} // namespace
