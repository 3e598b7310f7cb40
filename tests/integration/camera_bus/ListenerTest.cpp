#include "camera/bus/Address.h"
#include "kit/PrivateBus.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using camera::bus::requireListener;

TEST(ListenerTest, onlyWhereNobodyListensItIsAnError)
{
    kit::PrivateBus bus;
    EXPECT_NO_THROW(requireListener(bus.address()));
    bus.kill();
    EXPECT_THROW(requireListener(bus.address()), std::system_error);
    EXPECT_THROW(requireListener("unix:path=/nowhere/at/all"), std::system_error);
    EXPECT_NO_THROW(requireListener("tcp:host=nowhere,port=1"));
    EXPECT_THROW(requireListener("unix:path=/" + std::string(106, 'x')), std::system_error);
    EXPECT_NO_THROW(requireListener("unix:path=/" + std::string(107, 'x'))) << "no socket has so long a path";
    bus.start();
    EXPECT_NO_THROW(requireListener(bus.address()));
}

TEST(ListenerTest, aListenerWhoseQueueIsFullIsOne)
{
    const kit::TemporaryFolder folder;
    const std::string path = folder / "bus";
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
}

} // namespace
