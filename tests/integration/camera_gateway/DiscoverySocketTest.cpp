// Discovery over real datagrams, on the link of this computer alone.
#include "camera/gateway/DiscoverySocket.h"

#include "kit/Eventually.h"
#include "kit/LogLines.h"

#include <gmock/gmock.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/ip/multicast.hpp>
#include <boost/asio/ip/udp.hpp>
#include <boost/asio/post.hpp>

#include <array>
#include <deque>
#include <future>
#include <memory>
#include <mutex>
#include <net/if.h>
#include <optional>
#include <poll.h>
#include <set>
#include <thread>

namespace camera::gateway {
namespace {

using boost::asio::ip::make_address_v4;
using boost::asio::ip::udp;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr std::uint32_t kHere = 0x7f000001;
constexpr std::uint32_t kEighth = 0xff000000;
constexpr std::chrono::milliseconds kNever = std::chrono::hours(1); // while a test runs

std::string probe(const std::string& id)
{
    return "<e:Envelope xmlns:e='http://www.w3.org/2003/05/soap-envelope' "
           "xmlns:a='http://schemas.xmlsoap.org/ws/2004/08/addressing' "
           "xmlns:d='http://schemas.xmlsoap.org/ws/2005/04/discovery'><e:Header><a:MessageID>" +
           id + "</a:MessageID></e:Header><e:Body><d:Probe/></e:Body></e:Envelope>";
}

/// Somebody who listens on the link and asks there.
class Stranger {
public:
    explicit Stranger(std::uint16_t port = 0, const char* address = "127.0.0.1")
    {
        _socket.open(udp::v4());
        _socket.set_option(udp::socket::reuse_address(true));
        _socket.bind({port == 0 ? make_address_v4(address) : make_address_v4("239.255.255.250"), port});
        if (port != 0) {
            _socket.set_option(boost::asio::ip::multicast::join_group(make_address_v4("239.255.255.250"),
                                                                      make_address_v4("127.0.0.1")));
        }
        _socket.set_option(boost::asio::ip::multicast::outbound_interface(make_address_v4("127.0.0.1")));
    }

    std::uint16_t port() const { return _socket.local_endpoint().port(); }

    void send(const std::string& text, std::uint16_t port)
    {
        _socket.send_to(boost::asio::buffer(text), {make_address_v4("239.255.255.250"), port});
    }

    /// The next datagram that contains the word; empty when the patience ends before.
    std::string next(const std::string& word)
    {
        std::array<char, 65536> buffer{};
        for (;;) {
            pollfd readable{_socket.native_handle(), POLLIN, 0};
            const auto patience = std::chrono::duration_cast<std::chrono::milliseconds>(::kit::kPatience);
            if (::poll(&readable, 1, static_cast<int>(patience.count())) != 1) {
                return "";
            }
            const std::string text(buffer.data(), _socket.receive(boost::asio::buffer(buffer)));
            if (text.find(word) != std::string::npos) {
                return text;
            }
            others.push_back(text);
        }
    }

    std::vector<std::string> others; ///< what was not waited for

private:
    boost::asio::io_context _context;
    udp::socket _socket{_context};
};

/// A port of this computer that nobody has.
std::uint16_t freePort()
{
    boost::asio::io_context context;
    return udp::socket(context, udp::endpoint(make_address_v4("127.0.0.1"), 0)).local_endpoint().port();
}

Link loopback(std::vector<LinkAddress> addresses = {{kHere, kEighth}})
{
    return {"lo", ::if_nametoindex("lo"), std::move(addresses)};
}

class DiscoverySocketTest : public testing::Test {
protected:
    ~DiscoverySocketTest() override
    {
        run([this] { _discovery.reset(); });
        _context.stop();
        _thread.join();
    }

