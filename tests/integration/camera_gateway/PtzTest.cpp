// What the PTZ service asks of the camera over the bus: in the units of the bus, and as it answers.
#include "GatewayProgram.h"
#include "camera/bus/Connection.h"
#include "camera/bus/positioning_server.h"
#include "kit/BusClient.h"
#include "kit/Eventually.h"
#include "kit/LineJournal.h"
#include "kit/LogLines.h"
#include "kit/PrivateBus.h"

#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <optional>
#include <sstream>
#include <vector>

namespace camera::gateway {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using Row = sdbus::Struct<std::string, std::uint32_t, std::int32_t, std::uint32_t>;
using Stop = sdbus::Struct<std::string, std::uint32_t, std::uint32_t>;
using TourRow = sdbus::Struct<std::string, std::vector<Stop>>;

/// What the fake says, and what it was asked for.
struct Mover {
    std::atomic<bool> moves{true};
    std::atomic<bool> moving{false};
    std::atomic<bool> paused{false};
    std::atomic<bool> held{false}; ///< by somebody who is more important
    ::kit::LineJournal asked;
};

/// ravel.positioning, which writes down what it is told to do.
class FakePositioning final : public bus::PositioningServer {
public:
    FakePositioning(const std::shared_ptr<bus::Session>& session, Mover& mover)
        : PositioningServer(session->connection()), _mover(mover)
    {
        takeName();
    }

private:
    template <class... In>
    void note(const char* what, const In&... arguments)
    {
        if (_mover.held) {
            throw bus::Refusal("anna holds the camera");
        }
        std::ostringstream line;
        line << what;
        ((line << ' ' << text(arguments)), ...);
        _mover.asked.add(line.str());
    }
    static std::string text(const std::string& value) { return value; }
    template <class Number>
    static std::string text(Number value)
    {
        return std::to_string(value);
    }

    void createTour(const std::string& name, const std::vector<Stop>& stops) override
    {
        note("createTour", name, stops.at(0).get<0>(), stops.at(0).get<1>(), stops.at(0).get<2>());
    }
    void drive(std::int32_t pan, std::int32_t tilt, std::int32_t zoom, std::uint32_t milliseconds,
               std::uint32_t priority) override
    {
        note("drive", pan, tilt, zoom, milliseconds, priority);
    }
    std::tuple<std::int32_t, std::int32_t, bool, std::int32_t, std::int32_t, std::uint32_t, std::uint32_t,
               std::uint32_t, std::uint32_t>
    getLimits() override
    {
        return {-170000, 160000, false, -10000, 90000, 2000, 256, 64, 32};
    }
    std::tuple<std::uint32_t, std::int32_t, std::uint32_t, std::uint32_t, bool, std::string> getPosition() override
    {
        return {350000, 40000, 1050, 60000, _mover.moving.load(), ""};
    }
    void goToPreset(const std::string& name, std::uint32_t priority) override { note("goToPreset", name, priority); }
    void goToPresetAtSpeed(const std::string& name, std::uint32_t speed, std::uint32_t priority) override
    {
        note("goToPresetAtSpeed", name, speed, priority);
    }
    std::vector<Row> listPresets() override { return {Row("Gate", 90000, 0, 100)}; }
    std::vector<TourRow> listTours() override { return {TourRow("Round", {Stop("Gate", 1500, 50)})}; }
    void moveAtSpeed(std::uint32_t pan, std::int32_t tilt, std::uint32_t zoom, std::uint32_t speed,
                     std::uint32_t priority) override
    {
        note("moveAtSpeed", pan, tilt, zoom, speed, priority);
    }
    void moveTo(std::uint32_t, std::int32_t, std::uint32_t, std::uint32_t) override { note("moveTo"); }
    void pauseTour() override { note("pauseTour"); }
    void removePreset(const std::string& name) override { note("removePreset", name); }
    void removeTour(const std::string& name) override { note("removeTour", name); }
    void renamePreset(const std::string& name, const std::string&) override { note("renamePreset", name); }
    void resumeTour() override { note("resumeTour"); }
    void savePreset(const std::string& name) override { note("savePreset", name); }
    void savePresetAt(const std::string& name, std::uint32_t, std::int32_t, std::uint32_t) override
    {
        note("savePresetAt", name);
    }
    void startTour(const std::string& name, std::uint32_t priority) override { note("startTour", name, priority); }
    void stop(std::uint32_t) override { note("stop"); }
    void stopTour() override { note("stopTour"); }
    bool available() override { return _mover.moves; }
    sdbus::Struct<std::string, std::uint32_t> tour() override
    {
        return {std::string(_mover.paused ? "Round" : ""), 0U};
    }
    bool tourPaused() override { return _mover.paused; }

