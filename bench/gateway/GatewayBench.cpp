#include "Clients.h"
#include "camera/onvif/AnalyticsState.h"

#include <algorithm>
#include <fstream>

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using asio::ip::tcp;
using bench::envelope;
using bench::HttpConnection;
using bench::secondsOf;
using bench::waited;

/// The smallest server that the library makes, as a process like the gateway: it reads a request and answers the same
/// every time.
class BareServer {
public:
    explicit BareServer(const std::string& answer) : _acceptor(_context, {asio::ip::address_v4::loopback(), 0})
    {
        _pid = ::fork();
        if (_pid == 0) {
            serve(answer);
            std::_Exit(0);
        }
    }
    ~BareServer()
    {
        ::waitpid(_pid, nullptr, 0); // its one client has gone
    }
    BareServer(const BareServer&) = delete;
    BareServer& operator=(const BareServer&) = delete;

    std::uint16_t port() const { return _acceptor.local_endpoint().port(); }

private:
    void serve(const std::string& answer)
    {
        tcp::socket socket = _acceptor.accept();
        socket.set_option(tcp::no_delay(true));
        beast::flat_buffer buffer;
        for (beast::error_code error; !error;) {
            http::request<http::string_body> request;
            http::read(socket, buffer, request, error);
            http::response<http::string_body> response(http::status::ok, 11);
            response.body() = answer;
            response.prepare_payload();
            if (!error) {
                http::write(socket, response, error);
            }
        }
    }

    asio::io_context _context;
    tcp::acceptor _acceptor;
    pid_t _pid = -1;
};

std::string analytics(const std::string& operation, const std::string& content = "")
{
    return bench::withLogin("<tan:" + operation +
                            "><tan:ConfigurationToken>AnalyticsConfiguration_1</tan:ConfigurationToken>" + content +
                            "</tan:" + operation + ">");
}

std::string nameOf(int number)
{
    return "Rule " + std::to_string(number);
}

/// Rules at the preset of the camera. @param element  "tan:Rule"; @param preset  how the parameter is called
std::string rules(const char* element, const char* preset, int from, int to)
{
    std::string all;
    for (int number = from; number < to; ++number) {
        all += std::string("<") + element + " Name=\"" + nameOf(number) +
               "\" Type=\"tt:MotionRegionDetector\"><tt:Parameters><tt:SimpleItem Name=\"" + preset +
               "\" Value=\"Gate\"/></tt:Parameters></" + element + ">";
    }
    return all;
}

std::string deletion(int from, int to)
{
    std::string names;
    for (int number = from; number < to; ++number) {
        names += "<tan:RuleName>" + nameOf(number) + "</tan:RuleName>";
    }
    return analytics("DeleteRules", names);
}

/// The plug-in's service, called over the bus.
class Plugin {
public:
    explicit Plugin(sdbus::IProxy& proxy) : _plugin(proxy) {}

    std::size_t countRules()
    {
        std::vector<std::string> all;
        _plugin.callMethod("getCurrentRules").onInterface(interface()).storeResultsTo(all);
        return all.size();
    }

    /// The rules from 0 to before that number are those of the preset.
    void setRules(int to)
    {
        const std::string document =
            "<tt:VideoAnalyticsConfiguration xmlns:tt=\"http://www.onvif.org/ver10/schema\" token=\"a\"><tt:Name/>"
            "<tt:UseCount>1</tt:UseCount><tt:AnalyticsEngineConfiguration/><tt:RuleEngineConfiguration>" +
            rules("tt:Rule", camera::onvif::kInsidePreset, 0, to) +
            "</tt:RuleEngineConfiguration></tt:VideoAnalyticsConfiguration>";
        std::int32_t result = -1;
        std::uint8_t failed = 1;
        _plugin.callMethod("setConfiguration")
            .onInterface(interface())
            .withArguments(document)
            .storeResultsTo(result, failed);
        if (result != 0 || failed != 0) {
            throw std::runtime_error("the plug-in refuses its rules");
        }
    }

private:
    static std::string interface() { return camera::bus::interfaceName(camera::bus::service::kOnvifAnalyticService); }

    sdbus::IProxy& _plugin;
};

/// Memory that a process alone has, in MiB.
double megabytesOf(const std::string& process)
{
    std::ifstream in("/proc/" + process + "/smaps_rollup");
    for (std::string word; in >> word;) {
        if (double kilobytes = 0; (word == "Pss:") && in >> kilobytes) {
            return kilobytes / 1024;
        }
    }
    throw std::runtime_error("the memory of process " + process + " cannot be read");
}

/// Prints a sentence for scripts/bench: what as many clients as the gateway takes cost it.
void tellMemory(const std::string& process, std::uint16_t port, const std::string& request)
{
    constexpr int kConnections = 64; // 16 from one address at most, and one is open
    const double atRest = megabytesOf(process);
    std::vector<std::unique_ptr<HttpConnection>> connections;
    while (connections.size() + 1 < kConnections) {
        const std::string from = "127.0.0." + std::to_string(2 + connections.size() % 4);
        connections.push_back(std::make_unique<HttpConnection>(port, from));
        connections.back()->post(request);
    }
    std::printf(
        "note\tThe gateway takes %.1f MiB of memory (its share of what others use too) with one connection, and "
        "%.1f MiB with %d.\n",
        atRest, megabytesOf(process), kConnections);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    const bench::Pairs pairs(argc, argv);
    bench::stayOnOneProcessor();
    const bench::Camera camera;
    const std::uint16_t port = camera.port();
    HttpConnection client(port);
    bench::Bus bus(camera.bus());
    Plugin plugin(bus.plugin());
    const std::string getServices =
        envelope("", "<tds:GetServices><tds:IncludeCapability>false</tds:IncludeCapability></tds:GetServices>");
    tellMemory(camera.status("gateway")["pid"].asString(), port, getServices);
    const BareServer bare(client.post(getServices));
    HttpConnection bareClient(bare.port());
    pairs.compare("bare HTTP server with an answer as large", waited([&] { bareClient.post(getServices); }),
                  "ONVIF GetServices", waited([&] { client.post(getServices); }), bench::atLeast(0.6));

    client.post(analytics("CreateRules", rules("tan:Rule", "PresetToken", 0, 1)));
    const auto getRules = waited([&] { client.post(analytics("GetRules")); });
    // What it has made is taken away again, which is not measured.
    const auto create = [&](int count) {
        return [&client, count] {
            const std::string request = analytics("CreateRules", rules("tan:Rule", "PresetToken", 1, count + 1));
            const double seconds = secondsOf([&] { client.post(request); });
            client.post(deletion(1, count + 1));
            return seconds;
        };
    };
    const auto setAll = [&](int count) {
        return [&plugin, count] {
            const double seconds = secondsOf([&] { plugin.setRules(count + 1); });
            plugin.setRules(1);
            return seconds;
        };
    };
    pairs.compare("ONVIF CreateRules, one rule", create(1), "the same document given to the plug-in", setAll(1));
    pairs.compare("ONVIF CreateRules, 1,000 rules in one list", create(999), "the same document given to the plug-in",
                  setAll(999), bench::atMost(3));
    plugin.setRules(2);
    pairs.compare("ONVIF GetRules, 2 rules", getRules, "empty call over the bus", waited([&] { bus.ping(); }));
    plugin.setRules(1000);
    pairs.compare("ONVIF GetRules, 1,000 rules", getRules, "the plug-in's list over the bus",
                  waited([&] { plugin.countRules(); }));
}
