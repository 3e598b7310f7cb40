#include "camera/bus/Connection.h"
#include "camera/bus/echo_client.h"
#include "camera/bus/echo_server.h"

#include "support/TestBus.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <future>
#include <mutex>

namespace {

using namespace camera::bus;
using namespace std::chrono_literals;

std::chrono::steady_clock::time_point soon()
{
    return std::chrono::steady_clock::now() + 20s;
}

using Lists = std::map<std::string, std::vector<std::string>>;
using Pair = sdbus::Struct<std::uint32_t, std::string>;

/// Answers, or keeps the caller waiting while it holds.
class EchoObject final : public EchoServer {
public:
    explicit EchoObject(const std::shared_ptr<Session>& session)
        : EchoServer(session->connection(), [this](const std::shared_ptr<Request>& request) { take(request); })
    {
        takeName();
    }

    void emit(const std::string& text) { emitSaid(text); }

    std::atomic<bool> holds{false};

private:
    void take(const std::shared_ptr<Request>& request)
    {
        if (holds.exchange(false)) {
            _held.push_back(request);
        } else {
            atOnce(request);
        }
    }

    std::string say(const std::string& text) override { return text.empty() ? "a\xFFz" : text; }
    std::tuple<Lists, Pair> swap(const Pair& first, const Lists& second) override { return {second, first}; }
    void wait() override {}
    std::string word() override { return "b\xFFz"; }

    std::vector<std::shared_ptr<Request>> _held;
};

class ConnectionTest : public testing::Test {
protected:
    void startBoth()
    {
        serving.start();
        asking.start();
        ASSERT_TRUE(serving.waitUntilConnected(soon())) << serving.reason();
        ASSERT_TRUE(asking.waitUntilConnected(soon())) << asking.reason();
    }

    bool waitForSessions(std::uint64_t wanted)
    {
        const auto deadline = soon();
        while (std::chrono::steady_clock::now() < deadline) {
            if (serving.sessions() >= wanted && asking.sessions() >= wanted && serving.waitUntilConnected(deadline) &&
                asking.waitUntilConnected(deadline)) {
                return true;
            }
            std::this_thread::yield();
        }
        return false;
    }

    std::string waitForWord()
    {
        std::unique_lock<std::mutex> lock(mutex);
        heardSomething.wait_until(lock, soon(), [this] { return !heard.empty(); });
        return heard;
    }

