#include "camera/onvif/Discovery.h"

#include "camera/onvif/CanonicalNames.h"
#include "camera/onvif/ScopeRules.h"
#include "camera/onvif/Uuid.h"

#include <pugixml.hpp>

#include <gmock/gmock.h>

#include <map>
#include <set>
#include <sstream>

namespace camera::onvif {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Eq;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::Optional;
using testing::StartsWith;

using std::chrono::milliseconds;

const std::string kWsd = "http://schemas.xmlsoap.org/ws/2005/04/discovery";
const std::string kWsa = "http://schemas.xmlsoap.org/ws/2004/08/addressing";
const std::string kUuid = "00112233-4455-4677-8899-aabbccddeeff";
const std::string kAddress = "http://192.0.2.9:8080/onvif/device_service";
const std::vector<std::string> kScopes = {"onvif://www.onvif.org/type/Network_Video_Transmitter",
                                          "onvif://www.onvif.org/name/Virtual%20camera"};

/// A datagram with the names that WS-Discovery has, and any content.
std::string datagram(const std::string& body, const std::string& header)
{
    return "<e:Envelope xmlns:e='http://www.w3.org/2003/05/soap-envelope' xmlns:a='" + kWsa + "' xmlns:d='" + kWsd +
           "' xmlns:n='http://www.onvif.org/ver10/network/wsdl' xmlns:t='http://www.onvif.org/ver10/device/wsdl'>"
           "<e:Header>" +
           header + "</e:Header><e:Body>" + body + "</e:Body></e:Envelope>";
}

std::string idHeader(const std::string& id = "urn:uuid:1")
{
    return "<a:MessageID>" + id + "</a:MessageID>";
}

std::string probe(const std::string& content = "", const std::string& id = "urn:uuid:1")
{
    return datagram("<d:Probe>" + content + "</d:Probe>", idHeader(id));
}

std::string resolve(const std::string& endpoint)
{
    return datagram("<d:Resolve><a:EndpointReference><a:Address>" + endpoint +
                        "</a:Address></a:EndpointReference></d:Resolve>",
                    idHeader());
}

/// A message of the camera: what its elements hold, by their names.
std::map<std::string, std::string> textsIn(const std::string& message)
{
    pugi::xml_document document = parsed(message);
    struct Walker : pugi::xml_tree_walker {
        bool for_each(pugi::xml_node& node) override
        {
            if (node.type() == pugi::node_element) {
                texts[node.name()] = node.text().get();
            }
            return true;
        }
        std::map<std::string, std::string> texts;
    } walker;
    document.traverse(walker);
    return walker.texts;
}

class DiscoveryTest : public testing::Test {
protected:
    std::optional<std::string> answer(const std::string& text, const std::string& sender = "192.0.2.1")
    {
        const auto given = discovery.answer(text, sender, {kAddress}, now);
        return given ? std::optional(given->text) : std::nullopt;
    }

    /// Whether one that asks for this finds the camera.
    bool finds(const std::string& content)
    {
        return answer(probe(content, "urn:uuid:" + newUuid()), newUuid()).has_value();
    }

    bool findsScope(const std::string& scope, const std::string& rule = "")
    {
        return finds("<d:Scopes" + (rule.empty() ? "" : " MatchBy='" + rule + "'") + ">" + scope + "</d:Scopes>");
    }

