// The program camera-gateway, without the other processes of the camera.
#include "GatewayProgram.h"
#include "TlsClient.h"
#include "kit/BusClient.h"
#include "kit/LogLines.h"
#include "kit/OnvifSchemas.h"
#include "kit/PrivateBus.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace camera::gateway {
namespace {

using ::kit::ChildProcess;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string kNoBus = "unix:path=/nowhere";

class ProgramTest : public testing::Test {
protected:
    std::string usersFile(const std::string& lines = "root:administrator:secret\n") const
    {
        return place.folder().write("given", lines);
    }

    GatewayPlace place;
    const OnvifClient root{place.port(), "root", "secret"};
};

TEST_F(ProgramTest, saysWhatIsWrongWithItsArguments)
{
    const std::vector<std::string> kWhere = {"--bus", kNoBus, "--state", "s"};
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{}, "--http or --https is needed"},
        {{"--http", "65536"}, "--http takes a whole number from 0 to 65535, not '65536'"},
        {{"--http", "fd:x"}, "--http takes a whole number from 0 to 1000000, not 'x'"},
        {{"--http", "0", "--users", "/nowhere"}, "the users in '/nowhere' cannot be read"},
    };
    for (const auto& [more, sentence] : cases) {
        std::vector<std::string> words = {CAMERA_GATEWAY_PROGRAM};
        words.insert(words.end(), kWhere.begin(), kWhere.end());
        words.insert(words.end(), more.begin(), more.end());
        const ::kit::Finished done = ::kit::run(words);
        EXPECT_EQ(2, done.exitCode) << sentence;
        EXPECT_THAT(done.err, HasSubstr(sentence));
        EXPECT_EQ(1U, ::kit::occurrences(done.err, "\n")) << done.err;
    }
}

TEST_F(ProgramTest, namesTheLineOfUsersThatIsWrongButNoPassword)
{
    const ::kit::Finished done =
        ::kit::run(place.words(kNoBus, {"--users", usersFile("root:administrator:secret\nsecond:secret:operator\n")}));
    EXPECT_EQ(2, done.exitCode);
    EXPECT_THAT(done.err, HasSubstr("': line 2: the level is 'administrator', 'operator' or 'user'."));
    EXPECT_THAT(done.err, Not(HasSubstr("secret")));
}

TEST_F(ProgramTest, endsWithOneSentenceWhereItCannotBegin)
{
    const ::kit::Finished noFolder =
        ::kit::run({CAMERA_GATEWAY_PROGRAM, "--bus", kNoBus, "--state", "/dev/null/s", "--http", "0"});
    EXPECT_EQ(1, noFolder.exitCode);
    EXPECT_THAT(noFolder.err, HasSubstr("the state folder /dev/null/s/gateway cannot be used"));
    const ::kit::Finished noSocket =
        ::kit::run({CAMERA_GATEWAY_PROGRAM, "--bus", kNoBus, "--state", place.state(), "--http", "fd:0"});
    EXPECT_EQ(1, noSocket.exitCode);
    EXPECT_THAT(noSocket.err, HasSubstr("the descriptor 0 is no TCP socket that listens"));
    const ::kit::Finished taken = ::kit::run(
        {CAMERA_GATEWAY_PROGRAM, "--bus", kNoBus, "--state", place.state(), "--http", std::to_string(place.port())});
    EXPECT_EQ(1, taken.exitCode);
    EXPECT_THAT(taken.err, HasSubstr("Address already in use; choose another port"));
    std::filesystem::create_directories(place.state() / "gateway");
    place.folder().write("gateway/certificate.pem", "nothing");
    const ::kit::Finished noCertificate = ::kit::run(place.words(kNoBus, {"--https", "0"}));
    EXPECT_EQ(1, noCertificate.exitCode);
    EXPECT_THAT(noCertificate.err, HasSubstr("certificate.pem' holds no key and certificate; remove it"));
}

TEST_F(ProgramTest, refusesAFolderThatAnotherOneUses)
{
    const ChildProcess first(place.words(kNoBus, {"--users", usersFile()}));
    ASSERT_THAT(root.ask("<tds:GetUsers/>"), HasSubstr("200 OK"));
    const ::kit::Finished second = ::kit::run(place.words(kNoBus));
    EXPECT_EQ(1, second.exitCode);
    EXPECT_THAT(second.err, HasSubstr("is in use by process " + std::to_string(first.id())));
}