    std::chrono::milliseconds patience = 20s; ///< of the client; set before it connects
    test_support::TestBus bus;
    std::mutex mutex;
    std::condition_variable heardSomething;
    std::string heard;
    Connection serving{bus.address(), "the server"};
    Connection asking{bus.address(), "the client"};
    std::shared_ptr<CurrentObject<EchoObject>> object = serving.add<EchoObject>(
        [](const std::shared_ptr<Session>& session) { return std::make_shared<EchoObject>(session); });
    std::shared_ptr<CurrentObject<EchoClient>> client =
        asking.add<EchoClient>([this](const std::shared_ptr<Session>& session) {
            const auto hear = [this](const std::string& text) {
                const std::lock_guard<std::mutex> lock(mutex);
                heard = text;
                heardSomething.notify_all();
            };
            return std::make_shared<EchoClient>(session->connection(), patience, EchoSignals{hear});
        });
};

TEST_F(ConnectionTest, callsAndSignalsPass)
{
    startBoth();
    EXPECT_EQ(client->get()->say("hello"), "hello");
    object->get()->emit("word");
    EXPECT_EQ(waitForWord(), "word");
}

TEST_F(ConnectionTest, textsThatCannotBeSentLeaveWithReplacementCharacters)
{
    startBoth();
    EXPECT_EQ(client->get()->say(""), "a\xEF\xBF\xBDz");
    EXPECT_EQ(client->get()->Word(), "b\xEF\xBF\xBDz");
    object->get()->emit("c\xFFz");
    EXPECT_EQ(waitForWord(), "c\xEF\xBF\xBDz");
}

TEST_F(ConnectionTest, structuresListsAndMapsPassBothWays)
{
    startBoth();
    const Lists lists{{"k", {"one", "two"}}, {"none", {}}};
    const auto [second, first] = client->get()->swap(Pair{7U, "seven"}, lists);
    EXPECT_EQ(second, lists);
    EXPECT_EQ(first, (Pair{7U, "seven"}));
}

TEST(TextsTest, areCheckedCleanedAndCountedHoweverDeep)
{
    std::tuple<std::uint32_t, std::vector<sdbus::Struct<std::string, bool>>, Lists> value{
        1, {{"one", true}, {"tw\xFF", false}}, {{"k\xFF", {"x\xFF"}}}};
    EXPECT_EQ(bytesOf(value), 10U);
    try {
        check(value, "the greeting");
        FAIL() << "taken";
    } catch (const sdbus::Error& error) {
        EXPECT_EQ(error.getName(), "ravel.Error.InvalidText");
        EXPECT_EQ(error.getMessage(), "the greeting is not UTF-8 or holds a NUL byte");
    }
    value = sendable(value);
    EXPECT_EQ(std::get<1>(value)[1].get<0>(), "tw\xEF\xBF\xBD");
    EXPECT_EQ(std::get<2>(value), (Lists{{"k\xEF\xBF\xBD", {"x\xEF\xBF\xBD"}}}));
    EXPECT_NO_THROW(check(value, "the greeting"));
}

TEST_F(ConnectionTest, aCallWaitsNoLongerThanItsPatience)
{
    startBoth();
    object->get()->holds = true;
    client->get()->proxy().setPatience(50ms);
    try {
        client->get()->wait();
        FAIL() << "an answer that nobody gave";
    } catch (const sdbus::Error& error) {
        EXPECT_TRUE(isSilence(error)) << error.getName();
    }
    client->get()->proxy().setPatience(20s);
    EXPECT_EQ(client->get()->say("next"), "next");
}

// The bus library notices its own time-outs on a thread that has ended by then.
TEST_F(ConnectionTest, aCallOverAConnectionThatWasStoppedIsGivenUp)
{
    startBoth();
    const auto kept = client->get();
    asking.stop();
    kept->proxy().setPatience(50ms);
    try {
        kept->wait();
        FAIL() << "an answer that nobody could bring";
    } catch (const sdbus::Error& error) {
        EXPECT_EQ(error.getName(), "org.freedesktop.DBus.Error.NoReply");
        EXPECT_EQ(error.getMessage(), "ravel.echo does not answer");
    }
}

TEST_F(ConnectionTest, bothSidesComeBackWhenTheBusDies)
{
    startBoth();
    for (std::uint64_t round = 2; round < 5; ++round) {
        bus.kill();
        bus.start();
        ASSERT_TRUE(waitForSessions(round)) << serving.reason() << ", " << asking.reason();
        EXPECT_EQ(client->get()->say("again"), "again");
    }
}

TEST_F(ConnectionTest, aCallThatIsUnderWayWhenTheBusDiesFails)
{
    startBoth();
    const auto waiting = client->get();
    object->get()->holds = true;
    auto outcome = std::async(std::launch::async, [&] {
        try {
            waiting->wait();
            return std::string("answered");
        } catch (const sdbus::Error& error) {
            return std::string("failed");
        }
    });
    while (object->get()->holds) {
        std::this_thread::yield();
    }
    bus.kill();
    EXPECT_EQ(outcome.get(), "failed");
}

TEST_F(ConnectionTest, whileTheBusIsAwayThereIsNoSessionAndAReason)
{
    startBoth();
    bus.kill();
    const auto deadline = soon();
    while (asking.connected() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(asking.connected());
    EXPECT_NE(asking.reason(), "");
    EXPECT_EQ(client->get(), nullptr);
}

TEST(ConnectionWithoutABusTest, stopsAtOnceThoughItNeverConnected)
{
    Connection connection("unix:path=/nowhere/at/all", "nobody");
    connection.start();
    EXPECT_FALSE(connection.waitUntilConnected(std::chrono::steady_clock::now() + 100ms));
    connection.stop();
    EXPECT_EQ(connection.sessions(), 0U);
}

} // namespace
