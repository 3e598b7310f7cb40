// What the gateway asks of the camera's other processes, and what it answers where they do not.
#include "GatewayProgram.h"
#include "integration/camera_services/ServicesClient.h"
#include "kit/LogLines.h"
#include "kit/PrivateBus.h"

#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace camera::gateway {
namespace {

using services_test::ServicesClient;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
namespace service = bus::service;

/// What a test wants of the pipeline and the supervisor, and what it saw.
struct Script {
    std::atomic<bool> pictures{true};
    std::atomic<bool> moves{false};
    std::atomic<bool> answers{true}; ///< else the supervisor keeps its callers waiting
    ::kit::LineJournal asked;
    std::mutex mutex;
    std::vector<sdbus::Result<>> waiting;

    void answerAll()
    {
        // Answered without the lock: the bus thread, which takes it, holds the connection's.
        std::vector<sdbus::Result<>> all;
        {
            const std::lock_guard<std::mutex> lock(mutex);
            all.swap(waiting);
        }
        for (const auto& each : all) {
            each.returnResults();
        }
    }
};

/// The pipeline and the supervisor, as far as the gateway asks them.
class FakeCamera {
public:
    FakeCamera(const std::shared_ptr<bus::Session>& session, Script& script) : _script(script)
    {
        sdbus::IConnection& connection = session->connection();
        add(connection, service::kPipeline, [this](sdbus::IObject& object, const std::string& interface) {
            object.registerProperty("PictureFormat").onInterface(interface).withGetter([this] {
                using Format = sdbus::Struct<std::uint32_t, std::uint32_t, double>;
                return _script.pictures ? Format(640, 360, 12.5) : Format(0, 0, 0);
            });
        });
        add(connection, service::kPositioning, [this](sdbus::IObject& object, const std::string& interface) {
            object.registerProperty("Available").onInterface(interface).withGetter([this] {
                return _script.moves.load();
            });
        });
        add(connection, service::kSupervisor, [this](sdbus::IObject& object, const std::string& interface) {
            object.registerMethod("restart").onInterface(interface).implementedAs(
                [this](sdbus::Result<>&& result) { asked("restart", std::move(result)); });
            object.registerMethod("factoryDefault")
                .onInterface(interface)
                .implementedAs([this](sdbus::Result<>&& result, const bool& hard) {
                    asked(hard ? "hard" : "soft", std::move(result));
                });
        });
    }

private:
    template <class Register>
    void add(sdbus::IConnection& connection, const char* name, const Register& registerAll)
    {
        _objects.push_back(sdbus::createObject(connection, bus::objectPath(name)));
        registerAll(*_objects.back(), bus::interfaceName(name));
        _objects.back()->finishRegistration();
        connection.requestName(bus::busName(name));
    }

    void asked(const std::string& what, sdbus::Result<>&& result)
    {
        if (_script.answers) {
            result.returnResults();
        } else {
            const std::lock_guard<std::mutex> lock(_script.mutex);
            _script.waiting.push_back(std::move(result));
        }
        _script.asked.add(what);
    }

    Script& _script;
    std::vector<std::unique_ptr<sdbus::IObject>> _objects;
};

class CameraTest : public testing::Test {
protected:
    void SetUp() override
    {
        _camera.add<FakeCamera>([this](const auto& session) { return std::make_shared<FakeCamera>(session, script); });
        _camera.start();
        ASSERT_TRUE(_camera.waitUntilConnected(::kit::soon()));
        startServices();
        startGateway();
    }

    void TearDown() override
    {
        script.answers = true;
        EXPECT_EQ(0, gateway->end()) << gateway->err();
        script.answerAll(); // what it holds refers to the connection
        _camera.stop();
    }

    void startServices()
    {
        _services.emplace(
            std::vector<std::string>{CAMERA_SERVICES_PROGRAM, "--bus", bus.address(), "--state", place.state()});
        ASSERT_TRUE(::kit::eventually([this] { return client.isServed(service::kServices); }));
    }

    void startGateway()
    {
        gateway.emplace(
            place.words(bus.address(), {"--users", place.folder().write("given", "root:administrator:secret\n")}));
        ASSERT_TRUE(::kit::eventually([this] { return client.isServed(service::kGateway); }));
    }

    /// Asks for the camera's pictures again and again, until the answer holds the text.
    bool waitForCamera(const std::string& text)
    {
        return ::kit::eventually([&] { return root.ask("<trt:GetVideoSources/>").find(text) != std::string::npos; });
    }

