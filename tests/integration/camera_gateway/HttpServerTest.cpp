#include "camera/gateway/HttpServer.h"

#include "HttpClient.h"
#include "camera/base/ListeningSocket.h"
#include "kit/Refusal.h"

#include <gmock/gmock.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>

#include <atomic>
#include <future>
#include <mutex>
#include <optional>
#include <thread>

namespace camera::gateway {
namespace {

using namespace std::chrono_literals;
using onvif::HttpAnswer;
using onvif::HttpRequest;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

const std::string kGet = "GET /a HTTP/1.1\r\nHost: camera\r\n\r\n";

HttpAnswer text(const std::string& body)
{
    HttpAnswer answer;
    answer.contentType = "text/plain";
    answer.body = body;
    return answer;
}

class HttpServerTest : public testing::Test {
protected:
    ~HttpServerTest() override
    {
        if (_thread.joinable()) {
            boost::asio::post(_context, [this] { _server.reset(); });
            _context.stop();
            _thread.join();
        }
    }

    /// Begins to serve, and answers with what the function returns.
    void serve(std::function<HttpAnswer(const HttpRequest&)> answer)
    {
        serveLater([answer = std::move(answer)](const HttpRequest& request, const HttpServer::Reply& reply) {
            reply(answer(request));
        });
    }

    void serveLater(HttpServer::Handler handler)
    {
        _server.emplace(_context, std::move(handler), _limits);
        base::FileDescriptor listener = base::listeningSocket("127.0.0.1", 0);
        _port = base::portOf(listener.get());
        _server->listen(std::move(listener));
        _thread = std::thread([this] { _context.run(); });
    }

    std::size_t connections()
    {
        std::promise<std::size_t> count;
        boost::asio::post(_context, [&] { count.set_value(_server->connections()); });
        return count.get_future().get();
    }

