// Messages to consumers that take them, and to those that want to harm.
#include "camera/gateway/NotifySender.h"

#include "camera/base/ListeningSocket.h"
#include "camera/gateway/NotifyAnswer.h"
#include "kit/Eventually.h"
#include "kit/Refusal.h"

#include <gmock/gmock.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>

#include <future>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <tuple>
#include <vector>

namespace camera::gateway {
namespace {

using namespace std::chrono_literals;
using onvif::Fault;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

/// A consumer's side of one connection.
class Accepted {
public:
    explicit Accepted(int listener)
    {
        pollfd comes{listener, POLLIN, 0}; // the listener itself does not wait
        EXPECT_EQ(1, ::poll(&comes, 1, static_cast<int>(std::chrono::milliseconds(::kit::kPatience).count())));
        _socket = base::FileDescriptor(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
        const timeval patience{::kit::kPatience.count(), 0};
        ::setsockopt(_socket.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    }

    /// Reads until the text has come.
    std::string readUntil(const std::string& text)
    {
        std::string read;
        std::string bytes(65536, '\0');
        while (read.find(text) == std::string::npos) {
            const ssize_t count = ::recv(_socket.get(), bytes.data(), bytes.size(), 0);
            if (count <= 0) {
                break;
            }
            read.append(bytes, 0, static_cast<std::size_t>(count));
        }
        return read;
    }

    /// False when the other side has ended the connection.
    bool send(const std::string& bytes)
    {
        return ::send(_socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
    }

    /// Ends it with a reset.
    void reset()
    {
        const linger now{1, 0};
        ::setsockopt(_socket.get(), SOL_SOCKET, SO_LINGER, &now, sizeof(now));
        _socket = base::FileDescriptor();
    }

private:
    base::FileDescriptor _socket;
};

class NotifySenderTest : public testing::Test {
protected:
    ~NotifySenderTest() override
    {
        _work.reset();
        _context.stop();
        _thread.join();
    }

    onvif::PushMessage message(const std::string& path = "/events") const
    {
        return {"http://127.0.0.1:" + std::to_string(port) + path, "127.0.0.1", "urn:notify", "<a message/>"};
    }

    /// What it ended with: an empty text when the consumer took it.
    std::future<std::string> post(const onvif::PushMessage& message, std::chrono::milliseconds limit = ::kit::kPatience)
    {
        const auto ended = std::make_shared<std::promise<std::string>>();
        boost::asio::post(_context, [this, message, limit, ended] {
            NotifySender(_context, limit).post(message, [ended](const std::optional<Fault>& failure) {
                ended->set_value(failure ? failure->what() : "");
            });
        });
        return ended->get_future();
    }

    /// What it ends with when the consumer answers with these bytes and keeps the connection open.
    std::string answered(const std::string& bytes)
    {
        auto ended = post(message());
        Accepted consumer(listener.get());
        consumer.readUntil("<a message/>");
        consumer.send(bytes);
        return ended.get();
    }

    const base::FileDescriptor listener = base::listeningSocket("127.0.0.1", 0);
    const int port = base::portOf(listener.get());

private:
    boost::asio::io_context _context{1};
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> _work = make_work_guard(_context);
    std::thread _thread{[this] { _context.run(); }};
};

TEST_F(NotifySenderTest, aConsumerGetsTheMessageAndIsAskedForNoMoreThanItsStatus)
{
    auto ended = post(message("/events?of=me"));
    Accepted consumer(listener.get());
    EXPECT_THAT(consumer.readUntil("<a message/>"),
                AllOf(StartsWith("POST /events?of=me HTTP/1.1\r\n"),
                      HasSubstr("Content-Type: application/soap+xml; charset=utf-8; action=\"urn:notify\"\r\n"),
                      HasSubstr("Host: 127.0.0.1:" + std::to_string(port) + "\r\n"), HasSubstr("Connection: close\r\n"),
                      HasSubstr("Content-Length: 12\r\n\r\n")));
    EXPECT_TRUE(consumer.send("HTTP/1.1 202 Accepted\r\nContent-Le"));
    EXPECT_TRUE(consumer.send("ngth: 1000000000\r\n\r\n"));
    EXPECT_EQ(ended.get(), "") << "the body is not waited for";
    EXPECT_EQ(consumer.readUntil("anything"), "") << "the connection has ended";
}

TEST_F(NotifySenderTest, whatIsNoSuccessIsAFailureWithItsSentence)
{
    const std::string begin = "the consumer 'http://127.0.0.1:" + std::to_string(port) + "/events' ";
    EXPECT_EQ(answered("HTTP/1.1 200 OK\r\n\r\n"), "");
    EXPECT_EQ(answered("HTTP/1.0 204 No Content\r\n\r\n"), "");
    for (const char* bytes :
         {"HTTP/1.1 500 Internal Server Error\r\n\r\n", "HTTP/1.1 301 Moved\r\nLocation: /x\r\n\r\n",
          "no HTTP at all\r\n\r\n", "HTTP/1.1 xyz\r\n\r\n"}) {
        EXPECT_EQ(answered(bytes), begin + "did not answer that it has taken a message") << bytes;
    }
}

TEST_F(NotifySenderTest, headersWithoutEndAreGivenUp)
{
    auto ended = post(message());
    Accepted consumer(listener.get());
    consumer.readUntil("<a message/>");
    consumer.send("HTTP/1.1 200 OK\r\n");
    while (consumer.send("X-More: " + std::string(1000, 'x') + "\r\n")) {
    }
    EXPECT_THAT(ended.get(), HasSubstr("did not answer that it has taken a message"));
    EXPECT_THAT(answered(std::string(100000, 'x')), HasSubstr("did not answer that it has taken a message"));
}

TEST(NotifyAnswerTest, headersHaveOneLimitInWhateverPiecesTheyCome)
{
    for (std::size_t size = NotifyAnswer::kMostBytes - 40; size < NotifyAnswer::kMostBytes + 40; ++size) {
        const std::string begin = "HTTP/1.1 200 OK\r\nX: ";
        const std::string text = begin + std::string(size - begin.size() - 4, 'x') + "\r\n\r\n";
        for (const std::size_t piece : {std::size_t(1), std::size_t(7), std::size_t(2048), text.size()}) {
            NotifyAnswer answer;
            auto state = NotifyAnswer::State::more;
            for (std::size_t at = 0; at < text.size() && state == NotifyAnswer::State::more; at += piece) {
                state = answer.put(std::string_view(text).substr(at, piece));
            }
            EXPECT_EQ(size <= NotifyAnswer::kMostBytes, state == NotifyAnswer::State::taken) << size << " by " << piece;
        }
    }
}

TEST_F(NotifySenderTest, oneThatDoesNotAnswerIsGivenUp)
{
    auto ended = post(message(), 100ms);
    Accepted consumer(listener.get());
    EXPECT_THAT(ended.get(), HasSubstr("did not answer in time"));
    auto other = post(message(), 300ms);
    Accepted slow(listener.get());
    std::thread drops([&slow] { // a byte at a time does not make it longer
        while (slow.send("H")) {
            std::this_thread::yield();
        }
    });
    EXPECT_THAT(other.get(), HasSubstr("did not answer"));
    drops.join();
}

TEST_F(NotifySenderTest, oneThatDoesNotReadIsGivenUp)
{
    onvif::PushMessage large = message();
    large.text = std::string(50'000'000, 'x');
    auto ended = post(large, 200ms);
    Accepted consumer(listener.get());
    EXPECT_THAT(ended.get(), HasSubstr("did not answer in time"));
}

TEST_F(NotifySenderTest, oneThatEndsTheConnectionHasNotTakenTheMessage)
{
    auto ended = post(message());
    Accepted(listener.get()).reset();
    EXPECT_THAT(ended.get(), HasSubstr("cannot be reached: "));
    auto other = post(message());
    {
        Accepted consumer(listener.get());
        consumer.readUntil("<a message/>");
    }
    EXPECT_THAT(other.get(), HasSubstr("cannot be reached: "));
}

TEST_F(NotifySenderTest, whereNobodyListensIsSaid)
{
    onvif::PushMessage nobody = message();
    {
        const base::FileDescriptor gone = base::listeningSocket("127.0.0.1", 0);
        nobody.address = "http://127.0.0.1:" + std::to_string(base::portOf(gone.get())) + "/";
    }
    EXPECT_THAT(post(nobody).get(),
                AllOf(StartsWith("the consumer '" + nobody.address), HasSubstr("cannot be reached: ")));
}

TEST_F(NotifySenderTest, onlyTheAddressThatSubscribedIsReached)
{
    onvif::PushMessage other = message();
    other.onlyHost = "127.0.0.2";
    EXPECT_THAT(post(other).get(), HasSubstr("is not at the address 127.0.0.2, which subscribed"));
    other.address = "http://localhost:" + std::to_string(port) + "/";
    EXPECT_THAT(post(other).get(), HasSubstr("is given by a name; give its numeric address"));
    other.address = "https://127.0.0.1/";
    EXPECT_THAT(post(other).get(), HasSubstr("is none of the form http://ADDRESS:PORT/PATH"));
    onvif::PushMessage mapped = message();
    mapped.onlyHost = "::ffff:127.0.0.1";
    auto taken = post(mapped);
    {
        Accepted consumer(listener.get());
        consumer.readUntil("<a message/>");
        consumer.send("HTTP/1.1 200 OK\r\n\r\n");
        EXPECT_EQ(taken.get(), "") << "another spelling of its address";
    }
    onvif::PushMessage any = message();
    any.onlyHost = "";
    auto ended = post(any);
    Accepted consumer(listener.get());
    consumer.readUntil("<a message/>");
    consumer.send("HTTP/1.1 200 OK\r\n\r\n");
    EXPECT_EQ(ended.get(), "");
}

TEST(ConsumerAddress, isReadInItsParts)
{
    const auto parts = [](const std::string& text) {
        const ConsumerAddress address = ConsumerAddress::of(text);
        return std::tuple(address.host, address.port, address.target, address.authority);
    };
    using Parts = std::tuple<std::string, unsigned short, std::string, std::string>;
    EXPECT_EQ(parts("http://192.168.1.9"), Parts("192.168.1.9", 80, "/", "192.168.1.9"));
    EXPECT_EQ(parts("http://192.168.1.9:5000/a/b?c=d#e"), Parts("192.168.1.9", 5000, "/a/b?c=d", "192.168.1.9:5000"));
    EXPECT_EQ(parts("http://[fe80::1]:65535?q"), Parts("fe80::1", 65535, "/?q", "[fe80::1]:65535"));
    EXPECT_EQ(parts("http://[::1]/"), Parts("::1", 80, "/", "[::1]"));
    for (const char* text :
         {"", "http://", "http:///a", "http://:80/", "http://a:0/", "http://a:65536/", "http://a:8x/", "http://a:/",
          "http://[::1", "http://[::1]8080/", "http://[]/", "http://user@a/", "http://a/b c", "http://a/\r\nX: y",
          "http://a/\xc3\xa4", "ftp://a/", "HTTP//a"}) {
        EXPECT_THROW(ConsumerAddress::of(text), Fault) << text;
    }
}

} // namespace
} // namespace camera::gateway