    std::string setBlanking(bool on, const std::string& colour = "X='1' Y='2' Z='3'") const
    {
        return root.ask("<tr2:SetMask><tr2:Mask token='Mask_1'><tr2:ConfigurationToken>VideoSource_1"
                        "</tr2:ConfigurationToken><tr2:Polygon/><tr2:Type>Color</tr2:Type><tr2:Color " +
                        colour + " Colorspace='http://www.onvif.org/ver10/colorspace/RGB'/><tr2:Enabled>" +
                        (on ? "true" : "false") + "</tr2:Enabled></tr2:Mask></tr2:SetMask>");
    }

    std::string setFilter(const std::string& filter) const
    {
        return root.ask("<timg:SetImagingSettings><timg:VideoSourceToken>VideoSource_1</timg:VideoSourceToken>"
                        "<timg:ImagingSettings><tt:IrCutFilter>" +
                        filter + "</tt:IrCutFilter></timg:ImagingSettings></timg:SetImagingSettings>");
    }

    std::string imaging() const
    {
        return root.ask("<timg:GetImagingSettings><timg:VideoSourceToken>VideoSource_1</timg:VideoSourceToken>"
                        "</timg:GetImagingSettings>");
    }

    std::string factoryDefault(const std::string& kind) const
    {
        return root.ask("<tds:SetSystemFactoryDefault><tds:FactoryDefault>" + kind +
                        "</tds:FactoryDefault></tds:SetSystemFactoryDefault>");
    }