    HttpServer::Limits _limits;
    boost::asio::io_context _context;
    std::optional<HttpServer> _server;
    std::uint16_t _port = 0;

private:
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> _work = make_work_guard(_context);
    std::thread _thread;
};

TEST_F(HttpServerTest, answersOneRequestAfterAnotherOnOneConnection)
{
    serve([](const HttpRequest& request) {
        return text(request.method + " " + request.target + " " + request.base + " " + request.authorization + " " +
                    request.body + " " + request.peer);
    });
    HttpClient client(_port);
    const std::string first = client.ask("POST /onvif/x HTTP/1.1\r\nHost: camera:80\r\nAuthorization: Digest a\r\n"
                                         "Content-Length: 3\r\n\r\nabc");
    EXPECT_THAT(first, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(first, HasSubstr("Content-Type: text/plain\r\n"));
    EXPECT_THAT(first, HasSubstr("\r\n\r\nPOST /onvif/x http://camera:80 Digest a abc 127.0.0.1"));
    EXPECT_THAT(client.ask(kGet), HasSubstr("GET /a http://camera   127.0.0.1"));
}

TEST_F(HttpServerTest, answersRequestsThatCameTogetherInTheirOrder)
{
    serve([](const HttpRequest& request) { return text(request.target); });
    HttpClient client(_port);
    EXPECT_THAT(client.ask("GET /1 HTTP/1.1\r\n\r\nGET /2 HTTP/1.1\r\n\r\n"), HasSubstr("\r\n\r\n/1"));
    EXPECT_THAT(client.readAnswer(), HasSubstr("\r\n\r\n/2"));
}

TEST_F(HttpServerTest, endsAConnectionThatTheClientWantsToEnd)
{
    serve([](const HttpRequest&) { return text("x"); });
    HttpClient client(_port);
    client.send("GET / HTTP/1.1\r\nConnection: close\r\n\r\n");
    EXPECT_THAT(client.readAll(), HasSubstr("Connection: close\r\n"));
    EXPECT_TRUE(kit::eventually([this] { return connections() == 0; }));
}

TEST_F(HttpServerTest, tellsAHandlerThatWantsToKnowWhenItsClientGoes)
{
    std::promise<void> gone;
    std::promise<HttpServer::Reply> asked;
    serveLater([&](const HttpRequest& request, const HttpServer::Reply& reply) {
        request.whenGone([&gone] { gone.set_value(); });
        asked.set_value(reply);
    });
    std::optional<HttpClient> client(_port);
    client->send(kGet);
    auto reply = asked.get_future();
    ASSERT_EQ(reply.wait_for(kit::kPatience), std::future_status::ready);
    client.reset();
    ASSERT_EQ(gone.get_future().wait_for(kit::kPatience), std::future_status::ready);
    reply.get()(text("too late"));
    EXPECT_TRUE(kit::eventually([this] { return connections() == 0; }));
}

TEST_F(HttpServerTest, aClientThatStaysGetsItsAnswersWhileItIsWatched)
{
    std::atomic<int> gone{0};
    serveLater([&](const HttpRequest& request, const HttpServer::Reply& reply) {
        request.whenGone([&gone] { ++gone; });
        boost::asio::post(_context, [reply, target = request.target] { reply(text(target)); });
    });
    HttpClient client(_port);
    EXPECT_THAT(client.ask("GET /1 HTTP/1.1\r\n\r\nGET /2 HTTP/1.1\r\n\r\n"), HasSubstr("\r\n\r\n/1"));
    EXPECT_THAT(client.readAnswer(), HasSubstr("\r\n\r\n/2"));
    EXPECT_THAT(client.ask("GET /3 HTTP/1.1\r\nConnection: close\r\n\r\n"), HasSubstr("\r\n\r\n/3"));
    EXPECT_TRUE(kit::eventually([this] { return connections() == 0; }));
    EXPECT_EQ(gone, 0);
}

TEST_F(HttpServerTest, givesAHeadRequestNoBody)
{
    serve([](const HttpRequest&) { return text("four"); });
    HttpClient client(_port);
    client.send("HEAD / HTTP/1.1\r\nConnection: close\r\n\r\n");
    const std::string answer = client.readAll();
    EXPECT_THAT(answer, HasSubstr("Content-Length: 4\r\n"));
    EXPECT_THAT(answer, testing::EndsWith("\r\n\r\n"));
}

TEST_F(HttpServerTest, tellsEachWayToLogIn)
{
    serve([](const HttpRequest&) {
        HttpAnswer answer;
        answer.status = 401;
        answer.challenges = {"Digest a", "Digest b"};
        return answer;
    });
    const std::string answer = HttpClient(_port).ask(kGet);
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 401 Unauthorized\r\n"));
    EXPECT_THAT(answer, HasSubstr("WWW-Authenticate: Digest a\r\nWWW-Authenticate: Digest b\r\n"));
    EXPECT_THAT(answer, Not(HasSubstr("Content-Type")));
}

TEST_F(HttpServerTest, callsItselfByItsAddressWhereTheClientsWordIsNoHost)
{
    serve([](const HttpRequest& request) { return text(request.base); });
    const std::string own = "http://127.0.0.1:" + std::to_string(_port);
    HttpClient client(_port);
    EXPECT_THAT(client.ask("GET / HTTP/1.0\r\nConnection: keep-alive\r\n\r\n"), HasSubstr(own));
    EXPECT_THAT(client.ask("GET / HTTP/1.1\r\nHost: a/<b>\r\n\r\n"), HasSubstr(own));
    EXPECT_THAT(client.ask("GET / HTTP/1.1\r\nHost: [::1]:8080\r\n\r\n"), HasSubstr("http://[::1]:8080"));
}

TEST_F(HttpServerTest, asksForTheBodyOfAClientThatWaitsForThat)
{
    serve([](const HttpRequest& request) { return text(request.body); });
    HttpClient client(_port);
    EXPECT_EQ("HTTP/1.1 100 Continue\r\n\r\n",
              client.ask("POST / HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 2\r\n\r\n"));
    EXPECT_THAT(client.ask("ab"), HasSubstr("\r\n\r\nab"));
}

TEST_F(HttpServerTest, takesABodyInChunks)
{
    serve([](const HttpRequest& request) { return text(request.body); });
    EXPECT_THAT(
        HttpClient(_port).ask("POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nab\r\n1\r\nc\r\n0\r\n\r\n"),
        HasSubstr("\r\n\r\nabc"));
}

TEST_F(HttpServerTest, refusesWhatIsTooLong)
{
    _limits.bodyBytes = 10;
    serve([](const HttpRequest&) { return text("taken"); });
    const auto answerTo = [this](const std::string& bytes) {
        HttpClient client(_port);
        client.send(bytes);
        return client.readAll();
    };
    const auto withLength = [](const std::string& length) {
        return "POST / HTTP/1.1\r\nConnection: close\r\nContent-Length: " + length + "\r\n\r\n0123456789";
    };
    EXPECT_THAT(answerTo(withLength("10")), HasSubstr("taken"));
    EXPECT_THAT(answerTo(withLength("11")), StartsWith("HTTP/1.1 413 "));
    EXPECT_THAT(answerTo(withLength("2147483648")), StartsWith("HTTP/1.1 413 "));
    EXPECT_THAT(answerTo(withLength("18446744073709551615")), StartsWith("HTTP/1.1 413 "));
    EXPECT_THAT(answerTo(withLength("99999999999999999999999")), StartsWith("HTTP/1.1 400 "));
    EXPECT_THAT(answerTo(withLength("-1")), StartsWith("HTTP/1.1 400 "));
    EXPECT_THAT(answerTo("POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n4\r\nabcd\r\n7\r\nefghijk\r\n0\r\n\r\n"),
                StartsWith("HTTP/1.1 413 "));
    EXPECT_THAT(answerTo("GET / HTTP/1.1\r\nA: " + std::string(_limits.headerBytes, 'a') + "\r\n\r\n"),
                StartsWith("HTTP/1.1 431 "));
}

TEST_F(HttpServerTest, refusesWhatIsNoHttp)
{
    serve([](const HttpRequest&) { return text("taken"); });
    for (const char* const bytes : {"\x16\x03\x01\x02garbage\r\n\r\n", "GET\r\n\r\n", "GET / HTTP/9.9\r\n\r\n"}) {
        HttpClient client(_port);
        client.send(bytes);
        EXPECT_THAT(client.readAll(), StartsWith("HTTP/1.1 400 ")) << bytes;
    }
}

TEST_F(HttpServerTest, endsConnectionsThatAreSilentAndAnswersOthersMeanwhile)
{
    _limits.header = 100ms;
    _limits.body = 100ms;
    serve([](const HttpRequest&) { return text("x"); });
    HttpClient silent(_port);
    HttpClient slowHeader(_port);
    slowHeader.send("GET / HT");
    HttpClient slowBody(_port);
    slowBody.send("POST / HTTP/1.1\r\nContent-Length: 5\r\n\r\nab");
    EXPECT_THAT(HttpClient(_port).ask(kGet), HasSubstr("200 OK"));
    EXPECT_THAT(silent.readAll(), IsEmpty());
    EXPECT_THAT(slowHeader.readAll(), IsEmpty());
    EXPECT_THAT(slowBody.readAll(), IsEmpty());
    EXPECT_TRUE(kit::eventually([this] { return connections() == 0; }));
}

TEST_F(HttpServerTest, endsAConnectionThatIsNotUsedAgain)
{
    _limits.header = 100ms;
    serve([](const HttpRequest&) { return text("x"); });
    HttpClient client(_port);
    EXPECT_THAT(client.ask(kGet), HasSubstr("200 OK"));
    EXPECT_THAT(client.readAll(), IsEmpty());
}

TEST_F(HttpServerTest, endsAConnectionWhoseClientReadsNoAnswer)
{
    _limits.answer = 100ms;
    serve([](const HttpRequest&) { return text(std::string(64 << 20, 'x')); });
    HttpClient client(_port);
    client.send(kGet);
    EXPECT_TRUE(kit::eventually([this] { return connections() == 1; }));
    EXPECT_TRUE(kit::eventually([this] { return connections() == 0; }));
}

TEST_F(HttpServerTest, waitsForAnAnswerAsLongAsItTakesAndAnswersOthersMeanwhile)
{
    _limits.header = 50ms;
    _limits.body = 50ms;
    _limits.answer = 50ms;
    std::mutex mutex;
    HttpServer::Reply late;
    serveLater([&](const HttpRequest& request, const HttpServer::Reply& reply) {
        if (request.target == "/a") {
            const std::lock_guard<std::mutex> lock(mutex);
            late = reply;
        } else {
            reply(text("at once"));
        }
    });
    HttpClient waiting(_port);
    waiting.send(kGet);
    // Each of these takes longer than the limits together.
    for (int i = 0; i < 3; ++i) {
        HttpClient silent(_port);
        EXPECT_THAT(HttpClient(_port).ask("GET /b HTTP/1.1\r\n\r\n"), HasSubstr("at once"));
        EXPECT_THAT(silent.readAll(), IsEmpty());
    }
    const std::lock_guard<std::mutex> lock(mutex);
    late(text("late"));
    EXPECT_THAT(waiting.readAnswer(), HasSubstr("late"));
}

TEST_F(HttpServerTest, takesAnAnswerForAClientThatIsGone)
{
    std::promise<HttpServer::Reply> asked;
    serveLater([&](const HttpRequest&, const HttpServer::Reply& answer) { asked.set_value(answer); });
    HttpServer::Reply reply;
    {
        HttpClient client(_port);
        client.send(kGet);
        reply = asked.get_future().get();
    }
    EXPECT_EQ(1U, connections());
    asked = {};
    reply(text(std::string(1 << 20, 'x')));
    reply = nullptr;
    EXPECT_TRUE(kit::eventually([this] { return connections() == 0; }));
}

TEST_F(HttpServerTest, hasSoManyConnectionsAtATimeAndOfOneAddress)
{
    _limits.connections = 3;
    _limits.connectionsOfOneAddress = 2;
    serve([](const HttpRequest&) { return text("x"); });
    std::optional<HttpClient> first(_port);
    HttpClient second(_port);
    EXPECT_THAT(first->ask(kGet), HasSubstr("200 OK"));
    EXPECT_THAT(second.ask(kGet), HasSubstr("200 OK"));
    EXPECT_THAT(HttpClient(_port).readAll(), IsEmpty());
    HttpClient other(_port, "127.0.0.2");
    EXPECT_THAT(other.ask(kGet), HasSubstr("200 OK"));
    EXPECT_THAT(HttpClient(_port, "127.0.0.3").readAll(), IsEmpty());
    first.reset();
    EXPECT_TRUE(kit::eventually([this] { return connections() == 2; }));
    EXPECT_THAT(HttpClient(_port, "127.0.0.3").ask(kGet), HasSubstr("200 OK"));
}

TEST_F(HttpServerTest, endsWithTheAnswersThatItOwes)
{
    std::promise<HttpServer::Reply> asked;
    serveLater([&](const HttpRequest&, const HttpServer::Reply& reply) { asked.set_value(reply); });
    HttpClient idle(_port);
    HttpClient waits(_port);
    waits.send(kGet);
    HttpServer::Reply reply = asked.get_future().get();
    std::promise<void> ended;
    boost::asio::post(_context, [&] { _server->end([&] { ended.set_value(); }); });
    std::promise<void> looked;
    boost::asio::post(_context, [&] { looked.set_value(); });
    looked.get_future().wait();
    auto end = ended.get_future();
    EXPECT_EQ(std::future_status::timeout, end.wait_for(0s));
    std::exchange(reply, {})(text("late"));
    EXPECT_THAT(waits.readAll(), HasSubstr("late"));
    EXPECT_EQ(std::future_status::ready, end.wait_for(kit::kPatience));
}

TEST_F(HttpServerTest, refusesADescriptorThatIsNoListener)
{
    HttpServer server(_context, {}, {});
    const auto refusal = kit::refusalOf([&] { server.listen(base::FileDescriptor(::dup(0))); });
    EXPECT_THAT(refusal, HasSubstr("is no TCP socket that listens"));
}

} // namespace
} // namespace camera::gateway