TEST_F(ProgramTest, answersWithoutABusWhatItCan)
{
    const ChildProcess gateway(place.words(kNoBus, {"--users", usersFile()}));
    const std::string services =
        root.ask("<tds:GetServices><tds:IncludeCapability>true</tds:IncludeCapability></tds:GetServices>");
    for (const char* const service : {"device", "media", "media2", "imaging", "deviceio"}) {
        EXPECT_THAT(services, HasSubstr("<tds:XAddr>http://camera/onvif/" + std::string(service) + "_service<"));
    }
    EXPECT_THAT(root.ask("<tds:GetDeviceInformation/>"), HasSubstr("<tds:Model>Virtual camera</tds:Model>"));
    EXPECT_THAT(root.ask("<timg:GetImagingSettings><timg:VideoSourceToken>VideoSource_1</timg:VideoSourceToken>"
                         "</timg:GetImagingSettings>"),
                HasSubstr("<tt:IrCutFilter>AUTO<"));
    EXPECT_THAT(root.ask("<trt:GetProfiles/>"),
                AllOf(StartsWith("HTTP/1.1 500 "), HasSubstr("env:Receiver"),
                      HasSubstr("the camera's processes cannot be reached; try again when it has started")));
    EXPECT_THAT(root.ask("<tds:SystemReboot/>"), HasSubstr("ter:Action"));
    const std::string whereOf = "<tr2:GetStreamUri><tr2:Protocol>RtspUnicast</tr2:Protocol>"
                                "<tr2:ProfileToken>Profile_1</tr2:ProfileToken></tr2:GetStreamUri>";
    EXPECT_THAT(root.ask(whereOf), HasSubstr("ter:ActionNotSupported"));
}

TEST_F(ProgramTest, endsAtASignalWithNothingSaid)
{
    for (const int number : {SIGTERM, SIGINT}) {
        ChildProcess gateway(place.words(kNoBus, {"--users", usersFile()}));
        ASSERT_THAT(root.ask("<tds:GetUsers/>"), HasSubstr("200 OK"));
        const HttpClient idle(place.port());
        EXPECT_EQ(0, gateway.end(number));
        EXPECT_EQ("", gateway.out() + gateway.err());
    }
}

TEST_F(ProgramTest, announcesWhereThePasswordIsThatItMade)
{
    ChildProcess gateway(place.words(kNoBus, {"--announce"}));
    const std::string sentence = "Log in as \"admin\" with the password in " + place.usersFile().string() + ".\n";
    EXPECT_TRUE(::kit::eventually([&] { return gateway.err() == sentence; })) << gateway.err();
    struct stat users {};
    ASSERT_EQ(0, ::stat(place.usersFile().c_str(), &users));
    EXPECT_EQ(0600U, users.st_mode & 0777U);
    gateway.crash();
    const ChildProcess second(place.words(kNoBus, {"--announce"}));
    EXPECT_TRUE(::kit::eventually([&] { return second.err() == sentence; })) << second.err();
}

TEST_F(ProgramTest, tellsAPasswordToATerminalOnceOnly)
{
    if (!::kit::hasTerminals()) {
        GTEST_SKIP() << "this system gives no terminals";
    }
    ::kit::ChildSettings onTerminal = ::kit::bothOutputs();
    onTerminal.terminal = true;
    const std::string file = place.usersFile();
    {
        const ChildProcess gateway(place.words(kNoBus, {"--announce"}), onTerminal);
        ASSERT_TRUE(gateway.waitForOutput(", which " + file + " keeps."));
        const std::string out = gateway.out();
        const std::string begin = "Log in as \"admin\" with the password \"";
        ASSERT_THAT(out, StartsWith(begin));
        const std::string password = out.substr(begin.size(), out.find('"', begin.size()) - begin.size());
        EXPECT_THAT(OnvifClient(place.port(), "admin", password).ask("<tds:GetUsers/>"), HasSubstr("200 OK"));
    }
    const ChildProcess second(place.words(kNoBus, {"--announce"}), onTerminal);
    EXPECT_TRUE(second.waitForOutput("Log in as \"admin\" with the password in " + file + "."));
}

TEST_F(ProgramTest, saysNothingAboutUsersThatAreGiven)
{
    ChildProcess gateway(place.words(kNoBus, {"--announce", "--users", usersFile()}));
    ASSERT_THAT(root.ask("<tds:GetUsers/>"), HasSubstr("200 OK"));
    EXPECT_EQ(0, gateway.end());
    EXPECT_EQ("", gateway.err());
}