    const ::kit::LogLines log;
    Script script;
    ::kit::PrivateBus bus;
    GatewayPlace place;
    const OnvifClient root{place.port(), "root", "secret"};
    ServicesClient client{bus.address()};
    std::optional<::kit::ChildProcess> gateway;
    std::optional<::kit::ChildProcess> _services;

private:
    bus::Connection _camera{bus.address(), "a fake camera"};
};

TEST_F(CameraTest, tellsThePicturesOfThePipeline)
{
    ASSERT_TRUE(waitForCamera("<tt:Resolution><tt:Width>640</tt:Width><tt:Height>360</tt:Height>"));
    const std::string source = root.ask("<trt:GetVideoSources/>");
    EXPECT_THAT(source, HasSubstr("<tt:Framerate>12.5</tt:Framerate>"));
    script.pictures = false;
    EXPECT_THAT(root.ask("<trt:GetVideoSources/>"), HasSubstr("the camera has no pictures"));
}

TEST_F(CameraTest, hasPtzConfigurationsWhereTheCameraMoves)
{
    ASSERT_TRUE(waitForCamera("<trt:VideoSources"));
    EXPECT_THAT(root.ask("<tr2:GetServiceCapabilities/>"), HasSubstr("Analytics Metadata"));
    gateway.reset();
    script.moves = true;
    startGateway();
    EXPECT_TRUE(::kit::eventually([this] {
        return root.ask("<tr2:GetServiceCapabilities/>").find("Analytics PTZ Metadata") != std::string::npos;
    }));
}

TEST_F(CameraTest, blanksTheWindow)
{
    ASSERT_TRUE(waitForCamera("<trt:VideoSources"));
    EXPECT_THAT(setBlanking(true), StartsWith("HTTP/1.1 200 "));
    EXPECT_EQ(1, client.enabled());
    EXPECT_EQ(services_test::Color(1, 2, 3), client.color());
    EXPECT_THAT(root.ask("<tr2:GetMasks/>"),
                AllOf(HasSubstr("X=\"1\" Y=\"2\" Z=\"3\""), HasSubstr("<tr2:Enabled>true<")));
}

TEST_F(CameraTest, movesTheFilterAndKeepsWhereItIs)
{
    ASSERT_TRUE(waitForCamera("<trt:VideoSources"));
    EXPECT_THAT(setFilter("OFF"), StartsWith("HTTP/1.1 200 "));
    EXPECT_THAT(client.journal.lines(2), ElementsAre("movementChange 1", "movementChange 0"));
    gateway->crash();
    startGateway();
    EXPECT_THAT(imaging(), HasSubstr("<tt:IrCutFilter>OFF<"));
}

TEST_F(CameraTest, keepsTheFilterWhereNobodyMovesIt)
{
    ASSERT_TRUE(waitForCamera("<trt:VideoSources"));
    _services.reset();
    ASSERT_TRUE(::kit::eventually([this] { return !client.isServed(service::kDayNight); }));
    EXPECT_THAT(setFilter("OFF"),
                AllOf(StartsWith("HTTP/1.1 500 "), HasSubstr("the camera's service 'day_night' does not run")));
    EXPECT_THAT(imaging(), HasSubstr("<tt:IrCutFilter>AUTO<"));
}

TEST_F(CameraTest, answersForServicesThatDoNot)
{
    ASSERT_TRUE(waitForCamera("<trt:VideoSources"));
    _services->stop();
    HttpClient waits(place.port());
    waits.send(root.message("<tr2:GetMasks/>"));
    // Nobody waits for what this one waits for.
    EXPECT_THAT(root.ask("<trt:GetVideoSources/>"), StartsWith("HTTP/1.1 200 "));
    EXPECT_THAT(waits.readAnswer(), AllOf(StartsWith("HTTP/1.1 500 "), HasSubstr("env:Receiver"),
                                          HasSubstr("the camera's service 'window_blanking' does not answer")));
    EXPECT_THAT(setFilter("ON"), HasSubstr("the camera's service 'day_night' does not answer"));
    _services->signal(SIGCONT);
    EXPECT_TRUE(::kit::eventually([this] { return setBlanking(false).find("200 OK") != std::string::npos; }));
}

TEST_F(CameraTest, givesTheReasonOfAServiceThatFails)
{
    ASSERT_TRUE(waitForCamera("<trt:VideoSources"));
    client.setFault(service::kWindowBlanking, "fail");
    EXPECT_THAT(root.ask("<tr2:GetMasks/>"), AllOf(HasSubstr("ter:Action"), HasSubstr("made to fail")));
}

TEST_F(CameraTest, findsTheCameraAgainWhenItsBusComesBack)
{
    ASSERT_TRUE(waitForCamera("<trt:VideoSources"));
    bus.kill();
    EXPECT_TRUE(waitForCamera("try again when it has started"));
    bus.start();
    EXPECT_TRUE(waitForCamera("<trt:VideoSources"));
}

TEST_F(CameraTest, restartsTheCamera)
{
    EXPECT_THAT(root.ask("<tds:SystemReboot/>"), HasSubstr("<tds:Message>"));
    EXPECT_THAT(script.asked.lines(), ElementsAre("restart"));
}

TEST_F(CameraTest, keepsUsersAndNetworkAnswersAtASoftDefault)
{
    ASSERT_THAT(root.ask("<tds:SetHostname><tds:Name>kept</tds:Name></tds:SetHostname>"), HasSubstr("200 OK"));
    ASSERT_THAT(root.ask("<tds:SetScopes><tds:Scopes>onvif://www.onvif.org/name/mine</tds:Scopes></tds:SetScopes>"),
                HasSubstr("200 OK"));
    ASSERT_THAT(root.ask("<tr2:CreateProfile><tr2:Name>mine</tr2:Name></tr2:CreateProfile>"), HasSubstr("200 OK"));
    ASSERT_THAT(setFilter("OFF"), HasSubstr("200 OK"));
    EXPECT_THAT(factoryDefault("Soft"), HasSubstr("200 OK"));
    EXPECT_THAT(script.asked.lines(), ElementsAre("soft"));
    gateway->crash();
    startGateway();
    EXPECT_THAT(root.ask("<tds:GetHostname/>"), HasSubstr(">kept<"));
    EXPECT_THAT(root.ask("<tds:GetScopes/>"), Not(HasSubstr("name/mine")));
    EXPECT_THAT(imaging(), HasSubstr("<tt:IrCutFilter>AUTO<"));
    EXPECT_THAT(root.ask("<tr2:GetProfiles/>"), Not(HasSubstr("<tr2:Name>mine<")));
}

TEST_F(CameraTest, changesNothingAtADefaultThatTheSupervisorDoesNotMake)
{
    ASSERT_THAT(setFilter("OFF"), HasSubstr("200 OK"));
    script.answers = false;
    EXPECT_THAT(factoryDefault("Soft"), HasSubstr("the camera's service 'supervisor' does not answer"));
    EXPECT_THAT(imaging(), HasSubstr("<tt:IrCutFilter>OFF<"));
}

TEST_F(CameraTest, answersARequestThatEndsIt)
{
    script.answers = false;
    HttpClient waits(place.port());
    waits.send(root.message("<tds:SetSystemFactoryDefault><tds:FactoryDefault>Hard</tds:FactoryDefault>"
                            "</tds:SetSystemFactoryDefault>"));
    ASSERT_THAT(script.asked.lines(1), ElementsAre("hard"));
    gateway->signal(SIGTERM);
    script.answerAll();
    EXPECT_THAT(waits.readAll(), HasSubstr("SetSystemFactoryDefaultResponse"));
    EXPECT_EQ(0, gateway->waitForEnd());
}

} // namespace
} // namespace camera::gateway
