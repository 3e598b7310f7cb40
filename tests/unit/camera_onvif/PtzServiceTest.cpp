#include "camera/onvif/PtzService.h"

#include "AskedOperation.h"
#include "FakePtz.h"
#include "KeptInMemory.h"
#include "camera/onvif/MediaProfiles.h"
#include "camera/onvif/Times.h"

#include <gmock/gmock.h>

#include <string>

namespace camera::onvif {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kProfile = "<tptz:ProfileToken>Profile_1</tptz:ProfileToken>";
const std::string kPanTiltSpaces = "http://www.onvif.org/ver10/tptz/PanTiltSpaces/";
const std::string kZoomSpaces = "http://www.onvif.org/ver10/tptz/ZoomSpaces/";

std::string element(const std::string& name, const std::string& content)
{
    return "<" + name + ">" + content + "</" + name + ">";
}

std::string panTilt(const std::string& x, const std::string& y, const std::string& space = "")
{
    return "<tt:PanTilt x='" + x + "' y='" + y + "'" + (space.empty() ? "" : " space='" + space + "'") + "/>";
}

std::string zoom(const std::string& x, const std::string& space = "")
{
    return "<tt:Zoom x='" + x + "'" + (space.empty() ? "" : " space='" + space + "'") + "/>";
}

/// What a camera that moves is asked, and what it answers.
class PtzServiceTest : public testing::Test {
protected:
    PtzServiceTest()
    {
        _service.addTo(_operations, _directory);
        // One profile without PTZ.
        _media.change([](MediaSettings& settings) { createProfile(settings, "bare", "Bare"); }, [](const auto&) {});
    }

    std::string ask(const std::string& name, const std::string& content = "") const
    {
        return onvif::ask(_operations, "tptz:" + name, content);
    }
    std::string of(const std::string& name, const std::string& content = "") const
    {
        return ask(name, kProfile + content);
    }

    std::string absolute(const std::string& vector, const std::string& more = "") const
    {
        return of("AbsoluteMove", element("tptz:Position", vector) + more);
    }
    std::string relative(const std::string& vector) const
    {
        return of("RelativeMove", element("tptz:Translation", vector));
    }
    std::string continuous(const std::string& vector, const std::string& more = "") const
    {
        return of("ContinuousMove", element("tptz:Velocity", vector) + more);
    }
    std::string setConfiguration(const std::string& content, const std::string& token = "PTZ_1") const
    {
        return ask("SetConfiguration", "<tptz:PTZConfiguration token='" + token + "'>" + content +
                                           "</tptz:PTZConfiguration>" + element("tptz:ForcePersistence", "true"));
    }

    /// What the camera was asked to do since the last time.
    std::vector<std::string> asked() { return std::exchange(camera.asked, {}); }