    Mover& _mover;
};

/// The picture that the pipeline delivers: half as high as wide.
class FakePicture {
public:
    explicit FakePicture(const std::shared_ptr<bus::Session>& session)
        : _object(sdbus::createObject(session->connection(), bus::objectPath(bus::service::kPipeline)))
    {
        using Format = sdbus::Struct<std::uint32_t, std::uint32_t, double>;
        _object->registerProperty("PictureFormat")
            .onInterface(bus::interfaceName(bus::service::kPipeline))
            .withGetter([] { return Format(640, 320, 12.5); });
        _object->finishRegistration();
        session->connection().requestName(bus::busName(bus::service::kPipeline));
    }

private:
    std::unique_ptr<sdbus::IObject> _object;
};

class PtzTest : public testing::Test {
protected:
    void SetUp() override
    {
        _camera.add<FakePositioning>(
            [this](const auto& session) { return std::make_shared<FakePositioning>(session, mover); });
        _camera.add<FakePicture>([](const auto& session) { return std::make_shared<FakePicture>(session); });
        _camera.start();
        ASSERT_TRUE(_camera.waitUntilConnected(::kit::soon()));
        startGateway();
    }

    void TearDown() override
    {
        EXPECT_EQ(0, gateway->end()) << gateway->err();
        _camera.stop();
    }

    void startGateway()
    {
        gateway.emplace(
            place.words(bus.address(), {"--users", place.folder().write("given", "root:administrator:secret\n")}));
        ASSERT_TRUE(::kit::eventually([this] { return answers("GetServiceCapabilities", "") == mover.moves; }));
    }

    bool answers(const std::string& operation, const std::string& content)
    {
        return ask(operation, content).find("HTTP/1.1 200 ") == 0;
    }

    std::string ask(const std::string& operation, const std::string& content = "") const
    {
        return root.ask("<tptz:" + operation + "><tptz:ProfileToken>Profile_1</tptz:ProfileToken>" + content +
                        "</tptz:" + operation + ">");
    }
    std::string withToken(const std::string& operation, const std::string& kind, const std::string& token,
                          const std::string& more = "") const
    {
        return ask(operation, "<tptz:" + kind + "Token>" + token + "</tptz:" + kind + "Token>" + more);
    }

