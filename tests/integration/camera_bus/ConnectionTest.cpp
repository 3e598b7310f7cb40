#include "camera/bus/Connection.h"
#include "camera/bus/NameWatch.h"
#include "camera/bus/echo_client.h"
#include "camera/bus/echo_server.h"

#include "kit/Heap.h"
#include "kit/LineJournal.h"
#include "kit/PrivateBus.h"
#include "kit/Refusal.h"

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <sched.h>
#include <thread>

namespace {

using namespace camera::bus;
using kit::eventually;
using kit::refusalOf;
using kit::soon;
using namespace std::chrono_literals;

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
    std::atomic<bool> refuses{false};
    std::size_t bytes = 0; ///< of the last question
    std::string method;

private:
    void take(const std::shared_ptr<Request>& request)
    {
        bytes = request->bytes();
        method = request->method();
        if (refuses.exchange(false)) {
            request->refuse(error::kUnavailable, "not \xFF now");
        } else if (holds.exchange(false)) {
            _held.push_back(request);
        } else {
            atOnce(request);
        }
    }

    std::string say(const std::string& text) override
    {
        return text == "much" ? std::string(camera::base::kLargestMessage + 1, 'x') : text.empty() ? "a\xFFz" : text;
    }
    std::string whoseAnswer() const override { return " of the echo"; }
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
        return eventually([&] {
            return serving.sessions() >= wanted && asking.sessions() >= wanted && serving.connected() &&
                   asking.connected();
        });
    }

    std::chrono::milliseconds patience = 20s; ///< of the client; set before it connects
    kit::PrivateBus bus;
    kit::LineJournal heard;
    Connection serving{bus.address(), "the server"};
    Connection asking{bus.address(), "the client"};
    std::shared_ptr<CurrentObject<EchoObject>> object = serving.add<EchoObject>(
        [](const std::shared_ptr<Session>& session) { return std::make_shared<EchoObject>(session); });
    std::shared_ptr<CurrentObject<EchoClient>> client =
        asking.add<EchoClient>([this](const std::shared_ptr<Session>& session) {
            const auto hear = [this](const std::string& text) { heard.add(text); };
            return std::make_shared<EchoClient>(session->connection(), patience, EchoSignals{hear});
        });
};

TEST_F(ConnectionTest, whatNoMessageCanCarryIsRefusedAndTheConnectionStays)
{
    startBoth();
    const auto proxy = client->get();
    EXPECT_EQ(
        kit::refusalOf<sdbus::Error>([&] { proxy->say("much"); }),
        "[ravel.Error.TooLarge] the answer to say of the echo has 16777217 bytes; a message has at most 16777216");
    object->get()->emit(std::string(camera::base::kLargestMessage + 1, 'x'));
    object->get()->emit("after it");
    EXPECT_THAT(heard.lines(1), testing::ElementsAre("after it"));
    EXPECT_EQ(proxy->say("hello"), "hello");
    EXPECT_EQ(serving.sessions(), 1U);
}

// One processor for this thread and for those that it starts.
void stayOnOneProcessor()
{
    cpu_set_t allowed;
    ASSERT_EQ(::sched_getaffinity(0, sizeof allowed, &allowed), 0);
    int processor = 0;
    while (!CPU_ISSET(processor, &allowed)) {
        ++processor;
    }
    CPU_ZERO(&allowed);
    CPU_SET(processor, &allowed);
    ASSERT_EQ(::sched_setaffinity(0, sizeof allowed, &allowed), 0);
}