    /// @param then  what happens before any time goes by.
    void begin(
        bool discoverable = true, const std::function<void()>& then = [] {})
    {
        run([&] {
            DiscoverySocket::Place place;
            place.links = [this] {
                const std::lock_guard<std::mutex> lock(_mutex);
                ++_looks;
                return _links;
            };
            place.addresses = [](const std::string& host) { return std::vector<std::string>{"http://" + host + "/"}; };
            place.port = port;
            place.betweenLooks = std::chrono::milliseconds(1);
            place.beforeTelling = [this] { return _times.empty() ? std::chrono::milliseconds(0) : nextTime(); };
            place.beforeRepeating = [this] { return _repeated; };
            _discovery = std::make_unique<DiscoverySocket>(
                _context, onvif::Discovery("u-u-i-d", 1, {{"onvif://www.onvif.org/name/a"}, discoverable}), place);
            then();
        });
    }

    /// On the thread of the sockets.
    void run(const std::function<void()>& what)
    {
        const auto done = std::make_shared<std::promise<void>>();
        boost::asio::post(_context, [what, done] {
            what();
            done->set_value();
        });
        done->get_future().wait();
    }

    /// Returns when what has come is read.
    void settle()
    {
        constexpr int kTurns = 4; // the sockets are looked at between each two
        for (int turn = 0; turn < kTurns; ++turn) {
            run([] {});
        }
    }

    void tell(const std::string& scope, bool discoverable)
    {
        run([&] { _discovery->tell({{scope}, discoverable}); });
    }

    /// Before begin(): the next times that it waits before it tells of itself. Afterwards it does not wait.
    void waits(std::vector<std::chrono::milliseconds> times) { _times.assign(times.begin(), times.end()); }

    /// Before begin().
    void repeatsAfter(std::chrono::milliseconds time) { _repeated = time; }

    /// Before begin().
    void startWith(std::vector<Link> links) { _links = std::move(links); }

    /// Returns when a look has seen them.
    void setLinks(std::vector<Link> links)
    {
        int looks = 0;
        {
            const std::lock_guard<std::mutex> lock(_mutex);
            _links = std::move(links);
            looks = _looks;
        }
        EXPECT_TRUE(::kit::eventually([&] {
            const std::lock_guard<std::mutex> lock(_mutex);
            return _looks > looks + 1;
        }));
    }

    const ::kit::LogLines errors;
    const std::uint16_t port = freePort();

private:
    std::chrono::milliseconds nextTime()
    {
        const std::chrono::milliseconds time = _times.front();
        _times.pop_front();
        return time;
    }

