#include "camera/base/Log.h"
#include "camera/bus/Connection.h"

#include "support/TestBus.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <future>
#include <mutex>

namespace {

using namespace camera::bus;
using namespace std::chrono_literals;
using camera::base::Log;
using camera::base::LogLevel;

std::chrono::steady_clock::time_point soon()
{
    return std::chrono::steady_clock::now() + 20s;
}

/// How often a connection said that its session, or an attempt at one, is over.
class Losses {
public:
    void add()
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        ++_count;
        _changed.notify_all();
    }

    bool waitFor(int count)
    {
        std::unique_lock<std::mutex> lock(_mutex);
        return _changed.wait_until(lock, soon(), [&] { return _count >= count; });
    }

private:
    std::mutex _mutex;
    std::condition_variable _changed;
    int _count = 0;
};

class ConnectionLifeTest : public testing::Test {
protected:
    ConnectionLifeTest()
    {
        Log::instance().setLevel(LogLevel::info);
        Log::instance().setWriter([this](const std::string& line) { log += line; });
    }
    ~ConnectionLifeTest() override
    {
        Log::instance().setWriter({});
        Log::instance().setLevel(LogLevel::error);
    }

    /// Once the connections have ended.
    std::size_t linesWith(const std::string& text) const
    {
        std::size_t count = 0;
        for (std::size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1)) {
            ++count;
        }
        return count;
    }

    std::string log;
    Losses losses;
};

TEST_F(ConnectionLifeTest, theEndOfASessionIsToldAndItsReasonGoneOnceThereIsAnother)
{
    test_support::TestBus bus;
    Connection connection(bus.address(), "the server");
    connection.whenLost([this] { losses.add(); });
    connection.start();
    ASSERT_TRUE(connection.waitUntilConnected(soon()));
    EXPECT_EQ(connection.reason(), "");
    EXPECT_EQ(connection.sessions(), 1U);
    bus.kill();
    ASSERT_TRUE(losses.waitFor(1));
    bus.start();
    ASSERT_TRUE(connection.waitUntilConnected(soon()));
    connection.stop();
    EXPECT_EQ(linesWith("the server lost the bus: "), 1U);
}

TEST_F(ConnectionLifeTest, anOldReasonIsNoReasonForASession)
{
    test_support::TestBus bus;
    bus.kill();
    Connection connection(bus.address(), "the server");
    connection.whenLost([this] { losses.add(); });
    connection.start();
    ASSERT_TRUE(losses.waitFor(1));
    bus.start();
    ASSERT_TRUE(connection.waitUntilConnected(soon()));
    EXPECT_EQ(connection.reason(), "");
}

TEST_F(ConnectionLifeTest, whyThereIsNoBusIsLoggedOnceHoweverOftenItIsTried)
{
    {
        Connection connection("unix:path=/nowhere/at/all", "nobody");
        connection.whenLost([this] { losses.add(); });
        connection.start();
        ASSERT_TRUE(losses.waitFor(4));
    }
    EXPECT_EQ(linesWith("nobody has no bus: nobody listens at /nowhere/at/all"), 1U) << log;
}

TEST_F(ConnectionLifeTest, pausesAreShortEnoughForASixthAttemptToComeSoon)
{
    Connection connection("unix:path=/nowhere/at/all", "nobody");
    connection.whenLost([this] { losses.add(); });
    connection.start();
    EXPECT_TRUE(losses.waitFor(6));
}

// The part cannot be made: the session is given up and tried anew.
TEST_F(ConnectionLifeTest, aSessionWithoutOneOfItsPartsIsNone)
{
    test_support::TestBus bus;
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
    test_support::TestBus bus;
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
}

} // namespace