// A camera makes some of them for each frame, for years. The caller gives way to the bus thread at once, so that an
// answer is taken before its sender goes on.
TEST_F(ConnectionTest, thousandsOfCallsLeaveNothingInMemory)
{
    if (!kit::heapIsWatched()) {
        GTEST_SKIP() << "counting memory needs the allocator that a sanitizer replaces";
    }
    std::thread caller([this] {
        stayOnOneProcessor();
        startBoth();
        const sched_param lowest{};
        ASSERT_EQ(::sched_setscheduler(0, SCHED_IDLE, &lowest), 0);
        const auto proxy = client->get();
        const auto call = [&](int times) {
            for (int i = 0; i < times; ++i) {
                ASSERT_EQ(proxy->say("hello"), "hello");
            }
        };
        call(100);
        const kit::HeapMeter meter;
        call(2000);
        EXPECT_LT(meter.use().keptBytes, 4096);
    });
    caller.join();
}

TEST_F(ConnectionTest, callsAndSignalsPass)
{
    startBoth();
    EXPECT_EQ(client->get()->say("hello"), "hello");
    object->get()->emit("word");
    EXPECT_EQ(heard.lines(1).at(0), "word");
}

TEST_F(ConnectionTest, textsThatCannotBeSentLeaveWithReplacementCharacters)
{
    startBoth();
    EXPECT_EQ(client->get()->say(""), "a\xEF\xBF\xBDz");
    EXPECT_EQ(client->get()->Word(), "b\xEF\xBF\xBDz");
    object->get()->emit("c\xFFz");
    EXPECT_EQ(heard.lines(1).at(0), "c\xEF\xBF\xBDz");
}

TEST_F(ConnectionTest, aQuestionIsMeasuredAndMayBeRefused)
{
    startBoth();
    client->get()->say(std::string(70000, 'x'));
    EXPECT_EQ(object->get()->bytes, 70000U);
    EXPECT_EQ(object->get()->method, "say");
    object->get()->refuses = true;
    EXPECT_EQ(refusalOf<sdbus::Error>([&] { client->get()->say("word"); }),
              "[ravel.Error.Unavailable] not \xEF\xBF\xBD now");
    EXPECT_EQ(client->get()->say("next"), "next");
}

TEST_F(ConnectionTest, namesAreFollowedFromWhatTheyAreAtFirst)
{
    const auto watch = asking.add<NameWatch>([this](const std::shared_ptr<Session>& session) {
        return std::make_shared<NameWatch>(
            session->connection(), std::vector<std::string>{"ravel.echo", "ravel.other"},
            [this](const std::string& name, bool owned) { heard.add(name + (owned ? " is there" : " is gone")); });
    });
    serving.start();
    ASSERT_TRUE(serving.waitUntilConnected(soon())) << serving.reason();
    asking.start();
    EXPECT_THAT(heard.lines(2), testing::ElementsAre("ravel.echo is there", "ravel.other is gone"));
    heard.clear();
    object->get()->releaseName();
    EXPECT_THAT(heard.lines(1), testing::ElementsAre("ravel.echo is gone"));
    heard.clear();
    object->get()->takeName();
    EXPECT_THAT(heard.lines(1), testing::ElementsAre("ravel.echo is there"));
}

TEST_F(ConnectionTest, structuresListsAndMapsPassBothWays)
{
    startBoth();
    const Lists lists{{"k", {"one", "two"}}, {"none", {}}};
    const auto [second, first] = client->get()->swap(Pair{7U, "seven"}, lists);
    EXPECT_EQ(second, lists);
    EXPECT_EQ(first, (Pair{7U, "seven"}));
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
    EXPECT_EQ(refusalOf<sdbus::Error>([&] { kept->wait(); }),
              "[org.freedesktop.DBus.Error.NoReply] ravel.echo does not answer");
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
    auto outcome = std::async(std::launch::async, [&] { return refusalOf<sdbus::Error>([&] { waiting->wait(); }); });
    ASSERT_TRUE(eventually([this] { return !object->get()->holds; }));
    bus.kill();
    EXPECT_NE(outcome.get(), "not refused");
}

TEST_F(ConnectionTest, whileTheBusIsAwayThereIsNoSessionAndAReason)
{
    startBoth();
    bus.kill();
    EXPECT_TRUE(eventually([this] { return !asking.connected(); }));
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