    FakePtz camera;
    KeptInMemory<MediaSettings> _media{MediaSettings()};
    KeptInMemory<PtzSettings> _settings{PtzSettings()};
    std::chrono::system_clock::time_point _now = parseDateTime("2024-06-30T12:00:00Z").value();
    Operations _operations;
    ServiceDirectory _directory;
    PtzService _service{_media, _settings, camera.actions(), {[this] { return _now; }, {}}};
};

TEST_F(PtzServiceTest, describesItsNodeWithAllSpaces)
{
    camera.view.limits = {-90, 45, false, -30, 60, 20};
    const std::string node = ask("GetNode", element("tptz:NodeToken", "PTZNode_1"));
    for (const char* const space : {"PositionGenericSpace", "SphericalPositionSpaceDegrees", "TranslationGenericSpace",
                                    "TranslationSpaceFov", "VelocityGenericSpace", "GenericSpeedSpace"}) {
        EXPECT_THAT(node, HasSubstr("<tt:URI>" + kPanTiltSpaces + space + "</tt:URI>"));
    }
    for (const char* const space :
         {"PositionGenericSpace", "TranslationGenericSpace", "VelocityGenericSpace", "ZoomGenericSpeedSpace"}) {
        EXPECT_THAT(node, HasSubstr("<tt:URI>" + kZoomSpaces + space + "</tt:URI>"));
    }
    EXPECT_THAT(node, HasSubstr("SphericalPositionSpaceDegrees</tt:URI><tt:XRange><tt:Min>-90</tt:Min><tt:Max>45"
                                "</tt:Max></tt:XRange><tt:YRange><tt:Min>-30</tt:Min><tt:Max>60</tt:Max>"));
    EXPECT_THAT(node, HasSubstr("PositionGenericSpace</tt:URI><tt:XRange><tt:Min>-0.5</tt:Min><tt:Max>0.25</tt:Max>"));
    EXPECT_THAT(node, AllOf(HasSubstr("<tt:MaximumNumberOfPresets>4<"), HasSubstr("<tt:HomeSupported>true<"),
                            HasSubstr("<tt:MaximumNumberOfPresetTours>3<"), HasSubstr("FixedHomePosition=\"false\"")));
    EXPECT_THAT(ask("GetNodes"), HasSubstr("token=\"PTZNode_1\""));
    EXPECT_THAT(ask("GetNode", element("tptz:NodeToken", "x")), StartsWith("Sender ter:InvalidArgVal/ter:NoEntity"));
    EXPECT_THAT(ask("GetNode"), StartsWith("Sender ter:InvalidArgs"));
}

TEST_F(PtzServiceTest, tellsWhereTheCameraLooksAndWhetherItMoves)
{
    camera.view.place = {-90, 45, 15.5};
    camera.view.moving = true;
    EXPECT_EQ("<tptz:GetStatusResponse><tptz:PTZStatus><tt:Position><tt:PanTilt x=\"-0.5\" y=\"0.5\" space=\"" +
                  kPanTiltSpaces + "PositionGenericSpace\"/><tt:Zoom x=\"0.5\" space=\"" + kZoomSpaces +
                  "PositionGenericSpace\"/></tt:Position><tt:MoveStatus><tt:PanTilt>MOVING</tt:PanTilt>"
                  "<tt:Zoom>MOVING</tt:Zoom></tt:MoveStatus><tt:UtcTime>2024-06-30T12:00:00Z</tt:UtcTime>"
                  "</tptz:PTZStatus></tptz:GetStatusResponse>",
              of("GetStatus"));
    camera.view.moving = false;
    EXPECT_THAT(of("GetStatus"), HasSubstr("<tt:PanTilt>IDLE</tt:PanTilt><tt:Zoom>IDLE</tt:Zoom>"));
    camera.silence = Fault::receiver({"ter:Action"}, "nobody answers");
    EXPECT_EQ("Receiver ter:Action/ter:NoStatus: nobody answers", of("GetStatus"));
    EXPECT_EQ("Receiver ter:Action: nobody answers", of("GetPresets"));
}

TEST_F(PtzServiceTest, needsAProfileWithPtz)
{
    const std::string bare = "<tptz:ProfileToken>Bare</tptz:ProfileToken>";
    for (const char* const name :
         {"GetStatus", "AbsoluteMove", "RelativeMove", "ContinuousMove", "Stop", "GotoHomePosition", "SetHomePosition",
          "GetPresets", "SetPreset", "GotoPreset", "RemovePreset", "GetPresetTours", "GetPresetTour",
          "GetPresetTourOptions", "CreatePresetTour", "ModifyPresetTour", "OperatePresetTour", "RemovePresetTour"}) {
        EXPECT_THAT(ask(name, bare), StartsWith("Sender ter:InvalidArgVal/ter:NoPTZProfile")) << name;
        EXPECT_THAT(ask(name, "<tptz:ProfileToken>x</tptz:ProfileToken>"),
                    StartsWith("Sender ter:InvalidArgVal/ter:NoProfile"))
            << name;
        EXPECT_THAT(ask(name), StartsWith("Sender ter:InvalidArgs")) << name;
    }
    EXPECT_THAT(asked(), IsEmpty());
}

TEST_F(PtzServiceTest, isNotThereOnAFixedCamera)
{
    EXPECT_NE(nullptr, _directory.find("PTZ"));
    EXPECT_THAT(ask("GetServiceCapabilities"), AllOf(HasSubstr("MoveStatus=\"true\""), HasSubstr("EFlip=\"false\""),
                                                     HasSubstr("GetCompatibleConfigurations=\"true\"")));
    camera.moves = false;
    EXPECT_EQ(nullptr, _directory.find("PTZ"));
    for (const auto& [name, operation] : _operations.all()) {
        EXPECT_THAT(onvif::ask(_operations, name, kProfile),
                    StartsWith("Receiver ter:ActionNotSupported/ter:PTZNotSupported"))
            << name;
    }
}

TEST_F(PtzServiceTest, letsUsersReadAndOperatorsMove)
{
    for (const auto& [name, operation] : _operations.all()) {
        const bool capabilities = name == "tptz:GetServiceCapabilities";
        const bool reads = name.find(":Get") != std::string::npos;
        EXPECT_EQ(capabilities ? AccessClass::preAuth
                  : reads      ? AccessClass::readMedia
                               : AccessClass::actuate,
                  operation.access)
            << name;
    }
}

TEST_F(PtzServiceTest, movesToPlacesInEachSpace)
{
    EXPECT_EQ("<tptz:AbsoluteMoveResponse/>", absolute(panTilt("-0.5", "0.5") + zoom("0.5")));
    EXPECT_EQ("<tptz:AbsoluteMoveResponse/>", absolute(panTilt("1", "-1", kPanTiltSpaces + "PositionGenericSpace")));
    absolute(panTilt("-12.5", "33", kPanTiltSpaces + "SphericalPositionSpaceDegrees") +
             zoom("0", kZoomSpaces + "PositionGenericSpace"));
    absolute(zoom("1"));
    EXPECT_THAT(asked(), ElementsAre("move -90 45 15.5 at 100", "move 180 -90 15.5 at 100", "move -12.5 33 1 at 100",
                                     "move -12.5 33 30 at 100"));
    // Tilt is linear between the ends of the model.
    camera.view.limits = {-180, 180, true, -10, 90, 11};
    absolute(panTilt("0", "0") + zoom("0.1"));
    EXPECT_THAT(asked(), ElementsAre("move 0 40 2 at 100"));
}

TEST_F(PtzServiceTest, refusesPlacesThatItDoesNotReach)
{
    camera.view.limits = {-90, 90, false, -30, 60, 30};
    const std::string degrees = kPanTiltSpaces + "SphericalPositionSpaceDegrees";
    for (const std::string& vector :
         {panTilt("0.6", "0"), panTilt("0", "1.1"), zoom("-0.1"), zoom("1.1"), panTilt("91", "0", degrees),
          panTilt("0", "-31", degrees), std::string(), panTilt("0", "0") + zoom("2")}) {
        EXPECT_THAT(absolute(vector), StartsWith("Sender ter:InvalidArgVal/ter:InvalidPosition")) << vector;
    }
    for (const std::string& vector : {panTilt("0", "0", kPanTiltSpaces + "TranslationGenericSpace"),
                                      panTilt("0", "0", "x"), zoom("0", kZoomSpaces + "VelocityGenericSpace")}) {
        EXPECT_THAT(absolute(vector), StartsWith("Sender ter:InvalidArgVal/ter:SpaceNotSupported")) << vector;
    }
    EXPECT_THAT(absolute(panTilt("a", "0")), StartsWith("Sender ter:InvalidArgVal: x is a number"));
    EXPECT_THAT(absolute(panTilt("NaN", "0")), StartsWith("Sender ter:InvalidArgVal: x is a number"));
    EXPECT_THAT(absolute("<tt:PanTilt x='0'/>"), StartsWith("Sender ter:InvalidArgs"));
    EXPECT_THAT(of("AbsoluteMove"), StartsWith("Sender ter:InvalidArgs: tptz:Position is missing"));
    EXPECT_THAT(asked(), IsEmpty());
    camera.refusal = Fault::receiver({"ter:Action"}, "anna holds the camera");
    EXPECT_EQ("Receiver ter:Action: anna holds the camera", absolute(zoom("0")));
}

TEST_F(PtzServiceTest, movesByAPartOfThePictureOrOfTheWholeRange)
{
    camera.view.place = {170, 80, 10};
    // The picture shows 60 degrees, and 30 upwards; the front lies behind 180 degrees.
    EXPECT_EQ("<tptz:RelativeMoveResponse/>", relative(panTilt("0.5", "-1")));
    EXPECT_THAT(asked(), ElementsAre("move -175 65 10 at 100"));
    relative(panTilt("-0.5", "0.1", kPanTiltSpaces + "TranslationGenericSpace") + zoom("-0.1"));
    EXPECT_THAT(asked(), ElementsAre("move 95 74 7.1 at 100"));
    relative(panTilt("0", "1") + zoom("1", kZoomSpaces + "TranslationGenericSpace"));
    EXPECT_THAT(asked(), ElementsAre("move 95 89 30 at 100"));
    relative(panTilt("0", "1") + zoom("-1"));
    EXPECT_THAT(asked(), ElementsAre("move 95 90 1 at 100")) << "it stands at its ends";
    camera.view.limits = {-90, 100, false, -90, 90, 30};
    relative(panTilt("1", "0"));
    EXPECT_THAT(asked(), ElementsAre("move 100 90 1 at 100"));
}

TEST_F(PtzServiceTest, refusesWaysBeyondTheirSpaces)
{
    for (const std::string& vector : {panTilt("1.1", "0"), panTilt("0", "-1.1"), zoom("1.5"), std::string()}) {
        EXPECT_THAT(relative(vector), StartsWith("Sender ter:InvalidArgVal/ter:InvalidTranslation")) << vector;
    }
    EXPECT_THAT(relative(panTilt("0", "0", kPanTiltSpaces + "PositionGenericSpace")),
                StartsWith("Sender ter:InvalidArgVal/ter:SpaceNotSupported"));
    EXPECT_THAT(of("RelativeMove"), StartsWith("Sender ter:InvalidArgs"));
    EXPECT_THAT(asked(), IsEmpty());
}

TEST_F(PtzServiceTest, movesWithTheLowestSpeedThatIsGiven)
{
    const auto withSpeed = [this](const std::string& speed) {
        return absolute(zoom("0"), element("tptz:Speed", speed));
    };
    withSpeed(panTilt("0.5", "0.25") + zoom("1"));
    withSpeed(panTilt("0", "0") + zoom("0.3"));
    withSpeed(zoom("0.001"));
    withSpeed(panTilt("0", "0"));
    EXPECT_THAT(asked(), ElementsAre("move 0 0 1 at 25", "move 0 0 1 at 30", "move 0 0 1 at 1", "move 0 0 1 at 100"));
    for (const std::string& speed : {panTilt("1.1", "0"), panTilt("0", "-0.1"), zoom("2"), std::string()}) {
        EXPECT_THAT(withSpeed(speed), StartsWith("Sender ter:InvalidArgVal/ter:InvalidSpeed")) << speed;
    }
    EXPECT_THAT(withSpeed(panTilt("0", "0", kPanTiltSpaces + "VelocityGenericSpace")),
                StartsWith("Sender ter:InvalidArgVal/ter:SpaceNotSupported"));
    EXPECT_THAT(of("GotoPreset", element("tptz:PresetToken", "Gate") + element("tptz:Speed", zoom("3"))),
                StartsWith("Sender ter:InvalidArgVal/ter:InvalidSpeed"));
    EXPECT_THAT(asked(), IsEmpty());
    setConfiguration(element("tt:DefaultPTZSpeed", panTilt("0.5", "0.5") + zoom("0.75")));
    absolute(zoom("0"));
    EXPECT_THAT(asked(), ElementsAre("move 0 0 1 at 50"));
}

TEST_F(PtzServiceTest, movesAtASpeedForATime)
{
    EXPECT_EQ("<tptz:ContinuousMoveResponse/>",
              continuous(panTilt("0.5", "-1") + zoom("0"), element("tptz:Timeout", "PT2.5S")));
    continuous(panTilt("0.001", "-0.001"));
    continuous(zoom("-0.25", kZoomSpaces + "VelocityGenericSpace"));
    EXPECT_THAT(asked(), ElementsAre("drive 50 -100 0 for 2500", "drive 1 -1 - for 60000", "drive - - -25 for 60000"));
    for (const std::string& vector : {panTilt("1.01", "0"), panTilt("0", "-2"), zoom("3"), std::string()}) {
        EXPECT_THAT(continuous(vector), StartsWith("Sender ter:InvalidArgVal/ter:InvalidVelocity")) << vector;
    }
    EXPECT_THAT(continuous(panTilt("0", "0", kPanTiltSpaces + "GenericSpeedSpace")),
                StartsWith("Sender ter:InvalidArgVal/ter:SpaceNotSupported"));
    for (const char* const timeout : {"PT0S", "PT3601S", "-PT1S"}) {
        EXPECT_THAT(continuous(zoom("1"), element("tptz:Timeout", timeout)),
                    StartsWith("Sender ter:InvalidArgVal/ter:TimeoutNotSupported"))
            << timeout;
    }
    EXPECT_THAT(continuous(zoom("1"), element("tptz:Timeout", "5")), StartsWith("Sender ter:InvalidArgVal: '5' is no"));
    EXPECT_THAT(of("ContinuousMove"), StartsWith("Sender ter:InvalidArgs"));
    EXPECT_THAT(asked(), IsEmpty());
}

TEST_F(PtzServiceTest, stopsTheAxesThatAreNamed)
{
    EXPECT_EQ("<tptz:StopResponse/>", of("Stop"));
    of("Stop", element("tptz:PanTilt", "true") + element("tptz:Zoom", "false"));
    of("Stop", element("tptz:PanTilt", "false"));
    of("Stop", element("tptz:PanTilt", "false") + element("tptz:Zoom", "false"));
    EXPECT_THAT(asked(), ElementsAre("drive 0 0 0 for 0", "drive 0 0 - for 0", "drive - - 0 for 0"));
    EXPECT_THAT(of("Stop", element("tptz:PanTilt", "x")), StartsWith("Sender ter:InvalidArgVal"));
}

TEST_F(PtzServiceTest, goesHomeWhereItWasSet)
{
    EXPECT_THAT(of("GotoHomePosition"), StartsWith("Receiver ter:Action/ter:NoHomePosition"));
    camera.view.place = {10, 20, 3};
    EXPECT_EQ("<tptz:SetHomePositionResponse/>", of("SetHomePosition"));
    camera.view.place = {};
    EXPECT_EQ("<tptz:GotoHomePositionResponse/>", of("GotoHomePosition", element("tptz:Speed", zoom("0.5"))));
    EXPECT_THAT(asked(), ElementsAre("move 10 20 3 at 50"));
    EXPECT_THAT(of("GotoHomePosition", element("tptz:Speed", zoom("5"))),
                StartsWith("Sender ter:InvalidArgVal/ter:InvalidSpeed"));
    _settings.failure = "the disk is full";
    EXPECT_EQ("Receiver ter:Action: the disk is full", of("SetHomePosition"));
}

TEST_F(PtzServiceTest, hasOneConfigurationThatProfilesHaveToo)
{
    const std::string one = ask("GetConfiguration", element("tptz:PTZConfigurationToken", "PTZ_1"));
    EXPECT_THAT(
        one, AllOf(HasSubstr("token=\"PTZ_1\""), HasSubstr("<tt:UseCount>2<"), HasSubstr("PTZNode_1"),
                   HasSubstr("<tt:DefaultRelativePanTiltTranslationSpace>" + kPanTiltSpaces + "TranslationSpaceFov<"),
                   HasSubstr("<tt:DefaultPTZTimeout>PT60S<")));
    const std::string body = one.substr(one.find("<tptz:PTZConfiguration "));
    const std::string content = body.substr(0, body.find("</tptz:GetConfigurationResponse>"));
    EXPECT_EQ("<tptz:GetConfigurationsResponse>" + content + "</tptz:GetConfigurationsResponse>",
              ask("GetConfigurations"));
    EXPECT_THAT(ask("GetCompatibleConfigurations", "<tptz:ProfileToken>Bare</tptz:ProfileToken>"), HasSubstr(content));
    EXPECT_THAT(ask("GetCompatibleConfigurations", "<tptz:ProfileToken>x</tptz:ProfileToken>"),
                StartsWith("Sender ter:InvalidArgVal/ter:NoProfile"));
    EXPECT_THAT(ask("GetConfigurationOptions", element("tptz:ConfigurationToken", "PTZ_1")),
                HasSubstr("<tt:PTZTimeout><tt:Min>PT0.100S</tt:Min><tt:Max>PT3600S</tt:Max></tt:PTZTimeout>"));
    EXPECT_THAT(ask("GetConfiguration", element("tptz:PTZConfigurationToken", "x")),
                StartsWith("Sender ter:InvalidArgVal/ter:NoConfig"));
    EXPECT_THAT(ask("GetConfigurationOptions", element("tptz:ConfigurationToken", "x")),
                StartsWith("Sender ter:InvalidArgVal/ter:NoConfig"));
}

TEST_F(PtzServiceTest, takesOtherDefaults)
{
    const std::string degrees = kPanTiltSpaces + "SphericalPositionSpaceDegrees";
    EXPECT_EQ("<tptz:SetConfigurationResponse/>",
              setConfiguration(
                  element("tt:Name", "Dome") + element("tt:NodeToken", "PTZNode_1") +
                  element("tt:DefaultAbsolutePantTiltPositionSpace", degrees) +
                  element("tt:DefaultRelativePanTiltTranslationSpace", kPanTiltSpaces + "TranslationGenericSpace") +
                  element("tt:DefaultPTZTimeout", "PT5S")));
    EXPECT_THAT(ask("GetConfigurations"),
                AllOf(HasSubstr("<tt:Name>Dome<"), HasSubstr(degrees), HasSubstr("<tt:DefaultPTZTimeout>PT5S<")));
    absolute(panTilt("20", "10"));
    relative(panTilt("0.5", "0"));
    continuous(zoom("1"));
    EXPECT_THAT(asked(), ElementsAre("move 20 10 1 at 100", "move 110 10 1 at 100", "drive - - 100 for 5000"));
    EXPECT_THAT(of("GetStatus"), HasSubstr("x=\"110\" y=\"10\" space=\"" + degrees));
    const MediaSettings before = _media.value();
    for (const std::string& wrong :
         {element("tt:NodeToken", "x"), element("tt:DefaultAbsolutePantTiltPositionSpace", "x"),
          element("tt:DefaultAbsoluteZoomPositionSpace", degrees),
          element("tt:DefaultRelativePanTiltTranslationSpace", degrees), element("tt:DefaultPTZTimeout", "PT0S"),
          element("tt:DefaultPTZSpeed", zoom("2")), element("tt:PanTiltLimits", ""), element("tt:ZoomLimits", ""),
          element("tt:DefaultContinuousPanTiltVelocitySpace", "x"),
          element("tt:DefaultContinuousZoomVelocitySpace", "x"),
          element("tt:DefaultRelativeZoomTranslationSpace", "x")}) {
        EXPECT_THAT(setConfiguration(wrong), StartsWith("Sender ter:InvalidArgVal/ter:ConfigModify")) << wrong;
    }
    EXPECT_THAT(setConfiguration("", "x"), StartsWith("Sender ter:InvalidArgVal/ter:NoConfig"));
    EXPECT_EQ(format(before), format(_media.value()));
    EXPECT_EQ(format(before), format(parseMediaSettings(format(before)).value()));
}

TEST(PtzSettingsTest, comeBackFromTheirDocument)
{
    PtzSettings settings;
    settings.home = {-12.5, 30, 4};
    settings.presetNames = {{"Preset_1", "The gate"}};
    settings.tours = {{"Tour_1", {"Night", true}}, {"Tour_2", {"", false}}};
    const auto read = parsePtzSettings(format(settings));
    ASSERT_TRUE(read);
    EXPECT_EQ(format(settings), format(*read));
    EXPECT_EQ(-12.5, read->home->pan);
    EXPECT_TRUE(read->tours.at("Tour_1").draft);
    EXPECT_FALSE(parsePtzSettings(format(PtzSettings()))->home);
    for (const char* const other :
         {"", "[]", "{}", R"({"preset_names":{},"tours":[]})", R"({"preset_names":{"a":1},"tours":{}})",
          R"({"home":{"pan":"1"},"preset_names":{},"tours":{}})",
          R"({"preset_names":{},"tours":{"a":{"name":"n"}}})"}) {
        EXPECT_FALSE(parsePtzSettings(other)) << other;
    }
}

} // namespace
} // namespace camera::onvif