    std::deque<std::chrono::milliseconds> _times;
    std::chrono::milliseconds _repeated = kNever;
    std::mutex _mutex;
    std::vector<Link> _links{loopback()};
    int _looks = 0;
    boost::asio::io_context _context;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> _work = make_work_guard(_context);

protected:
    std::unique_ptr<DiscoverySocket> _discovery;

private:
    std::thread _thread{[this] { _context.run(); }};
};

TEST_F(DiscoverySocketTest, saysHelloAndByeToAll)
{
    Stranger all(port);
    begin();
    EXPECT_THAT(all.next("discovery/Hello"), AllOf(HasSubstr("urn:uuid:u-u-i-d"), HasSubstr(">http://127.0.0.1/<")));
    run([this] {
        _discovery->end();
        _discovery->end();
    });
    EXPECT_THAT(all.next("discovery/Bye"), HasSubstr("urn:uuid:u-u-i-d"));
    run([this] { _discovery.reset(); });
    all.send("the last one", port);
    all.next("the last one");
    EXPECT_THAT(all.others, IsEmpty()) << "once";
}

TEST_F(DiscoverySocketTest, answersWhoAsksAndNobodyElse)
{
    Stranger all(port);
    begin();
    Stranger one;
    one.send(std::string(60000, 'x'), port);
    one.send("", port);
    one.send(probe("urn:1"), port);
    EXPECT_THAT(one.next("ProbeMatches"), AllOf(HasSubstr("RelatesTo>urn:1<"), HasSubstr(">http://127.0.0.1/<")));
    one.send(probe("urn:1"), port);
    one.send(probe("urn:2"), port);
    EXPECT_THAT(one.next("ProbeMatches"), HasSubstr("RelatesTo>urn:2<"));
    one.send("the last one", port);
    all.next("the last one");
    EXPECT_THAT(all.others, Not(Contains(HasSubstr("ProbeMatches"))));
}

TEST_F(DiscoverySocketTest, answersOnlyFromANetworkOfTheLink)
{
    startWith({loopback({{0x7f000001, 0xffffff00}, {0x7f000201, 0xffffff00}})});
    begin();
    Stranger off(0, "127.0.1.1");
    off.send(probe("urn:off"), port);
    settle();
    Stranger second(0, "127.0.2.7");
    second.send(probe("urn:second"), port);
    EXPECT_THAT(second.next("ProbeMatches"), HasSubstr(">http://127.0.2.1/<")) << "by the address of its network";
    setLinks({loopback({{0x7f000101, 0xffffff00}})});
    off.send(probe("urn:on"), port);
    EXPECT_THAT(off.next("ProbeMatches"), HasSubstr("RelatesTo>urn:on<")) << "not the earlier one";
}

TEST_F(DiscoverySocketTest, saysHelloAgainWhenWhatIsToldChanges)
{
    Stranger all(port);
    begin();
    all.next("discovery/Hello");
    tell("onvif://www.onvif.org/name/a", true);
    tell("onvif://www.onvif.org/name/b", true);
    EXPECT_THAT(all.next("discovery/Hello"), AllOf(HasSubstr("name/b"), HasSubstr("MetadataVersion>2<")));
    tell("onvif://www.onvif.org/name/b", false);
    EXPECT_THAT(all.next("discovery/Bye"), HasSubstr("urn:uuid:u-u-i-d"));
    all.others.clear();
    tell("onvif://www.onvif.org/name/c", false);
    Stranger one;
    one.send(probe("urn:1"), port);
    settle();
    tell("onvif://www.onvif.org/name/c", true);
    EXPECT_THAT(all.next("discovery/Hello"), HasSubstr("name/c"));
    EXPECT_THAT(all.others, ElementsAre(HasSubstr("d:Probe"))) << "it is silent while it is not to be found";
    one.send(probe("urn:2"), port);
    EXPECT_THAT(one.next("ProbeMatches"), HasSubstr("RelatesTo>urn:2<"));
}

TEST_F(DiscoverySocketTest, aCameraThatIsNotToBeFoundSaysNothing)
{
    Stranger all(port);
    begin(false);
    run([this] { _discovery->end(); });
    all.send("the last one", port);
    all.next("the last one");
    EXPECT_THAT(all.others, IsEmpty());
}

TEST_F(DiscoverySocketTest, linksComeChangeAndGo)
{
    startWith({});
    Stranger all(port);
    begin();
    Stranger one;
    one.send(probe("urn:1"), port);
    settle();
    setLinks({loopback()});
    EXPECT_THAT(all.next("discovery/Hello"), HasSubstr(">http://127.0.0.1/<"));
    setLinks({loopback({{0x7f000005, kEighth}})});
    EXPECT_THAT(all.next("discovery/Hello"), HasSubstr(">http://127.0.0.5/<"));
    one.send(probe("urn:2"), port);
    EXPECT_THAT(one.next("ProbeMatches"), HasSubstr("RelatesTo>urn:2<"));
    setLinks({});
    one.send(probe("urn:3"), port);
    settle();
    setLinks({{"nowhere", 1000000, {{kHere, kEighth}}}});
    setLinks({loopback()});
    one.send(probe("urn:4"), port);
    EXPECT_THAT(one.next("ProbeMatches"), HasSubstr("RelatesTo>urn:4<"));
}

TEST_F(DiscoverySocketTest, waitsBeforeItAnswersAProbe)
{
    waits({std::chrono::milliseconds(0), kNever, std::chrono::milliseconds(5)});
    begin();
    Stranger one;
    one.send(probe("urn:1"), port);
    one.send(probe("urn:2"), port);
    EXPECT_THAT(one.next("ProbeMatches"), HasSubstr("RelatesTo>urn:2<"));
}

TEST_F(DiscoverySocketTest, whoEndsMeanwhileAnswersNobody)
{
    waits({std::chrono::milliseconds(0), std::chrono::milliseconds(1), std::chrono::milliseconds(1)});
    begin();
    Stranger one;
    one.send(probe("urn:1"), port);
    settle();
    run([this] { _discovery->end(); });
    settle();
    run([this] { _discovery.reset(); });
    settle();
    EXPECT_THAT(errors.lines(), IsEmpty());
}

TEST_F(DiscoverySocketTest, oneHelloTellsAllChangesOfItsTime)
{
    waits({std::chrono::milliseconds(1)});
    Stranger all(port);
    begin(true, [this] {
        _discovery->tell({{"onvif://www.onvif.org/name/b"}, true});
        _discovery->tell({{"onvif://www.onvif.org/name/c"}, true});
    });
    EXPECT_THAT(all.next("discovery/Hello"), HasSubstr("name/c"));
    all.send("the last one", port);
    all.next("the last one");
    EXPECT_THAT(all.others, IsEmpty());
}

TEST_F(DiscoverySocketTest, sendsAgainWhatIsForAll)
{
    repeatsAfter(std::chrono::milliseconds(1));
    Stranger all(port);
    begin();
    const std::string hello = all.next("discovery/Hello");
    EXPECT_EQ(hello, all.next("discovery/Hello"));
    tell("onvif://www.onvif.org/name/a", false);
    const std::string bye = all.next("discovery/Bye");
    EXPECT_EQ(bye, all.next("discovery/Bye"));
    EXPECT_THAT(all.others, IsEmpty());
}

TEST_F(DiscoverySocketTest, doesNotRepeatWhatIsNoLongerTrue)
{
    repeatsAfter(std::chrono::milliseconds(1));
    Stranger all(port);
    begin(true, [this] { _discovery->tell({{"onvif://www.onvif.org/name/a"}, false}); });
    all.next("discovery/Bye");
    all.others.clear();
    all.next("discovery/Bye");
    EXPECT_THAT(all.others, IsEmpty()) << "no hello behind a bye";
}

TEST(DiscoveryTimesTest, areRandomWithinTheirLimits)
{
    std::set<std::int64_t> before;
    std::set<std::int64_t> again;
    for (int i = 0; i < 4000; ++i) {
        before.insert(DiscoverySocket::upToHalfASecond().count());
        again.insert(DiscoverySocket::upToAQuarterOfASecond().count());
    }
    EXPECT_GE(*before.begin(), 0);
    EXPECT_LE(*before.rbegin(), 500);
    EXPECT_GT(*before.rbegin(), 450);
    EXPECT_GE(*again.begin(), 50);
    EXPECT_LE(*again.rbegin(), 250);
    EXPECT_GT(before.size(), 400U);
    EXPECT_GT(again.size(), 150U);
}

TEST_F(DiscoverySocketTest, aPortThatCannotBeHadIsToldOnce)
{
    std::optional<udp::socket> other;
    boost::asio::io_context context;
    other.emplace(context, udp::endpoint(udp::v4(), port)); // for itself
    begin();
    setLinks({loopback()});
    EXPECT_THAT(errors.lines(), ElementsAre(AllOf(HasSubstr("the UDP port " + std::to_string(port) +
                                                            " on 'lo': Address already in use; "),
                                                  HasSubstr("start with --no-discovery"))));
    other.reset();
    Stranger all(port);
    setLinks({});
    setLinks({loopback()});
    EXPECT_THAT(all.next("discovery/Hello"), HasSubstr("urn:uuid:u-u-i-d"));
    EXPECT_THAT(errors.lines(), SizeIs(1));
}

TEST(LinksTest, anAddressOfIpv4ThatIpv6CarriesIsPlain)
{
    const auto plain = [](const char* text) { return plainAddress(boost::asio::ip::make_address(text)).to_string(); };
    EXPECT_EQ("10.0.0.1", plain("::ffff:10.0.0.1"));
    EXPECT_EQ("10.0.0.1", plain("10.0.0.1"));
    EXPECT_EQ("::1", plain("::1"));
    EXPECT_EQ("fe80::1%lo", plain("fe80::1%lo")) << "with its zone";
}

TEST(LinksTest, anAddressOfThisComputerOnlyHasNone)
{
    for (const char* const bound : {"127.0.0.1", "::1", "192.0.2.1", "2001:db8::1", "fe80::1%1", "x", ""}) {
        EXPECT_THAT(linksOf(bound), IsEmpty()) << bound;
    }
}

TEST(LinksTest, areNamedWithTheirNumberAndAddresses)
{
    for (const Link& link : linksOf("::")) {
        EXPECT_EQ(::if_nametoindex(link.name.c_str()), link.index);
        ASSERT_FALSE(link.addresses.empty());
        const Address& own = link.addresses.front().address();
        EXPECT_FALSE(own.is_loopback());
        const std::string zone = own.is_v6() && own.to_v6().is_link_local() ? "%" + link.name : "";
        ASSERT_THAT(linksOf(own.to_string() + zone), SizeIs(1));
        EXPECT_THAT(linksOf(own.to_string() + zone).front().addresses, ElementsAre(link.addresses.front()));
        bool forLink = false; // those of the link only are the last ones
        for (const LinkAddress& each : link.addresses) {
            EXPECT_EQ(link.isLong(), each.address().is_v6());
            const bool thisOne = each.address().is_v6() && each.address().to_v6().is_link_local();
            EXPECT_TRUE(thisOne || !forLink);
            forLink = thisOne;
        }
    }
    for (const Link& link : linksOf("0.0.0.0")) {
        EXPECT_FALSE(link.isLong());
    }
}

std::vector<std::string> found(const Link& link, const Address& stranger)
{
    std::vector<std::string> texts;
    for (const Address& address : addressesFor(link, stranger)) {
        texts.push_back(address.to_string());
    }
    return texts;
}

TEST(LinksTest, aStrangerIsNearInANetworkOfTheLink)
{
    const Link link{
        "a", 1, {{0x0a000001, 0xffffff00}, {0x0a000181, 0xffffff80}, {0x0a000301, 0xfffffffe}, {0x0a000501, ~0U}}};
    const auto near = [&link](std::uint32_t stranger) { return found(link, boost::asio::ip::address_v4(stranger)); };
    EXPECT_THAT(near(0x0a0000fe), ElementsAre("10.0.0.1"));
    EXPECT_THAT(near(0x0a000182), ElementsAre("10.0.1.129"));
    EXPECT_THAT(near(0x0a000001), ElementsAre("10.0.0.1")) << "itself";
    EXPECT_THAT(near(0x0a000300), ElementsAre("10.0.3.1")) << "two of a point-to-point link";
    EXPECT_THAT(near(0x0a000501), ElementsAre("10.0.5.1"));
    for (const std::uint32_t stranger : {0x0a000000U, 0x0a0000ffU, 0x0a000101U, 0x0a000180U, 0x0a000200U, 0x0a000302U,
                                         0x0a000502U, 0x0b000001U, 0U, ~0U}) {
        EXPECT_THAT(near(stranger), IsEmpty()) << std::hex << stranger;
    }
}

TEST(LinksTest, aStrangerOfIpv6IsNearInItsNetworkOrWithAnAddressOfTheLink)
{
    using boost::asio::ip::make_address_v6;
    const Link link{"a",
                    7,
                    {{make_address_v6("2001:db8:0:1::2"), 64},
                     {make_address_v6("2001:db8:0:1::3"), 64},
                     {make_address_v6("fd00::ff"), 121},
                     {make_address_v6("fe80::1%7"), 64}}};
    const auto near = [&link](const char* stranger) { return found(link, make_address_v6(stranger)); };
    EXPECT_THAT(near("2001:db8:0:1:ffff::1"), ElementsAre("2001:db8:0:1::2")) << "one is enough";
    EXPECT_THAT(near("fd00::80"), ElementsAre("fd00::ff"));
    EXPECT_THAT(near("fe80::1234%7"), ElementsAre("2001:db8:0:1::2", "2001:db8:0:1::3", "fd00::ff", "fe80::1"));
    const Link bound{"a", 7, {{make_address_v6("2001:db8::2"), 64}}};
    EXPECT_THAT(found(bound, make_address_v6("fe80::9")), ElementsAre("2001:db8::2"));
    for (const char* const stranger : {"2001:db8:0:2::2", "fd00::7f", "fd00::100", "::", "::1", "::ffff:10.0.0.1"}) {
        EXPECT_THAT(near(stranger), IsEmpty()) << stranger;
    }
}

} // namespace
} // namespace camera::gateway
