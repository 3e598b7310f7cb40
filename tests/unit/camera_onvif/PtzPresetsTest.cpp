// Presets and tours of the PTZ service.
#include "AskedOperation.h"
#include "FakePtz.h"
#include "KeptInMemory.h"
#include "camera/onvif/PtzService.h"

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

std::string tagged(const std::string& name, const std::string& content)
{
    return "<" + name + ">" + content + "</" + name + ">";
}

std::string spot(const std::string& preset, const std::string& more = "")
{
    return tagged("tt:TourSpot", tagged("tt:PresetDetail", tagged("tt:PresetToken", preset)) + more);
}

class PtzPresetsTest : public testing::Test {
protected:
    PtzPresetsTest() { _service.addTo(_operations, _directory); }

    std::string ask(const std::string& name, const std::string& content = "") const
    {
        return onvif::ask(_operations, "tptz:" + name, tagged("tptz:ProfileToken", "Profile_1") + content);
    }

    /// Sets a preset. @return its token, or the fault.
    std::string set(const std::string& name, const std::string& token = "") const
    {
        const std::string answer = ask("SetPreset", (name.empty() ? "" : tagged("tptz:PresetName", name)) +
                                                        (token.empty() ? "" : tagged("tptz:PresetToken", token)));
        const std::string begin = "<tptz:SetPresetResponse><tptz:PresetToken>";
        return answer.rfind(begin, 0) == 0 ? answer.substr(begin.size(), answer.find('<', begin.size()) - begin.size())
                                           : answer;
    }
    std::string withPreset(const std::string& operation, const std::string& token) const
    {
        return ask(operation, tagged("tptz:PresetToken", token));
    }

    std::string modify(const std::string& token, const std::string& content) const
    {
        return ask("ModifyPresetTour", "<tptz:PresetTour token='" + token + "'>" + content + "</tptz:PresetTour>");
    }
    std::string withTour(const std::string& operation, const std::string& token, const std::string& more = "") const
    {
        return ask(operation, tagged("tptz:PresetTourToken", token) + more);
    }
    std::string operate(const std::string& token, const std::string& operation) const
    {
        return withTour("OperatePresetTour", token, tagged("tptz:Operation", operation));
    }
    std::string state(const std::string& token) const
    {
        const std::string tour = withTour("GetPresetTour", token);
        const std::size_t begin = tour.find("<tt:State>") + 10;
        return tour.substr(begin, tour.find('<', begin) - begin);
    }
    std::string tour(const std::string& spots)
    {
        const std::string answer = ask("CreatePresetTour");
        const std::size_t begin = answer.find("Tour_");
        const std::string token = answer.substr(begin, answer.find('<', begin) - begin);
        EXPECT_EQ("<tptz:ModifyPresetTourResponse/>", modify(token, spots));
        asked();
        return token;
    }

    std::vector<std::string> asked() { return std::exchange(camera.asked, {}); }

    FakePtz camera;
    KeptInMemory<MediaSettings> _media{MediaSettings()};
    KeptInMemory<PtzSettings> _settings{PtzSettings()};
    Operations _operations;
    ServiceDirectory _directory;
    PtzService _service{_media, _settings, camera.actions(), {}};
};

TEST_F(PtzPresetsTest, listsPresetsWithTheirPlaces)
{
    camera.view.presets.push_back({std::string(65, 'x'), {}}); // no client could name it
    const std::string all = ask("GetPresets");
    EXPECT_THAT(all, AllOf(HasSubstr("<tptz:Preset token=\"Gate\"><tt:Name>Gate</tt:Name><tt:PTZPosition>"
                                     "<tt:PanTilt x=\"0.5\" y=\"0\" "),
                           Not(HasSubstr("xx"))));
}

TEST_F(PtzPresetsTest, makesPresetsWithTheWishedNameAsTokenWhereItCan)
{
    EXPECT_EQ("Door", set("Door"));
    EXPECT_EQ("Preset_1", set(""));
    EXPECT_EQ("Preset_2", set("7")) << "programs make a number of digits";
    EXPECT_THAT(asked(), ElementsAre("save Door", "save Preset_1", "save Preset_2"));
    EXPECT_THAT(ask("GetPresets"), HasSubstr("token=\"Preset_2\"><tt:Name>7<"));
    EXPECT_THAT(set("more"), StartsWith("Receiver ter:Action/ter:TooManyPresets"));
    EXPECT_EQ("Gate", set("", "Gate")) << "one that is there can be moved all the same";
    withPreset("RemovePreset", "Preset_1");
    EXPECT_EQ("Preset_1", set("a@b")) << "rules are named NAME@PRESET";
}

