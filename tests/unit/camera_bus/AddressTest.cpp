#include "camera/bus/Address.h"

#include <gtest/gtest.h>

namespace {

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

} // namespace
