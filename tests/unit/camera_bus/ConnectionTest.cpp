#include "camera/bus/Connection.h"
#include "camera/bus/Answer.h"
#include "camera/bus/Call.h"

#include "support/TestBus.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace {

using namespace camera::bus;
using namespace std::chrono_literals;

constexpr const char* kService = "echo";

std::chrono::steady_clock::time_point soon()
{
    return std::chrono::steady_clock::now() + 20s;
}

/// Answers what it is told, refuses, fails, or keeps the caller waiting until it is let go.
class EchoObject {
public:
    explicit EchoObject(const std::shared_ptr<Session>& session)
        : _object(sdbus::createObject(session->connection(), objectPath(kService)))
    {
        _object->registerMethod("say")
            .onInterface(interfaceName(kService))
            .withInputParamNames("text")
            .withOutputParamNames("text")
            .implementedAs([](sdbus::Result<std::string>&& result, const std::string& text) {
                answer(result, [&] { return camera::base::sendable(text); });
            });
        _object->registerMethod("refuse")
            .onInterface(interfaceName(kService))
            .implementedAs([](sdbus::Result<>&& result) { answer(result, [] { throw Refusal("not today"); }); });
        _object->registerMethod("fail")
            .onInterface(interfaceName(kService))
            .implementedAs([](sdbus::Result<>&& result) { answer(result, [] { throw 5; }); });
        _object->registerMethod("check")
            .onInterface(interfaceName(kService))
            .implementedAs(
                [](sdbus::Result<>&& result) { answer(result, [] { checkedText("\xFF", "the greeting"); }); });
        _object->registerMethod("wait")
            .onInterface(interfaceName(kService))
            .implementedAs([this](sdbus::Result<>&& result) { _waiting = std::move(result); });
        _object->registerSignal("said").onInterface(interfaceName(kService)).withParameters<std::string>("text");
        _object->finishRegistration();
        session->connection().requestName(busName(kService));
    }

    void emit(const std::string& text)
    {
        _object->emitSignal("said").onInterface(interfaceName(kService)).withArguments(text);
    }

private:
    std::unique_ptr<sdbus::IObject> _object;
    sdbus::Result<> _waiting;
};

/// Calls the echo and hears its signals.
class EchoProxy {
public:
    EchoProxy(const std::shared_ptr<Session>& session, std::function<void(std::string)> heard)
        : proxy(sdbus::createProxy(session->connection(), busName(kService), objectPath(kService)))
    {
        proxy->uponSignal("said").onInterface(interfaceName(kService)).call([heard](const std::string& text) {
            heard(text);
        });
        proxy->finishRegistration();
    }

    std::string say(const std::string& text, std::chrono::milliseconds patience = 20s)
    {
        return std::get<0>(call<std::string>(*proxy, interfaceName(kService), "say", patience, text));
    }

    std::unique_ptr<sdbus::IProxy> proxy;
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

    test_support::TestBus bus;
    std::mutex mutex;
    std::condition_variable heardSomething;
    std::string heard;
    Connection serving{bus.address(), "the server"};
    Connection asking{bus.address(), "the client"};
    std::shared_ptr<Live<EchoObject>> object = serving.add<EchoObject>(
        [](const std::shared_ptr<Session>& session) { return std::make_shared<EchoObject>(session); });
    std::shared_ptr<Live<EchoProxy>> proxy = asking.add<EchoProxy>([this](const std::shared_ptr<Session>& session) {
        return std::make_shared<EchoProxy>(session, [this](const std::string& text) {
            const std::lock_guard<std::mutex> lock(mutex);
            heard = text;
            heardSomething.notify_all();
        });
    });
};

TEST_F(ConnectionTest, callsAndSignalsPass)
{
    startBoth();
    EXPECT_EQ(proxy->get()->say("hello"), "hello");
    object->get()->emit("word");
    EXPECT_EQ(waitForWord(), "word");
}

TEST_F(ConnectionTest, refusalsAndFailuresReachTheCallerWithNameAndText)
{
    startBoth();
    const auto nameAndText = [&](const char* method) -> std::string {
        try {
            call<>(*proxy->get()->proxy, interfaceName(kService), method, 20s);
            return "no error";
        } catch (const sdbus::Error& error) {
            return error.getName() + "|" + error.getMessage();
        }
    };
    EXPECT_EQ(nameAndText("refuse"), "ravel.Error.Refused|not today");
    EXPECT_EQ(nameAndText("fail"), "ravel.Error.Failed|an exception of an unknown type");
    EXPECT_EQ(nameAndText("check"), "ravel.Error.InvalidText|the greeting is not UTF-8 or holds a NUL byte");
    EXPECT_EQ(proxy->get()->say("still there"), "still there");
}

TEST_F(ConnectionTest, aCallWaitsNoLongerThanItsPatience)
{
    startBoth();
    try {
        call<>(*proxy->get()->proxy, interfaceName(kService), "wait", 50ms);
        FAIL() << "an answer that nobody gave";
    } catch (const sdbus::Error&) {
    }
    EXPECT_EQ(proxy->get()->say("next"), "next");
}

// The bus library notices its own time-outs on a thread that has ended by then.
TEST_F(ConnectionTest, aCallOverAConnectionThatWasStoppedIsGivenUp)
{
    startBoth();
    const auto kept = proxy->get();
    asking.stop();
    try {
        call<>(*kept->proxy, interfaceName(kService), "wait", 50ms);
        FAIL() << "an answer that nobody could bring";
    } catch (const sdbus::Error& error) {
        EXPECT_EQ(error.getName(), "ravel.Error.Unavailable");
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
        EXPECT_EQ(proxy->get()->say("again"), "again");
    }
}

TEST_F(ConnectionTest, aCallThatIsUnderWayWhenTheBusDiesFails)
{
    startBoth();
    const auto waiting = proxy->get();
    auto outcome = std::async(std::launch::async, [&] {
        try {
            call<>(*waiting->proxy, interfaceName(kService), "wait", 20s);
            return std::string("answered");
        } catch (const sdbus::Error& error) {
            return std::string("failed");
        }
    });
    proxy->get()->say("the one before has arrived");
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
    EXPECT_EQ(proxy->get(), nullptr);
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
