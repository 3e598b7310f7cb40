#include "camera/onvif/DeviceService.h"

#include "AskedOperation.h"
#include "KeptInMemory.h"
#include "camera/onvif/Times.h"

#include <gmock/gmock.h>

#include <optional>

namespace camera::onvif {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class DeviceServiceTest : public testing::Test {
protected:
    DeviceServiceTest()
    {
        _service.addTo(_operations, _directory);
        _directory.add(
            {"tan", "/onvif/analytics_service", 20, 6,
             [](pugi::xml_node capabilities) { capabilities.append_attribute("RuleSupport").set_value(true); },
             "Analytics", [](pugi::xml_node node) { node.append_child("tt:RuleSupport"); }},
            _operations);
        _directory.add({"tmd", "/onvif/deviceio_service", 17, 6, [](pugi::xml_node) {}, "DeviceIO"}, _operations);
    }

    std::string ask(const std::string& name, const std::string& content = "") const
    {
        return onvif::ask(_operations, "tds:" + name, content);
    }

    static std::string userXml(const std::string& name, const std::string& password, const std::string& level)
    {
        return "<tds:User><tt:Username>" + name + "</tt:Username>" +
               (password.empty() ? "" : "<tt:Password>" + password + "</tt:Password>") + "<tt:UserLevel>" + level +
               "</tt:UserLevel></tds:User>";
    }