TEST_F(PtzPresetsTest, givesTokensThatClientsCanKeep)
{
    camera.view.mostPresets = 10;
    std::string wide;
    for (int i = 0; i < 64; ++i) {
        wide += "\xc3\xa4";
    }
    EXPECT_EQ("Preset_1", set(wide)) << "64 characters, but more bytes than a token has";
    EXPECT_THAT(ask("GetPresets"), HasSubstr("<tt:Name>" + wide + "<"));
    EXPECT_EQ("The gate", set("The gate"));
}

TEST_F(PtzPresetsTest, renamesAPresetThatKeepsItsToken)
{
    EXPECT_EQ("Gate", set("North gate", "Gate"));
    EXPECT_THAT(asked(), ElementsAre("save Gate"));
    EXPECT_THAT(ask("GetPresets"), HasSubstr("<tptz:Preset token=\"Gate\"><tt:Name>North gate<"));
    EXPECT_EQ("Gate", set("", "Gate"));
    EXPECT_THAT(ask("GetPresets"), HasSubstr("<tt:Name>North gate<"));
    EXPECT_EQ("Preset_1", set("Gate")) << "the name is free, the token is not";
    EXPECT_THAT(ask("GetPresets"), HasSubstr("token=\"Preset_1\"><tt:Name>Gate<"));
    EXPECT_THAT(set("Gate", "Gate"), StartsWith("Sender ter:InvalidArgVal/ter:PresetExist"));
    withPreset("RemovePreset", "Preset_1");
    EXPECT_EQ("Gate", set("Gate", "Gate"));
    EXPECT_THAT(_settings.value().presetNames, IsEmpty());
}

TEST_F(PtzPresetsTest, forgetsNamesOfPresetsThatAreGone)
{
    set("North gate", "Gate");
    camera.view.presets = {{"Yard", {}}}; // removed without a client
    set("South", "Yard");
    EXPECT_EQ(0U, _settings.value().presetNames.count("Gate"));
    EXPECT_EQ("South", _settings.value().presetNames.at("Yard"));
    withPreset("RemovePreset", "Yard");
    EXPECT_THAT(_settings.value().presetNames, IsEmpty());
}

TEST_F(PtzPresetsTest, refusesPresetsThatCannotBe)
{
    EXPECT_THAT(set("Gate"), StartsWith("Sender ter:InvalidArgVal/ter:PresetExist"));
    EXPECT_THAT(set(std::string(65, 'x')), StartsWith("Sender ter:InvalidArgVal/ter:InvalidPresetName"));
    EXPECT_THAT(set("a&#1;b"), Not(StartsWith("Preset")));
    EXPECT_THAT(set("a&#127;b"), StartsWith("Sender ter:InvalidArgVal/ter:InvalidPresetName"));
    EXPECT_THAT(set("", "Roof"), StartsWith("Sender ter:InvalidArgVal/ter:NoToken"));
    for (const char* const operation : {"GotoPreset", "RemovePreset"}) {
        EXPECT_THAT(withPreset(operation, "Roof"), StartsWith("Sender ter:InvalidArgVal/ter:NoToken"));
        EXPECT_THAT(ask(operation), StartsWith("Sender ter:InvalidArgs"));
    }
    camera.view.moving = true;
    EXPECT_THAT(set("Door"), StartsWith("Receiver ter:Action/ter:MovingPTZ"));
    EXPECT_THAT(set("", "Gate"), StartsWith("Receiver ter:Action/ter:MovingPTZ"));
    EXPECT_THAT(asked(), IsEmpty());
    camera.view.moving = false;
    camera.refusal = Fault::receiver({"ter:Action"}, "no");
    EXPECT_EQ("Receiver ter:Action: no", set("North gate", "Gate"));
    EXPECT_EQ("Receiver ter:Action: no", withPreset("RemovePreset", "Gate"));
    EXPECT_THAT(_settings.value().presetNames, IsEmpty());
}

TEST_F(PtzPresetsTest, givesTwoClientsAtOnceTwoTokens)
{
    camera.waits = true;
    EXPECT_EQ("nothing", set(""));
    EXPECT_EQ("nothing", set(""));
    EXPECT_THAT(asked(), ElementsAre("save Preset_1", "save Preset_2"));
    camera.answerAll();
    EXPECT_EQ("nothing", set(""));
    EXPECT_THAT(asked(), ElementsAre("save Preset_1"));
    camera.answerAll();
}