TEST_F(ProgramTest, keepsUsersAndSettingsWhenItIsKilled)
{
    {
        ChildProcess gateway(place.words(kNoBus, {"--users", usersFile()}));
        EXPECT_THAT(root.ask("<tds:CreateUsers><tds:User><tt:Username>second</tt:Username><tt:Password>other"
                             "</tt:Password><tt:UserLevel>Operator</tt:UserLevel></tds:User></tds:CreateUsers>"),
                    HasSubstr("200 OK"));
        EXPECT_THAT(root.ask("<tds:SetHostname><tds:Name>kept</tds:Name></tds:SetHostname>"), HasSubstr("200 OK"));
        EXPECT_THAT(root.ask("<tr2:CreateProfile><tr2:Name>mine</tr2:Name></tr2:CreateProfile>"), HasSubstr("200 OK"));
        gateway.crash();
    }
    const ChildProcess next(place.words(kNoBus));
    EXPECT_THAT(OnvifClient(place.port(), "second", "other").ask("<tds:GetHostname/>"), HasSubstr(">kept<"));
    EXPECT_THAT(root.ask("<tr2:DeleteProfile><tr2:Token>Profile_3</tr2:Token></tr2:DeleteProfile>"),
                HasSubstr("200 OK"));
}

TEST_F(ProgramTest, servesOverTlsWithACertificateThatItKeeps)
{
    const base::FileDescriptor listener = base::listeningSocket("127.0.0.1", 0);
    ::fcntl(listener.get(), F_SETFD, 0);
    const std::string request =
        postOf("<tds:GetServices><tds:IncludeCapability>false</tds:IncludeCapability></tds:GetServices>", "",
               "Connection: close\r\n");
    std::string certificate;
    for (int start = 0; start < 2; ++start) {
        const ChildProcess gateway(
            place.words(kNoBus, {"--users", usersFile(), "--https", "fd:" + std::to_string(listener.get())}));
        ASSERT_THAT(root.ask("<tds:GetNetworkProtocols/>"), HasSubstr(">HTTPS<"));
        certificate = start == 0 ? ::kit::contentOf(place.state() / "gateway" / "certificate.pem") : certificate;
        EXPECT_THAT(askOverTls(base::portOf(listener.get()), certificate, request),
                    HasSubstr("<tds:XAddr>https://camera/onvif/device_service<"));
    }
}

TEST_F(ProgramTest, leavesNoPasswordInACoreFile)
{
    const std::string dumps = place.folder() / "dumps";
    std::filesystem::create_directories(dumps);
    const auto crash = [&dumps](const std::string& command, const auto& ready) {
        ChildProcess program({"sh", "-c", "cd " + dumps + " && ulimit -c unlimited && exec " + command});
        EXPECT_TRUE(::kit::eventually(ready));
        program.signal(SIGQUIT); // not one that a sanitizer takes
        EXPECT_EQ(-SIGQUIT, program.waitForEnd());
        return !std::filesystem::is_empty(dumps);
    };
    std::string command;
    for (const std::string& word : place.words(kNoBus, {"--users", usersFile()})) {
        command += word + " ";
    }
    EXPECT_FALSE(crash(command, [this] { return root.ask("<tds:GetUsers/>").find("200 OK") != std::string::npos; }));
    const std::string begun = place.folder() / "begun";
    if (!crash("sh -c 'echo >" + begun + "; while :; do :; done'", [&] { return std::filesystem::exists(begun); })) {
        GTEST_SKIP() << "this system writes no core files into the folder of a process";
    }
}

TEST_F(ProgramTest, writesNoPasswordIntoItsLog)
{
    ChildProcess gateway(place.words(kNoBus, {"--users", usersFile(), "-v", "-v"}));
    EXPECT_THAT(root.ask("<tds:SetUser><tds:User><tt:Username>root</tt:Username><tt:Password>changed</tt:Password>"
                         "<tt:UserLevel>Administrator</tt:UserLevel></tds:User></tds:SetUser>"),
                HasSubstr("200 OK"));
    EXPECT_THAT(root.ask("<tds:GetUsers/>"), HasSubstr("ter:NotAuthorized"));
    const std::string log = OnvifClient(place.port(), "root", "changed")
                                .ask("<tds:GetSystemLog><tds:LogType>System</tds:LogType></tds:GetSystemLog>");
    EXPECT_EQ(0, gateway.end());
    for (const std::string& text : {log, gateway.err()}) {
        EXPECT_THAT(text, HasSubstr(" debug camera-gateway: 127.0.0.1 POST 400"));
        EXPECT_THAT(text, AllOf(Not(HasSubstr("secret")), Not(HasSubstr("changed"))));
    }
}