    std::string _log = "a line";
    int _reboots = 0;
    std::optional<bool> _hardDefault;
    std::optional<Fault> _actionFailure;
    std::chrono::system_clock::time_point _now = parseDateTime("2024-06-30T12:03:04Z").value();
    KeptInMemory<Users> _users{Users({{"root", UserLevel::administrator, "secret"}})};
    KeptInMemory<DeviceSettings> _settings{DeviceSettings()};
    Operations _operations;
    ServiceDirectory _directory;
    DeviceService _service{{"maker", "model", "1.2", "0001", "pc", "u-u"},
                           _users,
                           _settings,
                           {[this](const DeviceActions::Done& done) {
                                ++_reboots;
                                done(_actionFailure);
                            },
                            [this](bool hard, const DeviceActions::Done& done) {
                                _hardDefault = hard;
                                done(_actionFailure);
                            },
                            [this] { return _log; },
                            [] { return std::vector<std::string>{"onvif://www.onvif.org/Profile/M"}; },
                            [] {
                                return std::vector<std::pair<std::string, int>>{{"HTTP", 8080}};
                            },
                            [] { return std::string("127.0.0.1"); }},
                           {[this] { return _now; }}};
};

TEST_F(DeviceServiceTest, tellsTheServicesWithAndWithoutTheirCapabilities)
{
    const std::string without = ask("GetServices", "<tds:IncludeCapability>false</tds:IncludeCapability>");
    EXPECT_THAT(without, HasSubstr("<tds:Service><tds:Namespace>http://www.onvif.org/ver20/analytics/wsdl"
                                   "</tds:Namespace><tds:XAddr>http://camera/onvif/analytics_service</tds:XAddr>"
                                   "<tds:Version><tt:Major>20</tt:Major><tt:Minor>6</tt:Minor></tds:Version>"));
    EXPECT_THAT(without, HasSubstr("http://camera/onvif/device_service"));
    EXPECT_THAT(without, Not(HasSubstr("Capabilities")));
    EXPECT_THAT(ask("GetServices", "<tds:IncludeCapability>1</tds:IncludeCapability>"),
                HasSubstr("<tds:Capabilities><tan:Capabilities RuleSupport=\"true\"/></tds:Capabilities>"));
    EXPECT_THAT(ask("GetServices"), HasSubstr("ter:InvalidArgs: tds:IncludeCapability is missing"));
    EXPECT_THAT(ask("GetServices", "<tds:IncludeCapability>maybe</tds:IncludeCapability>"),
                HasSubstr("ter:InvalidArgVal: tds:IncludeCapability is true or false"));
}

TEST_F(DeviceServiceTest, tellsTheServicesThatAreThereNowByTheAddressThatThisClientUsed)
{
    std::optional<Fault> missing;
    _directory.add(
        {"tptz", "/onvif/ptz_service", 20, 12, [](pugi::xml_node) {}, "", {}, [&missing] { return missing; }},
        _operations);
    const auto services = [this](const std::string& base, const char* with = "false") {
        Asking asking;
        asking.base = base;
        return outcomeText(*begun(_operations, "tds:GetServices",
                                  std::string("<tds:IncludeCapability>") + with + "</tds:IncludeCapability>", asking));
    };
    const std::string first = services("http://camera");
    EXPECT_THAT(first, HasSubstr("http://camera/onvif/ptz_service"));
    EXPECT_EQ(first, services("http://camera"));
    const std::string other = services("https://10.0.0.2:8443");
    EXPECT_THAT(other, HasSubstr("https://10.0.0.2:8443/onvif/ptz_service"));
    EXPECT_THAT(other, Not(HasSubstr("http://camera")));
    EXPECT_EQ(first, services("http://camera"));
    missing = Fault::receiver({"ter:ActionNotSupported"}, "it does not move");
    EXPECT_THAT(services("http://camera"), Not(HasSubstr("ptz_service")));
    EXPECT_THAT(services("http://camera", "true"), Not(HasSubstr("ptz_service")));
    missing.reset();
    EXPECT_EQ(first, services("http://camera"));
    EXPECT_THAT(services("http://camera", "true"), HasSubstr("<tds:Capabilities>"));
}

TEST_F(DeviceServiceTest, tellsTheCapabilitiesOfTheOldForm)
{
    const std::string all = ask("GetCapabilities");
    EXPECT_THAT(all, HasSubstr("<tds:Capabilities><tt:Analytics><tt:XAddr>http://camera/onvif/analytics_service"));
    EXPECT_THAT(all, HasSubstr("<tt:Extension><tt:DeviceIO><tt:XAddr>http://camera/onvif/deviceio_service"));
    EXPECT_LT(all.find("<tt:Analytics>"), all.find("<tt:Device>"));
    EXPECT_EQ(all, ask("GetCapabilities", "<tds:Category>All</tds:Category>"));
    const std::string one = ask("GetCapabilities", "<tds:Category>Device</tds:Category>");
    EXPECT_THAT(one, HasSubstr("<tt:Device>"));
    EXPECT_THAT(one, Not(HasSubstr("<tt:Analytics>")));
    EXPECT_THAT(one, Not(HasSubstr("<tt:Extension>")));
    EXPECT_THAT(ask("GetCapabilities", "<tds:Category>PTZ</tds:Category>"),
                HasSubstr("Receiver ter:ActionNotSupported/ter:NoSuchService"));
    EXPECT_THAT(ask("GetCapabilities", "<tds:Category>DeviceIO</tds:Category>"),
                HasSubstr("Receiver ter:ActionNotSupported/ter:NoSuchService"));
}

TEST_F(DeviceServiceTest, isAServiceItself)
{
    EXPECT_THAT(ask("GetServiceCapabilities"), HasSubstr("<tds:Security TLS1.2=\"true\""));
    EXPECT_THAT(ask("GetWsdlUrl"), HasSubstr("devicemgmt.wsdl"));
    EXPECT_THAT(ask("GetEndpointReference"), HasSubstr("<tds:GUID>urn:uuid:u-u</tds:GUID>"));
    EXPECT_THAT(ask("GetRelayOutputs"), HasSubstr("<tds:GetRelayOutputsResponse/>"));
    EXPECT_THAT(ask("GetDeviceInformation"),
                HasSubstr("<tds:Manufacturer>maker</tds:Manufacturer><tds:Model>model</tds:Model>"
                          "<tds:FirmwareVersion>1.2</tds:FirmwareVersion><tds:SerialNumber>0001</tds:SerialNumber>"
                          "<tds:HardwareId>pc</tds:HardwareId>"));
}

TEST_F(DeviceServiceTest, tellsItsClock)
{
    EXPECT_THAT(ask("GetSystemDateAndTime"),
                HasSubstr("<tt:TimeZone><tt:TZ>UTC0</tt:TZ></tt:TimeZone><tt:UTCDateTime><tt:Time><tt:Hour>12</tt:Hour>"
                          "<tt:Minute>3</tt:Minute><tt:Second>4</tt:Second></tt:Time><tt:Date><tt:Year>2024</tt:Year>"
                          "<tt:Month>6</tt:Month><tt:Day>30</tt:Day></tt:Date></tt:UTCDateTime>"));
}

TEST_F(DeviceServiceTest, takesATimeZoneAndTheTimeThatItHasAnyhow)
{
    const auto set = [this](const std::string& type, const std::string& rest) {
        return ask("SetSystemDateAndTime", "<tds:DateTimeType>" + type +
                                               "</tds:DateTimeType><tds:DaylightSavings>true</tds:DaylightSavings>" +
                                               rest);
    };
    const auto at = [](const std::string& second) {
        return "<tds:UTCDateTime><tt:Time><tt:Hour>12</tt:Hour><tt:Minute>3</tt:Minute><tt:Second>" + second +
               "</tt:Second></tt:Time><tt:Date><tt:Year>2024</tt:Year><tt:Month>6</tt:Month><tt:Day>30</tt:Day>"
               "</tt:Date></tds:UTCDateTime>";
    };
    const std::string zone = "<tds:TimeZone><tt:TZ>CET-1CEST</tt:TZ></tds:TimeZone>";
    EXPECT_THAT(set("NTP", zone), HasSubstr("SetSystemDateAndTimeResponse"));
    EXPECT_THAT(ask("GetSystemDateAndTime"), HasSubstr("<tt:DaylightSavings>true</tt:DaylightSavings>"
                                                       "<tt:TimeZone><tt:TZ>CET-1CEST</tt:TZ>"));
    EXPECT_THAT(set("Manual", at("9")), HasSubstr("SetSystemDateAndTimeResponse"));
    EXPECT_THAT(set("Manual", at("0")), HasSubstr("SetSystemDateAndTimeResponse"));
    EXPECT_THAT(set("Manual", at("10")), HasSubstr("ter:InvalidDateTime"));
    EXPECT_THAT(set("Manual", at("60")), HasSubstr("ter:InvalidDateTime"));
    EXPECT_THAT(set("Manual", ""), HasSubstr("ter:InvalidArgs"));
    EXPECT_THAT(set("Moon", ""), HasSubstr("ter:InvalidArgVal"));
    EXPECT_THAT(set("NTP", "<tds:TimeZone><tt:TZ>a b</tt:TZ></tds:TimeZone>"), HasSubstr("ter:InvalidTimeZone"));
    _now = parseDateTime("2024-06-30T12:02:54Z").value();
    EXPECT_THAT(set("Manual", at("0")), HasSubstr("ter:InvalidDateTime"));
}

TEST_F(DeviceServiceTest, changesUsers)
{
    EXPECT_THAT(ask("CreateUsers", userXml("a", "pass1", "Operator") + userXml("b", "pass2", "User")),
                HasSubstr("CreateUsersResponse"));
    EXPECT_THAT(ask("SetUser", userXml("a", "", "User")), HasSubstr("SetUserResponse"));
    EXPECT_EQ("pass1", _users.value().find("a")->password);
    EXPECT_THAT(ask("SetUser", userXml("a", "pass3", "User")), HasSubstr("SetUserResponse"));
    EXPECT_EQ("pass3", _users.value().find("a")->password);
    EXPECT_THAT(ask("DeleteUsers", "<tds:Username>b</tds:Username>"), HasSubstr("DeleteUsersResponse"));
    EXPECT_EQ("<tds:GetUsersResponse><tds:User><tt:Username>root</tt:Username><tt:UserLevel>Administrator"
              "</tt:UserLevel></tds:User><tds:User><tt:Username>a</tt:Username><tt:UserLevel>User</tt:UserLevel>"
              "</tds:User></tds:GetUsersResponse>",
              ask("GetUsers"));
}

TEST_F(DeviceServiceTest, refusesUsersWithTheFaultOfEachReason)
{
    EXPECT_THAT(ask("CreateUsers", userXml("root", "p", "User")),
                HasSubstr("Sender ter:OperationProhibited/ter:UsernameClash"));
    EXPECT_THAT(ask("CreateUsers", userXml("", "p", "User")),
                HasSubstr("Sender ter:OperationProhibited/ter:UsernameTooShort"));
    EXPECT_THAT(ask("CreateUsers", userXml(std::string(65, 'a'), "p", "User")), HasSubstr("ter:UsernameTooLong"));
    EXPECT_THAT(ask("CreateUsers", userXml("a", "", "User")),
                HasSubstr("Sender ter:OperationProhibited/ter:PasswordTooWeak"));
    EXPECT_THAT(ask("CreateUsers", userXml("a", std::string(129, 'p'), "User")), HasSubstr("ter:PasswordTooLong"));
    EXPECT_THAT(ask("CreateUsers", userXml("a", "p", "Anonymous")),
                HasSubstr("Sender ter:OperationProhibited/ter:AnonymousNotAllowed"));
    EXPECT_THAT(ask("CreateUsers", userXml("a", "p", "King")), HasSubstr("ter:InvalidArgVal"));
    EXPECT_THAT(ask("SetUser", userXml("a", "p", "User")), HasSubstr("Sender ter:InvalidArgVal/ter:UsernameMissing"));
    EXPECT_THAT(ask("SetUser", userXml("root", "p", "User")), HasSubstr("Sender ter:InvalidArgVal/ter:FixedUser"));
    EXPECT_THAT(ask("DeleteUsers", "<tds:Username>root</tds:Username>"),
                HasSubstr("Sender ter:InvalidArgVal/ter:FixedUser"));
    std::string many;
    for (std::size_t i = 0; i < kMostUsers; ++i) {
        many += userXml("u" + std::to_string(i), "p", "User");
    }
    EXPECT_THAT(ask("CreateUsers", many), HasSubstr("Receiver ter:Action/ter:TooManyUsers"));
    EXPECT_EQ(0, _users.changes);
}

TEST_F(DeviceServiceTest, answersAChangeOnlyWhenItIsStored)
{
    _users.failure = "the disk is full";
    EXPECT_EQ("Receiver ter:Action: the disk is full", ask("CreateUsers", userXml("a", "p", "User")));
    EXPECT_EQ(nullptr, _users.value().find("a"));
}

TEST_F(DeviceServiceTest, keepsScopesBesideThoseThatAreFixed)
{
    EXPECT_THAT(ask("GetScopes"),
                HasSubstr("<tds:Scopes><tt:ScopeDef>Fixed</tt:ScopeDef>"
                          "<tt:ScopeItem>onvif://www.onvif.org/Profile/M</tt:ScopeItem></tds:Scopes>"));
    EXPECT_THAT(ask("SetScopes", "<tds:Scopes>onvif://a</tds:Scopes>"), HasSubstr("SetScopesResponse"));
    EXPECT_THAT(ask("AddScopes", "<tds:ScopeItem>onvif://b</tds:ScopeItem><tds:ScopeItem>onvif://a</tds:ScopeItem>"),
                HasSubstr("AddScopesResponse"));
    EXPECT_THAT(_settings.value().scopes, ElementsAre("onvif://a", "onvif://b"));
    EXPECT_EQ("<tds:RemoveScopesResponse><tds:ScopeItem>onvif://a</tds:ScopeItem></tds:RemoveScopesResponse>",
              ask("RemoveScopes", "<tds:ScopeItem>onvif://a</tds:ScopeItem>"));
    EXPECT_THAT(_settings.value().scopes, ElementsAre("onvif://b"));
    EXPECT_THAT(ask("RemoveScopes", "<tds:ScopeItem>onvif://b</tds:ScopeItem><tds:ScopeItem>onvif://x</tds:ScopeItem>"),
                HasSubstr("ter:NoScope"));
    EXPECT_THAT(ask("RemoveScopes", "<tds:ScopeItem>onvif://www.onvif.org/Profile/M</tds:ScopeItem>"),
                HasSubstr("ter:FixedScope"));
    EXPECT_THAT(ask("SetScopes", "<tds:Scopes>onvif://www.onvif.org/Profile/M</tds:Scopes>"),
                HasSubstr("ter:ScopeOverwrite"));
    EXPECT_THAT(ask("SetScopes"), HasSubstr("ter:InvalidArgs"));
    EXPECT_THAT(ask("AddScopes", "<tds:ScopeItem>a b</tds:ScopeItem>"), HasSubstr("ter:InvalidArgVal"));
    EXPECT_THAT(ask("AddScopes", "<tds:ScopeItem>" + std::string(257, 'a') + "</tds:ScopeItem>"),
                HasSubstr("ter:InvalidArgVal"));
    std::string many;
    for (int i = 0; i < 64; ++i) {
        many += "<tds:ScopeItem>s" + std::to_string(i) + "</tds:ScopeItem>";
    }
    EXPECT_THAT(ask("AddScopes", many), HasSubstr("Receiver ter:Action/ter:TooManyScopes"));
    std::string more = "<tds:Scopes>s</tds:Scopes>";
    for (int i = 0; i < 64; ++i) {
        more += "<tds:Scopes>s" + std::to_string(i) + "</tds:Scopes>";
    }
    EXPECT_THAT(ask("SetScopes", more), HasSubstr("Receiver ter:Action/ter:TooManyScopes"));
    EXPECT_THAT(_settings.value().scopes, ElementsAre("onvif://b"));
}

TEST_F(DeviceServiceTest, startsAgainAndGoesBackToTheBeginning)
{
    EXPECT_THAT(ask("SystemReboot"), HasSubstr("<tds:Message>"));
    EXPECT_EQ(1, _reboots);
    EXPECT_THAT(ask("SetSystemFactoryDefault", "<tds:FactoryDefault>Soft</tds:FactoryDefault>"),
                HasSubstr("SetSystemFactoryDefaultResponse"));
    EXPECT_EQ(false, _hardDefault);
    ask("SetSystemFactoryDefault", "<tds:FactoryDefault>Hard</tds:FactoryDefault>");
    EXPECT_EQ(true, _hardDefault);
    EXPECT_THAT(ask("SetSystemFactoryDefault", "<tds:FactoryDefault>x</tds:FactoryDefault>"),
                HasSubstr("ter:InvalidArgVal"));
    _actionFailure = Fault::receiver({"ter:Action"}, "nobody answers");
    EXPECT_EQ("Receiver ter:Action: nobody answers", ask("SystemReboot"));
    EXPECT_EQ("Receiver ter:Action: nobody answers",
              ask("SetSystemFactoryDefault", "<tds:FactoryDefault>Hard</tds:FactoryDefault>"));
}

TEST_F(DeviceServiceTest, givesItsLog)
{
    EXPECT_THAT(ask("GetSystemLog", "<tds:LogType>System</tds:LogType>"), HasSubstr("<tt:String>a line</tt:String>"));
    EXPECT_THAT(ask("GetSystemLog", "<tds:LogType>Access</tds:LogType>"), HasSubstr("ter:AccesslogUnavailable"));
}

TEST_F(DeviceServiceTest, tellsWhatWasSetOfTheNetwork)
{
    EXPECT_THAT(ask("SetHostname", "<tds:Name>gate-1</tds:Name>"), HasSubstr("SetHostnameResponse"));
    EXPECT_THAT(ask("GetHostname"), HasSubstr("<tt:FromDHCP>false</tt:FromDHCP><tt:Name>gate-1</tt:Name>"));
    const std::string hosts = "<tds:FromDHCP>true</tds:FromDHCP><tds:SearchDomain>example.org</tds:SearchDomain>";
    const std::string four = "<tt:Type>IPv4</tt:Type><tt:IPv4Address>10.0.0.1</tt:IPv4Address>";
    const std::string six = "<tt:Type>IPv6</tt:Type><tt:IPv6Address>fe80::1</tt:IPv6Address>";
    const std::string name = "<tt:Type>DNS</tt:Type><tt:DNSname>time.example.org</tt:DNSname>";
    ask("SetDNS", hosts + "<tds:DNSManual>" + four + "</tds:DNSManual><tds:DNSManual>" + six + "</tds:DNSManual>");
    EXPECT_THAT(ask("GetDNS"), HasSubstr("<tt:FromDHCP>true</tt:FromDHCP><tt:SearchDomain>example.org</tt:SearchDomain>"
                                         "<tt:DNSManual>" +
                                         four + "</tt:DNSManual><tt:DNSManual>" + six + "</tt:DNSManual>"));
    ask("SetNTP", "<tds:FromDHCP>false</tds:FromDHCP><tds:NTPManual>" + name + "</tds:NTPManual>");
    EXPECT_THAT(ask("GetNTP"), HasSubstr("<tt:NTPManual>" + name + "</tt:NTPManual>"));
    ask("SetNetworkDefaultGateway",
        "<tds:IPv4Address>10.0.0.9</tds:IPv4Address><tds:IPv6Address>fe80::9</tds:IPv6Address>");
    EXPECT_THAT(ask("GetNetworkDefaultGateway"),
                HasSubstr("<tt:IPv4Address>10.0.0.9</tt:IPv4Address><tt:IPv6Address>fe80::9</tt:IPv6Address>"));
    EXPECT_THAT(ask("GetDiscoveryMode"), HasSubstr(">Discoverable<"));
    ask("SetDiscoveryMode", "<tds:DiscoveryMode>NonDiscoverable</tds:DiscoveryMode>");
    EXPECT_THAT(ask("GetDiscoveryMode"), HasSubstr(">NonDiscoverable<"));
    EXPECT_THAT(ask("GetNetworkProtocols"), HasSubstr("<tt:Name>HTTP</tt:Name><tt:Enabled>true</tt:Enabled>"
                                                      "<tt:Port>8080</tt:Port>"));
    ask("SetNetworkProtocols", "<tds:NetworkProtocols><tt:Name>RTSP</tt:Name><tt:Enabled>false</tt:Enabled>"
                               "<tt:Port>554</tt:Port><tt:Port>8554</tt:Port></tds:NetworkProtocols>");
    EXPECT_THAT(ask("GetNetworkProtocols"), HasSubstr("<tt:Name>RTSP</tt:Name><tt:Enabled>false</tt:Enabled>"
                                                      "<tt:Port>554</tt:Port><tt:Port>8554</tt:Port>"));
}

TEST_F(DeviceServiceTest, tellsTheAddressThatItHasUntilAnotherIsSet)
{
    EXPECT_THAT(ask("GetNetworkInterfaces"),
                HasSubstr("<tt:Manual><tt:Address>127.0.0.1</tt:Address><tt:PrefixLength>24</tt:PrefixLength>"));
    const auto set = [this](const std::string& token, const std::string& address, const std::string& length) {
        return ask("SetNetworkInterfaces",
                   "<tds:InterfaceToken>" + token +
                       "</tds:InterfaceToken><tds:NetworkInterface><tt:IPv4><tt:Manual>"
                       "<tt:Address>" +
                       address + "</tt:Address><tt:PrefixLength>" + length +
                       "</tt:PrefixLength></tt:Manual><tt:DHCP>true</tt:DHCP></tt:IPv4></tds:NetworkInterface>");
    };
    EXPECT_THAT(set("Network_1", "10.0.0.2", "16"), HasSubstr("<tds:RebootNeeded>false</tds:RebootNeeded>"));
    EXPECT_THAT(ask("GetNetworkInterfaces"),
                HasSubstr("<tt:Address>10.0.0.2</tt:Address><tt:PrefixLength>16</tt:PrefixLength></tt:Manual>"
                          "<tt:DHCP>true</tt:DHCP>"));
    EXPECT_THAT(set("Network_2", "10.0.0.2", "16"), HasSubstr("ter:InvalidNetworkInterface"));
    EXPECT_THAT(set("Network_1", "10.0.0", "16"), HasSubstr("ter:InvalidIPv4Address"));
    EXPECT_THAT(set("Network_1", "10.0.0.2", "33"), HasSubstr("ter:InvalidIPv4Address"));
    EXPECT_THAT(set("Network_1", "10.0.0.2", "x"), HasSubstr("ter:InvalidIPv4Address"));
}

TEST_F(DeviceServiceTest, refusesWhatIsNoAddressNameOrPort)
{
    EXPECT_THAT(ask("SetHostname", "<tds:Name>a_b</tds:Name>"), HasSubstr("ter:InvalidHostname"));
    EXPECT_THAT(ask("SetHostname"), HasSubstr("ter:InvalidArgs"));
    const auto dns = [this](const std::string& host) {
        return ask("SetDNS", "<tds:FromDHCP>false</tds:FromDHCP><tds:DNSManual>" + host + "</tds:DNSManual>");
    };
    EXPECT_THAT(dns("<tt:Type>IPv4</tt:Type><tt:IPv4Address>10.0.0.256</tt:IPv4Address>"),
                HasSubstr("ter:InvalidIPv4Address"));
    EXPECT_THAT(dns("<tt:Type>IPv6</tt:Type><tt:IPv6Address>10.0.0.1</tt:IPv6Address>"),
                HasSubstr("ter:InvalidIPv6Address"));
    EXPECT_THAT(dns("<tt:Type>DNS</tt:Type><tt:DNSname>a</tt:DNSname>"), HasSubstr("ter:InvalidArgVal"));
    EXPECT_THAT(ask("SetNTP", "<tds:FromDHCP>false</tds:FromDHCP><tds:NTPManual><tt:Type>DNS</tt:Type>"
                              "<tt:DNSname>-a</tt:DNSname></tds:NTPManual>"),
                HasSubstr("ter:InvalidDnsName"));
    EXPECT_THAT(ask("SetDNS", "<tds:FromDHCP>false</tds:FromDHCP><tds:SearchDomain>a b</tds:SearchDomain>"),
                HasSubstr("ter:InvalidArgVal"));
    std::string many = "<tds:FromDHCP>false</tds:FromDHCP>";
    for (int i = 0; i < 9; ++i) {
        many += "<tds:DNSManual><tt:Type>IPv4</tt:Type><tt:IPv4Address>10.0.0.1</tt:IPv4Address></tds:DNSManual>";
    }
    EXPECT_THAT(ask("SetDNS", many), HasSubstr("at most 8"));
    EXPECT_THAT(ask("SetNetworkDefaultGateway", "<tds:IPv4Address>fe80::1</tds:IPv4Address>"),
                HasSubstr("ter:InvalidGatewayAddress"));
    EXPECT_THAT(ask("SetDiscoveryMode", "<tds:DiscoveryMode>x</tds:DiscoveryMode>"), HasSubstr("ter:InvalidArgVal"));
    const auto protocol = [this](const std::string& name, const std::string& port) {
        return ask("SetNetworkProtocols", "<tds:NetworkProtocols><tt:Name>" + name +
                                              "</tt:Name><tt:Enabled>true</tt:Enabled><tt:Port>" + port +
                                              "</tt:Port></tds:NetworkProtocols>");
    };
    EXPECT_THAT(protocol("FTP", "21"), HasSubstr("ter:ServiceNotSupported"));
    for (const char* const port : {"0", "65536", "", "8a", "999999999999"}) {
        EXPECT_THAT(protocol("HTTP", port), HasSubstr("is no port")) << port;
    }
    EXPECT_THAT(protocol("HTTP", "65535"), HasSubstr("SetNetworkProtocolsResponse"));
}

TEST_F(DeviceServiceTest, letsEverybodyCallWhatIsNeededBeforeALoginAndNothingElse)
{
    std::vector<std::string> open;
    for (const auto& [name, operation] : _operations.all()) {
        if (operation.access == AccessClass::preAuth && name.compare(0, 4, "tds:") == 0) {
            open.push_back(name.substr(4));
        }
    }
    EXPECT_THAT(open, ElementsAre("GetCapabilities", "GetEndpointReference", "GetHostname", "GetServiceCapabilities",
                                  "GetServices", "GetSystemDateAndTime", "GetWsdlUrl"));
}

TEST(DeviceSettingsTest, comeBackFromTheirDocument)
{
    DeviceSettings settings;
    settings.network.hostname = "a";
    settings.network.dns = {true, {"d"}, {"10.0.0.1", "fe80::1"}};
    settings.network.ntp = {false, {}, {"time"}};
    settings.network.gateways = {"10.0.0.9"};
    settings.network.protocols = {{"HTTP", true, {80, 8080}}, {"RTSP", false, {}}};
    settings.network.interfaceEnabled = false;
    settings.network.interfaceDhcp = true;
    settings.network.interfaceAddress = "10.0.0.2/8";
    settings.scopes = {"s"};
    settings.discoverable = false;
    settings.timeZone = "CET-1";
    settings.daylightSavings = true;
    const auto read = parseDeviceSettings(format(settings));
    ASSERT_TRUE(read);
    EXPECT_EQ(format(settings), format(*read));
    EXPECT_EQ("a", read->network.hostname);
    EXPECT_TRUE(read->network.dns.fromDhcp);
    EXPECT_THAT(read->network.dns.hosts, ElementsAre("10.0.0.1", "fe80::1"));
    EXPECT_THAT(read->network.dns.searchDomains, ElementsAre("d"));
    EXPECT_THAT(read->network.ntp.hosts, ElementsAre("time"));
    EXPECT_THAT(read->network.gateways, ElementsAre("10.0.0.9"));
    ASSERT_EQ(2U, read->network.protocols.size());
    EXPECT_THAT(read->network.protocols[0].ports, ElementsAre(80, 8080));
    EXPECT_FALSE(read->network.protocols[1].enabled);
    EXPECT_FALSE(read->network.interfaceEnabled);
    EXPECT_TRUE(read->network.interfaceDhcp);
    EXPECT_EQ("10.0.0.2/8", read->network.interfaceAddress);
    EXPECT_THAT(read->scopes, ElementsAre("s"));
    EXPECT_FALSE(read->discoverable);
    EXPECT_EQ("CET-1", read->timeZone);
    EXPECT_TRUE(read->daylightSavings);
    EXPECT_FALSE(parseDeviceSettings(format(DeviceSettings()))->network.interfaceAddress);
}

TEST(DeviceSettingsTest, areNotReadOfWhatIsNoneOfTheirDocuments)
{
    for (const char* const document : {"", "[]", "{}", "{\"hostname\":1}", "null"}) {
        EXPECT_FALSE(parseDeviceSettings(document)) << document;
    }
}

} // namespace
} // namespace camera::onvif