TEST_F(PtzPresetsTest, goesToPresetsAndRemovesThem)
{
    EXPECT_EQ("<tptz:GotoPresetResponse/>", withPreset("GotoPreset", "Gate"));
    EXPECT_EQ(
        "<tptz:GotoPresetResponse/>",
        ask("GotoPreset", tagged("tptz:PresetToken", "Gate") + tagged("tptz:Speed", "<tt:PanTilt x='0.5' y='0.5'/>")));
    EXPECT_EQ("<tptz:RemovePresetResponse/>", withPreset("RemovePreset", "Gate"));
    EXPECT_THAT(asked(), ElementsAre("go to Gate at 100", "go to Gate at 50", "remove Gate"));
}

TEST_F(PtzPresetsTest, makesAnEmptyTourAndFillsIt)
{
    EXPECT_EQ("<tptz:CreatePresetTourResponse><tptz:PresetTourToken>Tour_1</tptz:PresetTourToken>"
              "</tptz:CreatePresetTourResponse>",
              ask("CreatePresetTour"));
    EXPECT_THAT(asked(), IsEmpty());
    EXPECT_EQ("<tptz:GetPresetToursResponse><tptz:PresetTour token=\"Tour_1\"><tt:Name>Tour_1</tt:Name><tt:Status>"
              "<tt:State>Idle</tt:State></tt:Status><tt:AutoStart>false</tt:AutoStart><tt:StartingCondition/>"
              "</tptz:PresetTour></tptz:GetPresetToursResponse>",
              ask("GetPresetTours"));
    EXPECT_THAT(operate("Tour_1", "Start"), StartsWith("Receiver ter:Action/ter:ActivationFailed"));
    const std::string filled =
        tagged("tt:Name", "Night") + "<tt:AutoStart>false</tt:AutoStart><tt:StartingCondition/>" +
        spot("Gate", tagged("tt:Speed", "<tt:PanTilt x='0.5' y='0.5'/>") + tagged("tt:StayTime", "PT2S")) +
        spot("Gate");
    EXPECT_EQ("<tptz:ModifyPresetTourResponse/>", modify("Tour_1", filled));
    EXPECT_THAT(asked(), ElementsAre("tour Tour_1 Gate:2000:50 Gate:5000:100"));
    EXPECT_THAT(
        withTour("GetPresetTour", "Tour_1"),
        AllOf(HasSubstr("<tt:Name>Night<"),
              HasSubstr("<tt:PresetToken>Gate</tt:PresetToken></tt:PresetDetail><tt:Speed><tt:PanTilt x=\"0.5\""),
              HasSubstr("<tt:StayTime>PT2S<")));
    // What has a tour can be empty again.
    EXPECT_EQ("<tptz:ModifyPresetTourResponse/>", modify("Tour_1", ""));
    EXPECT_THAT(asked(), ElementsAre("remove tour Tour_1"));
    EXPECT_THAT(ask("GetPresetTours"), AllOf(HasSubstr("<tt:Name>Night<"), Not(HasSubstr("TourSpot"))));
}

TEST_F(PtzPresetsTest, runsPausesAndStopsATour)
{
    const std::string token = tour(spot("Gate"));
    EXPECT_EQ("Idle", state(token));
    EXPECT_EQ("<tptz:OperatePresetTourResponse/>", operate(token, "Start"));
    EXPECT_EQ("Touring", state(token));
    EXPECT_THAT(withTour("GetPresetTour", token),
                HasSubstr("<tt:CurrentTourSpot><tt:PresetDetail><tt:PresetToken>Gate"));
    operate(token, "Start"); // it runs already
    operate(token, "Pause");
    EXPECT_EQ("Paused", state(token));
    operate(token, "Start");
    EXPECT_EQ("Touring", state(token));
    operate(token, "Stop");
    EXPECT_EQ("Idle", state(token));
    EXPECT_EQ("<tptz:OperatePresetTourResponse/>", operate(token, "Stop"));
    EXPECT_THAT(asked(), ElementsAre("start " + token, "pause", "resume", "stop tour"));
    EXPECT_THAT(operate(token, "Pause"), StartsWith("Receiver ter:Action/ter:ActivationFailed"));
    EXPECT_THAT(operate(token, "Extended"), StartsWith("Sender ter:InvalidArgVal"));
    EXPECT_THAT(withTour("OperatePresetTour", token), StartsWith("Sender ter:InvalidArgs"));
    const std::string other = tour(spot("Gate"));
    operate(token, "Start");
    EXPECT_THAT(operate(other, "Start"),
                StartsWith("Receiver ter:Action/ter:ActivationFailed: the tour 'Tour_1' runs"));
    operate(other, "Stop");
    EXPECT_EQ("Touring", state(token)) << "only the tour that is named stops";
}

