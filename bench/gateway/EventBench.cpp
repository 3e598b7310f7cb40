#include "Clients.h"

#include <algorithm>
#include <fstream>
#include <sys/stat.h>

namespace {

using bench::HttpConnection;

constexpr int kSubscribers = 20;
constexpr int kBurst = 1000; // what a pull point keeps

std::string textBetween(const std::string& text, const std::string& begin, const std::string& end)
{
    const std::size_t from = text.find(begin);
    const std::size_t to = from == std::string::npos ? from : text.find(end, from + begin.size());
    if (to == std::string::npos) {
        throw std::runtime_error("'" + begin + "' is missing in: " + text);
    }
    return text.substr(from + begin.size(), to - from - begin.size());
}

/// A pull point of the engine's events on a connection of its own.
class Subscriber {
public:
    Subscriber(std::uint16_t port, const std::string& from) : _connection(port, from)
    {
        const std::string created = _connection.post(bench::withLogin(
            "<tev:CreatePullPointSubscription><tev:Filter><wsnt:TopicExpression "
            "Dialect=\"http://www.onvif.org/ver10/tev/topicExpression/ConcreteSet\">tns1:RuleEngine/Bench"
            "</wsnt:TopicExpression></tev:Filter><tev:InitialTerminationTime>PT10M</tev:InitialTerminationTime>"
            "</tev:CreatePullPointSubscription>"));
        const std::string address = textBetween(created, "<wsa:Address>", "</wsa:Address>");
        _path = address.substr(address.find('/', 8));
    }

    void ask()
    {
        _connection.send(bench::withLogin("<tev:PullMessages><tev:Timeout>PT20S</tev:Timeout>"
                                          "<tev:MessageLimit>1000</tev:MessageLimit></tev:PullMessages>"),
                         _path);
    }

    /// @returns how many events it has; @param last  gets the time at which the last of them was raised.
    int take(std::chrono::nanoseconds& last)
    {
        const std::string answer = _connection.answer();
        int count = 0;
        constexpr const char* kRaised = "Name=\"Raised\" Value=\"";
        std::size_t at = answer.find(kRaised);
        for (std::size_t next = at; next != std::string::npos; next = answer.find(kRaised, at + 1)) {
            at = next;
            ++count;
        }
        if (count == 0) {
            throw std::runtime_error("no event came within 20 s");
        }
        last = std::chrono::nanoseconds(std::stoll(textBetween(answer.substr(at), kRaised, "\"")));
        return count;
    }

    void end() { _connection.post(bench::withLogin("<wsnt:Unsubscribe/>"), _path); }

private:
    HttpConnection _connection;
    std::string _path;
};

class Pipe {
public:
    Pipe() : _path("/tmp/bench-events-" + std::to_string(::getpid()))
    {
        if (::mkfifo(_path.c_str(), 0600) != 0 || ::setenv("BENCH_EVENTS", _path.c_str(), 1) != 0) {
            throw std::runtime_error("cannot make " + _path);
        }
    }
    ~Pipe() { ::unlink(_path.c_str()); }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    void raise(int count) { std::ofstream(_path) << count << std::endl; }

private:
    const std::string _path;
};

using Subscribers = std::vector<std::unique_ptr<Subscriber>>;

/// Seconds until so many of them have all events; then the others take them too.
double secondsOfBurst(Pipe& pipe, const Subscribers& subscribers, std::size_t count)
{
    for (const auto& subscriber : subscribers) {
        subscriber->ask();
    }
    const auto takeAll = [](Subscriber& subscriber) {
        std::chrono::nanoseconds raised{};
        for (int had = subscriber.take(raised); had < kBurst; had += subscriber.take(raised)) {
            subscriber.ask();
        }
    };
    const auto from = subscribers.begin() + static_cast<std::ptrdiff_t>(count);
    const double seconds = bench::secondsOf([&] {
        pipe.raise(kBurst);
        std::for_each(subscribers.begin(), from, [&](const auto& subscriber) { takeAll(*subscriber); });
    });
    std::for_each(from, subscribers.end(), [&](const auto& subscriber) { takeAll(*subscriber); });
    return seconds;
}

} // namespace

int main(int argc, char** argv)
{
    const bench::Pairs pairs(argc, argv);
    Pipe pipe;
    const bench::Camera camera({"--engine", EVENT_ENGINE});
    const std::uint16_t port = camera.port();
    HttpConnection client(port);
    bench::Bus bus(camera.bus());
    const std::string getServices =
        bench::envelope("", "<tds:GetServices><tds:IncludeCapability>false</tds:IncludeCapability></tds:GetServices>");

    Subscriber one(port, "127.0.0.1");
    const auto untilTaken = [&] {
        one.ask();
        client.post(getServices); // answered behind it: now it waits
        pipe.raise(1);
        std::chrono::nanoseconds raised{};
        one.take(raised);
        return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch() - raised).count();
    };
    pairs.compare("event from the engine to a client that waits for it", untilTaken, "empty call over the bus",
                  bench::waited([&] { bus.ping(); }));
    pairs.compare("event from the engine to a client that waits for it", untilTaken, "ONVIF GetServices",
                  bench::waited([&] { client.post(getServices); }));

    one.end();

    Subscribers subscribers;
    while (subscribers.size() < kSubscribers) { // a computer may have 16 connections
        const std::string from = subscribers.size() < kSubscribers / 2 ? "127.0.0.2" : "127.0.0.3";
        subscribers.push_back(std::make_unique<Subscriber>(port, from));
    }
    std::vector<double> times;
    pairs.compare(
        "1,000 events to 20 subscribers",
        [&] {
            times.push_back(secondsOfBurst(pipe, subscribers, kSubscribers));
            return times.back();
        },
        "until the first of them has them", [&] { return secondsOfBurst(pipe, subscribers, 1); });
    if (!times.empty()) {
        std::nth_element(times.begin(), times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2), times.end());
        std::printf("note\t20 subscribers get %.0f events of one engine a second, which is %.0f messages a second.\n",
                    kBurst / times[times.size() / 2], kBurst * kSubscribers / times[times.size() / 2]);
    }
}