/// What takes every message of this namespace.
std::string schemaFor(const std::string& name)
{
    return "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' targetNamespace='" + name +
           "'><xs:element name='Envelope'/></xs:schema>";
}

TEST_F(ProgramTest, logsAnswersThatTheSchemasDoNotHave)
{
    const auto logged = [this](const std::string& schema) {
        std::filesystem::create_directories(place.state() / "xsd-libxml2");
        place.folder().write("xsd-libxml2/soap-all.xsd", schema);
        ChildProcess gateway(place.words(kNoBus, {"--users", usersFile(), "--check", place.state()}));
        EXPECT_THAT(root.ask("<tds:GetUsers/>"), HasSubstr("200 OK"));
        EXPECT_THAT(root.ask("<tds:Nothing/>"), HasSubstr("ter:ActionNotSupported"));
        gateway.end();
        return gateway.err();
    };
    const std::string sentence = "an answer is not valid: Element '{http://www.w3.org/2003/05/soap-envelope}Envelope'";
    EXPECT_EQ(2U, ::kit::occurrences(logged(schemaFor("urn:other")), sentence));
    EXPECT_EQ("", logged(schemaFor("http://www.w3.org/2003/05/soap-envelope")));
    place.folder().write("xsd-libxml2/soap-all.xsd", "<nothing/>");
    const ::kit::Finished none = ::kit::run(place.words(kNoBus, {"--check", place.state()}));
    EXPECT_EQ(1, none.exitCode);
    EXPECT_THAT(none.err, HasSubstr("soap-all.xsd' cannot be used: "));
}

TEST_F(ProgramTest, answersAsTheSchemasWantIt)
{
    const ::kit::OnvifSchemas schemas(CAMERA_ONVIF_SCHEMAS);
    if (schemas.missing()) {
        GTEST_SKIP() << *schemas.missing();
    }
    ChildProcess gateway(place.words(kNoBus, {"--users", usersFile(), "--check", schemas.path()}));
    for (const char* const request :
         {"<tds:GetServices><tds:IncludeCapability>true</tds:IncludeCapability></tds:GetServices>",
          "<tds:GetCapabilities/>", "<tds:GetDeviceInformation/>", "<tds:GetScopes/>", "<tds:GetNetworkInterfaces/>",
          "<tds:GetNetworkProtocols/>", "<tds:GetSystemLog><tds:LogType>System</tds:LogType></tds:GetSystemLog>"}) {
        EXPECT_THAT(root.ask(request), HasSubstr("200 OK")) << request;
    }
    EXPECT_THAT(root.ask("<trt:GetProfiles/>"), HasSubstr("env:Receiver"));
    EXPECT_THAT(root.ask("<tds:SetSystemFactoryDefault/>"), HasSubstr("env:Sender"));
    EXPECT_EQ(0, gateway.end());
    EXPECT_EQ("", gateway.err());
}

TEST_F(ProgramTest, isOnTheBusWhenThatComes)
{
    ::kit::PrivateBus bus;
    bus.kill();
    const ChildProcess gateway(place.words(bus.address(), {"--users", usersFile()}));
    ASSERT_THAT(root.ask("<tds:GetUsers/>"), HasSubstr("200 OK"));
    bus.start();
    const ::kit::LogLines log;
    ::kit::BusClient client(bus.address(), {::kit::service::kGateway});
    ASSERT_TRUE(client.waitForSession(1)) << client.connection.reason();
    ASSERT_TRUE(::kit::eventually([&] { return client.isServed(::kit::service::kGateway); }));
    const auto all = client.properties(::kit::service::kGateway);
    EXPECT_EQ(static_cast<std::uint32_t>(gateway.id()), all.at("Pid").get<std::uint32_t>());
    EXPECT_EQ("http://127.0.0.1:" + std::to_string(place.port()) + "/onvif/device_service",
              all.at("Address").get<std::string>());
    client.ask<>(::kit::service::kGateway, "setLogLevel", std::string("debug"));
    EXPECT_THAT(root.ask("<tds:GetUsers/>"), HasSubstr("200 OK"));
    EXPECT_TRUE(::kit::eventually([&] { return gateway.err().find("POST 200") != std::string::npos; }));
}

} // namespace
} // namespace camera::gateway