    const ::kit::LogLines log;
    Mover mover;
    ::kit::PrivateBus bus;
    GatewayPlace place;
    const OnvifClient root{place.port(), "root", "secret"};
    std::optional<::kit::ChildProcess> gateway;

private:
    bus::Connection _camera{bus.address(), "a fake camera"};
};

TEST_F(PtzTest, tellsThePlaceAndTheLimitsOfTheCamera)
{
    EXPECT_THAT(ask("GetStatus"), AllOf(HasSubstr("<tt:PanTilt x=\"-0.0555556\" y=\"0\" "),
                                        HasSubstr("<tt:Zoom x=\"0.5\" "), HasSubstr("<tt:PanTilt>IDLE<")));
    mover.moving = true;
    EXPECT_THAT(ask("GetStatus"), HasSubstr("<tt:PanTilt>MOVING<"));
    EXPECT_THAT(root.ask("<tptz:GetNodes/>"),
                AllOf(HasSubstr("<tt:Min>-170</tt:Min><tt:Max>160</tt:Max>"),
                      HasSubstr("<tt:Min>-10</tt:Min><tt:Max>90</tt:Max>"),
                      HasSubstr("<tt:MaximumNumberOfPresets>256<"), HasSubstr("<tt:MaximumNumberOfPresetTours>64<")));
    EXPECT_THAT(ask("GetPresets"),
                HasSubstr("token=\"Gate\"><tt:Name>Gate</tt:Name><tt:PTZPosition><tt:PanTilt x=\"0.5\""));
    EXPECT_THAT(ask("GetPresetTours"),
                AllOf(HasSubstr("token=\"Round\""), HasSubstr("<tt:StayTime>PT1.500S<"), HasSubstr("<tt:State>Idle<")));
    mover.paused = true;
    EXPECT_THAT(ask("GetPresetTours"), HasSubstr("<tt:State>Paused<"));
}

TEST_F(PtzTest, movesTheCamera)
{
    EXPECT_THAT(ask("AbsoluteMove", "<tptz:Position><tt:PanTilt x='-0.5' y='1'/><tt:Zoom x='0.1'/></tptz:Position>"
                                    "<tptz:Speed><tt:PanTilt x='0.25' y='0.25'/></tptz:Speed>"),
                StartsWith("HTTP/1.1 200 "));
    // The picture shows 60 degrees, and half as much upwards.
    ask("RelativeMove", "<tptz:Translation><tt:PanTilt x='1' y='1'/></tptz:Translation>");
    ask("ContinuousMove",
        "<tptz:Velocity><tt:PanTilt x='1' y='-0.5'/></tptz:Velocity><tptz:Timeout>PT2S</tptz:Timeout>");
    ask("Stop", "<tptz:PanTilt>false</tptz:PanTilt>");
    withToken("GotoPreset", "Preset", "Gate");
    EXPECT_THAT(mover.asked.lines(),
                ElementsAre("moveAtSpeed 270000 90000 290 25 100", "moveAtSpeed 20000 55000 1050 100 100",
                            "drive 100 -50 127 2000 100", "drive 127 127 0 0 100", "goToPresetAtSpeed Gate 100 100"));
    mover.held = true;
    EXPECT_THAT(ask("Stop"), AllOf(StartsWith("HTTP/1.1 500 "), HasSubstr("anna holds the camera")));
}

TEST_F(PtzTest, changesPresetsAndTours)
{
    ask("SetPreset", "<tptz:PresetName>Door</tptz:PresetName>");
    withToken("RemovePreset", "Preset", "Gate");
    const std::string spot = "<tt:TourSpot><tt:PresetDetail><tt:PresetToken>Gate</tt:PresetToken></tt:PresetDetail>"
                             "<tt:StayTime>PT2S</tt:StayTime></tt:TourSpot>";
    ask("ModifyPresetTour", "<tptz:PresetTour token='Round'>" + spot + "</tptz:PresetTour>");
    const auto operate = [this](const std::string& operation) {
        withToken("OperatePresetTour", "PresetTour", "Round", "<tptz:Operation>" + operation + "</tptz:Operation>");
    };
    operate("Start");
    mover.paused = true; // so it runs
    operate("Start");
    operate("Pause");
    operate("Stop");
    withToken("RemovePresetTour", "PresetTour", "Round");
    EXPECT_THAT(mover.asked.lines(),
                ElementsAre("savePreset Door", "removePreset Gate", "createTour Round Gate 2000 100",
                            "startTour Round 100", "resumeTour", "pauseTour", "stopTour", "removeTour Round"));
}

TEST_F(PtzTest, keepsHomeNamesAndDraftsOverACrash)
{
    ASSERT_TRUE(answers("SetHomePosition", ""));
    ASSERT_TRUE(
        answers("SetPreset", "<tptz:PresetName>North gate</tptz:PresetName><tptz:PresetToken>Gate</tptz:PresetToken>"));
    ASSERT_TRUE(answers("CreatePresetTour", ""));
    gateway->crash();
    startGateway();
    mover.asked.clear();
    EXPECT_TRUE(answers("GotoHomePosition", ""));
    EXPECT_THAT(mover.asked.lines(), ElementsAre("moveAtSpeed 350000 40000 1050 100 100"));
    EXPECT_THAT(ask("GetPresets"), HasSubstr("token=\"Gate\"><tt:Name>North gate<"));
    EXPECT_THAT(ask("GetPresetTours"), HasSubstr("token=\"Tour_1\""));
}

TEST_F(PtzTest, isNoServiceOfAFixedCamera)
{
    const std::string services =
        "<tds:GetServices><tds:IncludeCapability>true</tds:IncludeCapability></tds:GetServices>";
    EXPECT_THAT(root.ask(services), HasSubstr("/onvif/ptz_service"));
    EXPECT_THAT(root.ask("<tds:GetCapabilities/>"), HasSubstr("<tt:PTZ><tt:XAddr>"));
    EXPECT_EQ(0, gateway->end());
    mover.moves = false;
    startGateway();
    EXPECT_THAT(root.ask(services), Not(HasSubstr("ptz_service")));
    EXPECT_THAT(root.ask("<tds:GetCapabilities/>"), Not(HasSubstr("tt:PTZ")));
    EXPECT_THAT(ask("Stop"), AllOf(StartsWith("HTTP/1.1 500 "), HasSubstr("ter:ActionNotSupported")));
    EXPECT_THAT(mover.asked.lines(), IsEmpty());
}

} // namespace
} // namespace camera::gateway