TEST_F(PtzPresetsTest, removesToursOfTheCameraAndDrafts)
{
    const std::string token = tour(spot("Gate"));
    ask("CreatePresetTour");
    EXPECT_EQ("<tptz:RemovePresetTourResponse/>", withTour("RemovePresetTour", token));
    EXPECT_THAT(asked(), ElementsAre("remove tour Tour_1"));
    EXPECT_EQ("<tptz:RemovePresetTourResponse/>", withTour("RemovePresetTour", "Tour_2"));
    EXPECT_EQ("<tptz:GetPresetToursResponse/>", ask("GetPresetTours"));
    EXPECT_THAT(asked(), IsEmpty());
    EXPECT_THAT(_settings.value().tours, IsEmpty());
    camera.view.tours = {{"made elsewhere", {{"Gate", std::chrono::milliseconds(0), 1}}}};
    camera.refusal = Fault::receiver({"ter:Action"}, "it runs");
    EXPECT_EQ("Receiver ter:Action: it runs", withTour("RemovePresetTour", "made elsewhere"));
    EXPECT_EQ("Receiver ter:Action: it runs", modify("made elsewhere", spot("Gate")));
    EXPECT_EQ("Idle", state("made elsewhere"));
}

TEST_F(PtzPresetsTest, hasAsManyToursAsTheCameraAndForgetsThoseThatAreGone)
{
    tour(spot("Gate"));
    ask("CreatePresetTour");
    ask("CreatePresetTour");
    EXPECT_THAT(ask("CreatePresetTour"), StartsWith("Receiver ter:Action/ter:TooManyPresetTours"));
    camera.view.tours.clear(); // removed without a client
    EXPECT_THAT(ask("CreatePresetTour"), HasSubstr(">Tour_1<"));
    EXPECT_EQ(3U, _settings.value().tours.size());
}

TEST_F(PtzPresetsTest, refusesToursThatCannotBe)
{
    ask("CreatePresetTour");
    const std::string invalid = "Sender ter:InvalidArgVal/ter:InvalidPresetTour";
    for (const std::string& content :
         {spot("Roof"), spot("Gate", tagged("tt:StayTime", "PT86401S")), spot("Gate", tagged("tt:StayTime", "-PT1S")),
          spot("Gate", tagged("tt:StayTime", "5")), std::string("<tt:AutoStart>true</tt:AutoStart>"),
          std::string("<tt:StartingCondition RandomPresetOrder='true'/>"),
          tagged("tt:StartingCondition", tagged("tt:RecurringTime", "2")),
          tagged("tt:StartingCondition", tagged("tt:RecurringDuration", "PT5S")),
          tagged("tt:StartingCondition", tagged("tt:Direction", "Backward")),
          tagged("tt:TourSpot", tagged("tt:PresetDetail", tagged("tt:Home", "true"))), tagged("tt:TourSpot", "")}) {
        EXPECT_THAT(modify("Tour_1", content), StartsWith(invalid)) << content;
    }
    EXPECT_THAT(modify("Tour_1", spot("Gate") + spot("Gate") + spot("Gate")),
                StartsWith("Receiver ter:Action/ter:TooManyPresets"));
    EXPECT_THAT(modify("Tour_1", spot("Gate", tagged("tt:Speed", "<tt:Zoom x='2'/>"))),
                StartsWith("Sender ter:InvalidArgVal/ter:InvalidSpeed"));
    EXPECT_THAT(modify("Tour_1", tagged("tt:Name", std::string(65, 'x')) + spot("Gate")),
                StartsWith("Sender ter:InvalidArgVal"));
    EXPECT_THAT(asked(), IsEmpty());
    const std::string unknown = "Sender ter:InvalidArgVal/ter:NoToken";
    EXPECT_THAT(modify("x", ""), StartsWith(unknown));
    EXPECT_THAT(operate("x", "Start"), StartsWith(unknown));
    for (const char* const operation : {"GetPresetTour", "GetPresetTourOptions", "RemovePresetTour"}) {
        EXPECT_THAT(withTour(operation, "x"), StartsWith(unknown)) << operation;
    }
    EXPECT_THAT(ask("GetPresetTour"), StartsWith("Sender ter:InvalidArgs"));
}

TEST_F(PtzPresetsTest, offersItsPresetsForTours)
{
    EXPECT_THAT(ask("GetPresetTourOptions"),
                AllOf(HasSubstr("<tt:AutoStart>false<"), HasSubstr("<tt:PresetToken>Gate<"),
                      HasSubstr("<tt:Min>PT0S</tt:Min><tt:Max>PT86400S</tt:Max>")));
    ask("CreatePresetTour");
    EXPECT_THAT(withTour("GetPresetTourOptions", "Tour_1"), HasSubstr("<tt:Direction>Forward<"));
}

} // namespace
} // namespace camera::onvif
