#include "camera/bus/Connection.h"

#include "kit/LogLines.h"
#include "kit/PrivateBus.h"

#include <gtest/gtest.h>

#include <future>

namespace {

using namespace camera::bus;
using namespace std::chrono_literals;
using kit::soon;

class ConnectionLifeTest : public testing::Test {
protected:
    bool losesItsSession(std::size_t times) { return losses.lines(times).size() >= times; }

    kit::LogLines log{camera::base::LogLevel::info};
    kit::LineJournal losses; ///< one for each session, or attempt at one, that was over
};

TEST_F(ConnectionLifeTest, theEndOfASessionIsToldAndItsReasonGoneOnceThereIsAnother)
{
    kit::PrivateBus bus;
    Connection connection(bus.address(), "the server");
    connection.whenLost([this] { losses.add("lost"); });
    connection.start();
    ASSERT_TRUE(connection.waitUntilConnected(soon()));
    EXPECT_EQ(connection.reason(), "");
    EXPECT_EQ(connection.sessions(), 1U);
    bus.kill();
    ASSERT_TRUE(losesItsSession(1));
    bus.start();
    ASSERT_TRUE(connection.waitUntilConnected(soon()));
    connection.stop();
    EXPECT_EQ(log.count("the server lost the bus: "), 1U);
}

TEST_F(ConnectionLifeTest, anOldReasonIsNoReasonForASession)
{
    kit::PrivateBus bus;
    bus.kill();
    Connection connection(bus.address(), "the server");
    connection.whenLost([this] { losses.add("lost"); });
    connection.start();
    ASSERT_TRUE(losesItsSession(1));
    bus.start();
    ASSERT_TRUE(connection.waitUntilConnected(soon()));
    EXPECT_EQ(connection.reason(), "");
}

TEST_F(ConnectionLifeTest, whyThereIsNoBusIsLoggedOnceHoweverOftenItIsTried)
{
    {
        Connection connection("unix:path=/nowhere/at/all", "nobody");
        connection.whenLost([this] { losses.add("lost"); });
        connection.start();
        ASSERT_TRUE(losesItsSession(4));
    }
    EXPECT_EQ(log.count("nobody has no bus: nobody listens at /nowhere/at/all"), 1U);
    EXPECT_EQ(log.count(""), 1U);
}

TEST_F(ConnectionLifeTest, pausesAreShortEnoughForASixthAttemptToComeSoon)
{
    Connection connection("unix:path=/nowhere/at/all", "nobody");
    connection.whenLost([this] { losses.add("lost"); });
    connection.start();
    EXPECT_TRUE(losesItsSession(6));
}

// The part cannot be made: the session is given up and tried anew.
TEST_F(ConnectionLifeTest, aSessionWithoutOneOfItsPartsIsNone)
{
    kit::PrivateBus bus;
    Connection connection(bus.address(), "the server");
    int attempts = 0;
    const auto part = connection.add<int>([&attempts](const std::shared_ptr<Session>&) {
        if (++attempts < 3) {
            throw sdbus::Error("ravel.Error.Failed", "not yet");
        }
        return std::make_shared<int>(attempts);
    });
    connection.start();
    ASSERT_TRUE(connection.waitUntilConnected(soon()));
    EXPECT_EQ(*part->get(), 3);
    EXPECT_EQ(connection.sessions(), 1U);
}

TEST_F(ConnectionLifeTest, endsThoughItsSessionComesAboutJustThen)
{
    kit::PrivateBus bus;
    for (int round = 0; round < 100; ++round) {
        Connection connection(bus.address(), "the server");
        std::promise<void> connecting;
        connection.add<int>([&connecting](const std::shared_ptr<Session>&) {
            connecting.set_value();
            return std::make_shared<int>(0);
        });
        connection.start();
        connecting.get_future().wait();
        connection.stop();
        EXPECT_LE(connection.sessions(), 1U);
        EXPECT_FALSE(connection.connected());
    }
    EXPECT_EQ(log.count(""), 0U) << "nothing was lost";
}

} // namespace