    Discovery::Clock::time_point now = Discovery::Clock::time_point() + std::chrono::hours(1);
    Discovery discovery{kUuid, 1700000000, {kScopes, true}};
};

TEST_F(DiscoveryTest, anAnswerTellsWhoWhatAndWhere)
{
    const auto texts = textsIn(answer(probe()).value_or("<none/>"));
    EXPECT_EQ("urn:uuid:" + kUuid, texts.at("wsa:Address"));
    EXPECT_EQ("dn:NetworkVideoTransmitter tds:Device", texts.at("wsd:Types"));
    EXPECT_EQ(kScopes[0] + " " + kScopes[1], texts.at("wsd:Scopes"));
    EXPECT_EQ(kAddress, texts.at("wsd:XAddrs"));
    EXPECT_EQ("1700000000", texts.at("wsd:MetadataVersion"));
    EXPECT_EQ("urn:uuid:1", texts.at("wsa:RelatesTo"));
    EXPECT_EQ(kWsd + "/ProbeMatches", texts.at("wsa:Action"));
    EXPECT_EQ(kWsa + "/role/anonymous", texts.at("wsa:To"));
    EXPECT_EQ(1U, texts.count("wsd:ProbeMatch"));
    EXPECT_THAT(texts.at("wsa:MessageID"), MatchesRegex("urn:uuid:[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}"));
}

TEST_F(DiscoveryTest, anAnswerDeclaresEachPrefixThatItUses)
{
    const std::string text = answer(probe()).value_or("");
    EXPECT_THAT(text, AllOf(HasSubstr("xmlns:env=\"http://www.w3.org/2003/05/soap-envelope\""),
                            HasSubstr("xmlns:wsa=\"" + kWsa + "\""), HasSubstr("xmlns:wsd=\"" + kWsd + "\""),
                            HasSubstr("xmlns:dn=\"http://www.onvif.org/ver10/network/wsdl\""),
                            HasSubstr("xmlns:tds=\"http://www.onvif.org/ver10/device/wsdl\"")));
}

TEST_F(DiscoveryTest, severalAddressesStandNextToEachOther)
{
    const auto text = discovery.answer(probe(), "192.0.2.1", {"http://a/", "https://a/"}, now);
    ASSERT_TRUE(text);
    EXPECT_EQ("http://a/ https://a/", textsIn(text->text).at("wsd:XAddrs"));
}

TEST_F(DiscoveryTest, onlyAProbeIsAnsweredByManyAtOnce)
{
    EXPECT_TRUE(discovery.answer(probe(), "a", {kAddress}, now)->oneOfMany);
    EXPECT_FALSE(discovery.answer(resolve("urn:uuid:" + kUuid), "b", {kAddress}, now)->oneOfMany);
}

TEST_F(DiscoveryTest, findsByTypesOfTheCameraOnly)
{
    for (const char* const types : {"", "n:NetworkVideoTransmitter", "t:Device",
                                    " t:Device\n n:NetworkVideoTransmitter ", "dn:NetworkVideoTransmitter"}) {
        EXPECT_TRUE(finds("<d:Types>" + std::string(types) + "</d:Types>")) << types;
    }
    for (const char* const types : {"n:NetworkVideoDisplay", "t:NetworkVideoTransmitter", "n:Device", "Device",
                                    "n:NetworkVideoTransmitter n:Other", "x:Device", "wsd:Device"}) {
        EXPECT_FALSE(finds("<d:Types>" + std::string(types) + "</d:Types>")) << types;
    }
    EXPECT_TRUE(finds("<d:Types xmlns:x='http://www.onvif.org/ver10/device/wsdl'>x:Device</d:Types>"));
    EXPECT_FALSE(finds("<d:Types xmlns:x='urn:printers'>x:Device</d:Types>"));
    EXPECT_FALSE(finds("<d:Types xmlns:tds='urn:printers'>tds:Device</d:Types>"));
    EXPECT_TRUE(finds("<d:Types/><d:Scopes/>"));
}

TEST_F(DiscoveryTest, findsByTheBeginningOfAScope)
{
    for (const char* const scope :
         {"onvif://www.onvif.org", "onvif://www.onvif.org/", "onvif://www.onvif.org/type",
          "onvif://www.onvif.org/type/", "ONVIF://WWW.onvif.ORG/type", "onvif://www.onvif.org/name/Virtual%20camera",
          "onvif://www.onvif.org/%6eame/Virtual%20camera", "onvif://www.onvif.org/type?a=b#c",
          " onvif://www.onvif.org/type\n onvif://www.onvif.org/name "}) {
        EXPECT_TRUE(findsScope(scope)) << scope;
    }
    for (const char* const scope :
         {"onvif://www.onvif.org/typ", "onvif://www.onvif.org/Type", "onvif://www.onvif", "http://www.onvif.org/type",
          "onvif://www.onvif.org/type/Network_Video_Transmitter/x", "onvif://www.onvif.org/./type",
          "onvif://www.onvif.org/name/%2e%2e/type", "onvif://www.onvif.org/type onvif://www.onvif.org/hardware",
          "onvif://www.onvif.org//type", "type", "www.onvif.org", "onvif:", "urn:uuid:1", "://", "/", "%",
          "onvif://www.onvif.org/type%2fNetwork_Video_Transmitter"}) {
        EXPECT_FALSE(findsScope(scope)) << scope;
    }
}

TEST_F(DiscoveryTest, findsByTheRuleThatIsAskedFor)
{
    EXPECT_TRUE(findsScope("onvif://www.onvif.org/type", kWsd + "/rfc3986"));
    EXPECT_TRUE(findsScope(kScopes[0], kWsd + "/strcmp0"));
    EXPECT_FALSE(findsScope("onvif://www.onvif.org/type", kWsd + "/strcmp0"));
    EXPECT_TRUE(findsScope("onvif://www.onvif.org/type", kWsd + "/rfc2396"));
    EXPECT_FALSE(findsScope(kScopes[0], kWsd + "/ldap"));
    EXPECT_FALSE(findsScope(kScopes[0], kWsd + "/uuid"));
    EXPECT_FALSE(findsScope("", kWsd + "/none"));
    EXPECT_FALSE(findsScope(kScopes[0], "urn:x"));
    EXPECT_FALSE(findsScope("", "urn:x")) << "nobody knows what it asks";
}

bool matchesScope(const std::string& wanted, const std::string& scope, const std::string& rule)
{
    return matchScopes({wanted}, {"urn:another", scope}, rule.empty() ? "" : kWsd + "/" + rule);
}

TEST(MatchesScopeTest, onlyACameraWithoutScopesHasNone)
{
    EXPECT_TRUE(matchScopes({}, {}, kWsd + "/none"));
    EXPECT_FALSE(matchScopes({}, {"urn:a"}, kWsd + "/none"));
}

TEST(MatchesScopeTest, aUuidIsANumber)
{
    const std::string number = "00112233-4455-4677-8899-aabbccddeeff";
    EXPECT_TRUE(matchesScope("uuid:00112233-4455-4677-8899-AABBCCDDEEFF", "urn:uuid:" + number, "uuid"));
    EXPECT_TRUE(matchesScope("URN:UUID:" + number, "uuid:" + number, "uuid"));
    for (const std::string& other :
         {std::string("00112233-4455-4677-8899-aabbccddeefe"), number + "0", number.substr(1), std::string(36, '-'),
          std::string(36, '0'), std::string(32, '0'), std::string()}) {
        EXPECT_FALSE(matchesScope("uuid:" + other, "uuid:" + number, "uuid")) << other;
    }
    EXPECT_FALSE(matchesScope(number, number, "uuid"));
    EXPECT_FALSE(matchesScope("urn:" + number, "urn:" + number, "uuid"));
}

TEST(MatchesScopeTest, anEntryOfADirectoryIsFoundByThoseAboveIt)
{
    const std::string entry = "ldap:///ou=floor1,ou=b42,ou=anytown,o=examplecom,c=us";
    for (const char* const wanted :
         {"ldap:///ou=floor1,ou=b42,ou=anytown,o=examplecom,c=us", "ldap:///o=examplecom,c=us",
          "LDAP:///O=ExampleCom, C=us", "ldap:///", "ldap://", "ldap:///o=examplecom%2Cc=us", "ldap:///c=us?cn?sub"}) {
        EXPECT_TRUE(matchesScope(wanted, entry, "ldap")) << wanted;
    }
    for (const char* const wanted : {"ldap:///ou=floor1,ou=b42", "ldap:///o=com,c=us",
                                     "ldap:///cn=a,ou=floor1,ou=b42,ou=anytown,o=examplecom,c=us", "ldap://host/c=us",
                                     "http:///c=us", "c=us", "", "ldap:///,c=us", "ldap:///c=us,"}) {
        EXPECT_FALSE(matchesScope(wanted, entry, "ldap")) << wanted;
    }
    EXPECT_FALSE(matchesScope("ldap:///b", "ldap:///a\\,b", "ldap")) << "one name";
    EXPECT_FALSE(matchesScope("ldap:///b%22", "ldap:///%22a,b%22", "ldap")) << "one name";
    EXPECT_TRUE(matchesScope("ldap:///c", "ldap:///%22a,b%22,c", "ldap"));
    EXPECT_TRUE(matchesScope("ldap:///a\\", "ldap:///a\\", "ldap"));
}

TEST(MatchesScopeTest, aPartOfAScopeThatIsNoPathIsOneSegment)
{
    EXPECT_TRUE(matchesScope("urn:a:b", "URN:a:b", ""));
    EXPECT_FALSE(matchesScope("urn:a", "urn:a:b", ""));
    EXPECT_TRUE(matchesScope("x://h/a%zzb%4", "x://h/a%zzb%4/c", "")) << "no escapes";
    EXPECT_FALSE(matchesScope("x://h/a", "x://h/a/../b", "")) << "of the camera";
    EXPECT_TRUE(matchesScope("x://h/a", "x://h/a/b?x#y", ""));
    EXPECT_FALSE(matchesScope("", "x://h/a", ""));
}

TEST_F(DiscoveryTest, resolvesItsOwnEndpointOnly)
{
    const auto texts = textsIn(answer(resolve(" urn:uuid:" + kUuid + "\n")).value_or("<none/>"));
    EXPECT_EQ(1U, texts.count("wsd:ResolveMatch"));
    EXPECT_EQ(kWsd + "/ResolveMatches", texts.at("wsa:Action"));
    EXPECT_EQ(kAddress, texts.at("wsd:XAddrs"));
    EXPECT_EQ("urn:uuid:1", texts.at("wsa:RelatesTo"));
    for (const std::string& other : {std::string("urn:uuid:1"), kUuid, std::string()}) {
        EXPECT_EQ(std::nullopt, answer(resolve(other), other)) << other;
    }
    EXPECT_EQ(std::nullopt, answer(datagram("<d:Resolve/>", idHeader("urn:uuid:7"))));
}

TEST_F(DiscoveryTest, answersARepeatedQuestionOnce)
{
    EXPECT_NE(std::nullopt, answer(probe()));
    EXPECT_EQ(std::nullopt, answer(probe()));
    EXPECT_EQ(std::nullopt, answer(resolve("urn:uuid:" + kUuid))) << "the same id";
    EXPECT_NE(std::nullopt, answer(probe(), "192.0.2.2")) << "of another one";
    EXPECT_NE(std::nullopt, answer(probe("", "urn:uuid:2")));
}

TEST_F(DiscoveryTest, remembersSoManyQuestions)
{
    const auto ask = [this](std::size_t number) {
        now += milliseconds(1000);
        return answer(probe("", "urn:uuid:" + std::to_string(number))).has_value();
    };
    for (std::size_t number = 0; number < Discovery::kRemembered; ++number) {
        EXPECT_TRUE(ask(number));
    }
    EXPECT_FALSE(ask(0));
    EXPECT_TRUE(ask(Discovery::kRemembered));
    EXPECT_TRUE(ask(0)) << "the oldest";
    EXPECT_FALSE(ask(2));
}

TEST_F(DiscoveryTest, answersAQuestionAgainThatCameTooSoon)
{
    int answered = 0;
    for (int number = 0; number < 100; ++number) {
        answered += answer(probe("", std::to_string(number))) ? 1 : 0;
    }
    EXPECT_EQ(Discovery::kRateOfSender.atOnce, answered);
    EXPECT_NE(std::nullopt, answer(probe(), "192.0.2.2")) << "of another one";
    EXPECT_EQ(std::nullopt, answer(probe("", "99")));
    now += Discovery::kRateOfSender.pause;
    EXPECT_NE(std::nullopt, answer(probe("", "99")));
    EXPECT_EQ(std::nullopt, answer(probe("", "98")));
}

TEST_F(DiscoveryTest, answersSoManyOfAllSenders)
{
    int answered = 0;
    for (int number = 0; number < 1000; ++number) {
        answered += answer(probe(), std::to_string(number)) ? 1 : 0;
    }
    EXPECT_EQ(Discovery::kRateOfAll.atOnce, answered);
}

TEST(SenderRateTest, forgetsWhoHasBeenQuietForLong)
{
    SenderRate rate({2, milliseconds(100)}, {1000, milliseconds(1)});
    SenderRate::Clock::time_point now{};
    EXPECT_TRUE(rate.takes("a", now));
    EXPECT_TRUE(rate.takes("a", now));
    EXPECT_FALSE(rate.takes("a", now));
    EXPECT_FALSE(rate.takes("a", now + milliseconds(99)));
    EXPECT_TRUE(rate.takes("b", now));
    EXPECT_EQ(2U, rate.size());
    now += milliseconds(100);
    EXPECT_TRUE(rate.takes("a", now));
    EXPECT_FALSE(rate.takes("a", now));
    EXPECT_EQ(1U, rate.size());
}

TEST(SenderRateTest, whoIsRefusedPaysNothing)
{
    SenderRate rate({1, milliseconds(100)}, {2, milliseconds(1000)});
    const SenderRate::Clock::time_point now{};
    EXPECT_TRUE(rate.takes("a", now));
    for (int i = 0; i < 10; ++i) {
        EXPECT_FALSE(rate.takes("a", now));
    }
    EXPECT_TRUE(rate.takes("b", now));
    EXPECT_FALSE(rate.takes("c", now)) << "all together";
    EXPECT_TRUE(rate.takes("c", now + milliseconds(1000)));
}

TEST_F(DiscoveryTest, anAnswerIsAtMostFourTimesAsLong)
{
    const std::string shortest = "<env:Envelope><env:Header><wsa:MessageID>1</wsa:MessageID></env:Header><env:Body>"
                                 "<wsd:Probe/></env:Body></env:Envelope>";
    EXPECT_EQ(std::nullopt, answer(shortest));
    for (std::size_t more = 0; more < 600; ++more) {
        const std::string text = "<!--" + std::string(more, '-') + "-->" + shortest;
        const auto given = Discovery(kUuid, 1, {kScopes, true}).answer(text, "a", {kAddress}, now);
        EXPECT_LE(given ? given->text.size() : 0, 4 * text.size());
    }
}

TEST_F(DiscoveryTest, leavesOutTheLastScopesThatHaveNoRoom)
{
    std::vector<std::string> scopes = kScopes;
    for (int i = 0; i < 64; ++i) {
        scopes.push_back("onvif://www.onvif.org/name/" + std::string(200, i % 2 == 0 ? 'a' : '&') + std::to_string(i));
    }
    discovery.tell({scopes, true});
    const std::string text = answer(probe()).value_or("");
    EXPECT_LE(text.size(), 4 * probe().size());
    EXPECT_GT(text.size(), 4 * probe().size() - 1400) << "what has room is told";
    const std::string told = textsIn(text).at("wsd:Scopes");
    EXPECT_THAT(told, StartsWith(kScopes[0] + " " + kScopes[1] + " " + scopes[2]));
    const std::string hello = discovery.hello({kAddress});
    EXPECT_LE(hello.size(), Discovery::kMostBytes);
    EXPECT_THAT(textsIn(hello).at("wsd:Scopes"), StartsWith(told));
    EXPECT_TRUE(findsScope(scopes[65].substr(0, 26))) << "what is not told is found";
}

TEST_F(DiscoveryTest, aCameraThatIsNotToBeFoundAnswersNothing)
{
    EXPECT_TRUE(discovery.tell({kScopes, false}));
    EXPECT_FALSE(discovery.discoverable());
    EXPECT_EQ(std::nullopt, answer(probe()));
    EXPECT_EQ(std::nullopt, answer(resolve("urn:uuid:" + kUuid)));
    EXPECT_TRUE(discovery.tell({kScopes, true}));
    EXPECT_NE(std::nullopt, answer(probe()));
}

TEST_F(DiscoveryTest, theVersionGrowsWithWhatIsTold)
{
    EXPECT_FALSE(discovery.tell({kScopes, true})) << "the same";
    EXPECT_EQ("1700000000", textsIn(discovery.hello({})).at("wsd:MetadataVersion"));
    EXPECT_TRUE(discovery.tell({{"onvif://www.onvif.org/name/Other"}, true}));
    const auto texts = textsIn(discovery.hello({kAddress}));
    EXPECT_EQ("1700000001", texts.at("wsd:MetadataVersion"));
    EXPECT_EQ("onvif://www.onvif.org/name/Other", texts.at("wsd:Scopes"));
    EXPECT_FALSE(findsScope(kScopes[0]));
}

TEST_F(DiscoveryTest, tellsAllThatItComesAndGoes)
{
    const auto hello = textsIn(discovery.hello({kAddress}));
    EXPECT_EQ(kWsd + "/Hello", hello.at("wsa:Action"));
    EXPECT_EQ("urn:schemas-xmlsoap-org:ws:2005:04:discovery", hello.at("wsa:To"));
    EXPECT_EQ("urn:uuid:" + kUuid, hello.at("wsa:Address"));
    EXPECT_EQ("dn:NetworkVideoTransmitter tds:Device", hello.at("wsd:Types"));
    EXPECT_EQ(kAddress, hello.at("wsd:XAddrs"));
    EXPECT_EQ(0U, hello.count("wsa:RelatesTo"));
    const auto bye = textsIn(discovery.bye());
    EXPECT_EQ(kWsd + "/Bye", bye.at("wsa:Action"));
    EXPECT_EQ("urn:uuid:" + kUuid, bye.at("wsa:Address"));
    EXPECT_EQ(0U, bye.count("wsd:XAddrs"));
    EXPECT_NE(hello.at("wsa:MessageID"), bye.at("wsa:MessageID"));
}

TEST_F(DiscoveryTest, numbersItsMessages)
{
    const auto numberOf = [](const std::string& text) {
        const pugi::xml_document document = parsed(text);
        const pugi::xml_node sequence = document.document_element().child("env:Header").child("wsd:AppSequence");
        return std::string(sequence.attribute("InstanceId").value()) + " " +
               sequence.attribute("MessageNumber").value();
    };
    EXPECT_EQ("1700000000 1", numberOf(discovery.hello({kAddress})));
    EXPECT_EQ("1700000000 2", numberOf(answer(probe()).value_or("<none/>")));
    EXPECT_EQ("1700000000 3", numberOf(discovery.bye()));
}

TEST_F(DiscoveryTest, refusesWhatIsNoValidQuestion)
{
    const std::string body = "<d:Probe/>";
    const auto headed = [&](const std::string& more) { return datagram(body, idHeader() + more); };
    const std::string cases[] = {
        datagram(body, ""),
        datagram(body, idHeader("")),
        datagram(body, idHeader(std::string(257, 'a'))),
        datagram(body, idHeader("a b")),
        datagram(body, idHeader("a\xff")),
        datagram(body + body, idHeader()),
        datagram("", idHeader()),
        datagram("<d:Hello/>", idHeader()),
        datagram("<d:ProbeMatches/>", idHeader()),
        datagram("<t:Probe/>", idHeader()),
        datagram("<Probe/>", idHeader()),
        headed("<a:To>urn:uuid:other</a:To>"),
        headed("<a:Action>" + kWsd + "/Resolve</a:Action>"),
        headed("<x e:mustUnderstand='1'/>"),
        headed("<n:x e:mustUnderstand='true'/>"),
        "<d:Probe xmlns:d='" + kWsd + "'/>",
        "<e:Envelope xmlns:e='http://schemas.xmlsoap.org/soap/envelope/' xmlns:a='" + kWsa + "' xmlns:d='" + kWsd +
            "'><e:Header>" + idHeader() + "</e:Header><e:Body><d:Probe/></e:Body></e:Envelope>",
        "<!DOCTYPE e:Envelope>" + probe(),
        "<!DOCTYPE a [<!ENTITY b 'c'>]>" + probe(),
        probe() + "<x",
        probe(std::string(Discovery::kMostBytes, ' ')),
        "",
        std::string(100, '\0'),
        "GET / HTTP/1.1\r\n\r\n",
        "\xff\xfe<\0e\0",
    };
    for (const std::string& text : cases) {
        EXPECT_EQ(std::nullopt, answer(text)) << text;
    }
    EXPECT_NE(std::nullopt, answer(headed("<a:To> urn:schemas-xmlsoap-org:ws:2005:04:discovery\n</a:To><a:Action>" +
                                          kWsd + "/Probe</a:Action><a:ReplyTo e:mustUnderstand='1'/><x/>")));
}

TEST_F(DiscoveryTest, refusesOtherNamespaces)
{
    const std::string good = probe("", "urn:uuid:9");
    for (const auto& [name, other] :
         {std::pair(kWsd, std::string("http://docs.oasis-open.org/ws-dd/ns/discovery/2009/01")),
          std::pair(kWsa, std::string("http://www.w3.org/2005/08/addressing")),
          std::pair(std::string("http://www.w3.org/2003/05/soap-envelope"), std::string("urn:x"))}) {
        std::string text = good;
        text.replace(text.find(name), name.size(), other);
        EXPECT_EQ(std::nullopt, answer(text)) << other;
    }
    EXPECT_NE(std::nullopt, answer(good));
}

TEST_F(DiscoveryTest, takesElementsAsDeepAsAllowed)
{
    const auto nested = [](std::size_t levels) {
        std::string open;
        std::string close;
        for (std::size_t i = 0; i < levels; ++i) {
            open += "<x>";
            close += "</x>";
        }
        return open + close;
    };
    EXPECT_TRUE(finds(nested(Discovery::kMostDeep - 3)));
    EXPECT_FALSE(finds(nested(Discovery::kMostDeep - 2)));
    EXPECT_FALSE(finds(nested(500)));
}

TEST_F(DiscoveryTest, answersNoPartOfAQuestion)
{
    const std::string whole = datagram("<d:Probe><d:Types>n:NetworkVideoTransmitter</d:Types><d:Scopes>" + kScopes[0] +
                                           "</d:Scopes></d:Probe>",
                                       idHeader());
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_EQ(std::nullopt, answer(whole.substr(0, size))) << size;
    }
    EXPECT_NE(std::nullopt, answer(whole));
}

TEST_F(DiscoveryTest, aDatagramOfTheMostBytesIsRead)
{
    std::string text = probe();
    text.insert(text.find("<d:Probe>"), std::string(Discovery::kMostBytes - text.size(), ' '));
    EXPECT_EQ(std::nullopt, answer(text + " "));
    EXPECT_NE(std::nullopt, answer(text));
}

TEST_F(DiscoveryTest, theIdOfAQuestionComesBackAsItIs)
{
    EXPECT_EQ("a&<'\"b", textsIn(answer(probe("", "a&amp;&lt;'\"b")).value_or("<none/>")).at("wsa:RelatesTo"));
}

} // namespace
} // namespace camera::onvif
