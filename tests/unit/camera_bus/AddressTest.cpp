#include "camera/bus/Address.h"

#include "support/TestBus.h"

#include <gtest/gtest.h>

#include <system_error>

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

} // namespace
