#include "camera/onvif/MediaService.h"

#include "AskedOperation.h"
#include "KeptInMemory.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

namespace camera::onvif {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

/// Answers with a value, with a fault, or keeps the client waiting.
template <class T>
struct Asked {
    std::variant<T, Fault> outcome;
    bool waits = false;
    std::function<void(Outcome<T>)> waiting = {};

    Ask<T> ask()
    {
        return [this](const std::function<void(Outcome<T>)>& answer) {
            waiting = answer;
            if (!waits) {
                answer(outcome);
            }
        };
    }
};

class MediaServiceTest : public testing::Test {
protected:
    MediaServiceTest() { serve(); }

    /// Begins anew with the actions as they are.
    void serve()
    {
        _service.emplace(_settings, _actions);
        _service->addTo(_operations, _directory);
    }

    MediaActions actions()
    {
        MediaActions actions;
        actions.picture = _picture.ask();
        actions.analytics = _analytics.ask();
        actions.setAnalytics = [this](const pugi::xml_node& configuration, const Done& done) {
            _analyticsSet = configuration.child("tt:Name").text().get();
            done(_failure);
        };
        actions.moves = [this] { return _moves; };
        actions.synchronize = [this](const std::string& profile, const Done& done) {
            _synchronized.push_back(profile);
            done(_failure);
        };
        actions.blanking = _blanking.ask();
        actions.setBlanking = [this](const Blanking& blanking, const Done& done) {
            if (!_failure) {
                _blanking.outcome = blanking;
            }
            done(_failure);
        };
        return actions;
    }

    void stream()
    {
        _actions.streamAddress = [](const StreamRequest& wanted) {
            const char* const transports[] = {"udp", "rtsp", "http"};
            return wanted.base + "/" + wanted.profile + "/" + transports[static_cast<int>(wanted.transport)];
        };
        _actions.snapshotAddress = [](const std::string& profile, const std::string& base) {
            return base + "/" + profile + ".jpg";
        };
        serve();
    }

    std::string ask(const std::string& name, const std::string& content = "") const
    {
        return onvif::ask(_operations, name, content);
    }

    std::string add(const std::string& kind, const std::string& profile, const std::string& token) const
    {
        return ask("trt:Add" + kind + "Configuration", "<trt:ProfileToken>" + profile +
                                                           "</trt:ProfileToken><trt:ConfigurationToken>" + token +
                                                           "</trt:ConfigurationToken>");
    }

    std::string remove(const std::string& kind, const std::string& profile) const
    {
        return ask("trt:Remove" + kind + "Configuration", "<trt:ProfileToken>" + profile + "</trt:ProfileToken>");
    }

    static std::string reference(const std::string& type, const std::string& token = "")
    {
        return "<tr2:Configuration><tr2:Type>" + type + "</tr2:Type>" +
               (token.empty() ? "" : "<tr2:Token>" + token + "</tr2:Token>") + "</tr2:Configuration>";
    }

    std::vector<std::string> tokens() const
    {
        std::vector<std::string> tokens;
        for (const MediaProfile& profile : _settings.value().profiles) {
            tokens.push_back(profile.token);
        }
        return tokens;
    }

    std::string setEncoder1(const std::string& size, const std::string& rate, const std::string& gov,
                            const std::string& profile) const
    {
        return ask("trt:SetVideoEncoderConfiguration",
                   "<trt:Configuration token='VideoEncoder_1'><tt:Name>Mine</tt:Name><tt:UseCount>1</tt:UseCount>"
                   "<tt:Encoding>H264</tt:Encoding>" +
                       size + "<tt:Quality>1</tt:Quality>" + rate + "<tt:H264><tt:GovLength>" + gov +
                       "</tt:GovLength><tt:H264Profile>" + profile +
                       "</tt:H264Profile></tt:H264></trt:Configuration>"
                       "<trt:ForcePersistence>true</trt:ForcePersistence>");
    }

    static std::string size(int width, int height)
    {
        return "<tt:Resolution><tt:Width>" + std::to_string(width) + "</tt:Width><tt:Height>" + std::to_string(height) +
               "</tt:Height></tt:Resolution>";
    }

    static std::string rate1(const std::string& frames, const std::string& bits, const std::string& interval = "1")
    {
        return "<tt:RateControl><tt:FrameRateLimit>" + frames + "</tt:FrameRateLimit><tt:EncodingInterval>" + interval +
               "</tt:EncodingInterval><tt:BitrateLimit>" + bits + "</tt:BitrateLimit></tt:RateControl>";
    }

    std::string setRate2(const std::string& frames) const
    {
        return ask("tr2:SetVideoEncoderConfiguration",
                   "<tr2:Configuration token='VideoEncoder_1'><tt:Encoding>H264</tt:Encoding>" + size(1920, 1080) +
                       "<tt:RateControl><tt:FrameRateLimit>" + frames +
                       "</tt:FrameRateLimit><tt:BitrateLimit>100</tt:BitrateLimit></tt:RateControl>"
                       "</tr2:Configuration>");
    }

    std::string setMetadata(const std::string& attribute, const std::string& content) const
    {
        return ask("tr2:SetMetadataConfiguration",
                   "<tr2:Configuration token='Metadata_1' " + attribute + ">" + content + "</tr2:Configuration>");
    }

    Asked<PictureFacts> _picture{PictureFacts{{1920, 1080}, 29.97}};
    Asked<AnalyticsContent> _analytics{AnalyticsContent([](pugi::xml_node node) {
        node.append_child("tt:AnalyticsEngineConfiguration");
        node.append_child("tt:RuleEngineConfiguration");
    })};
    Asked<Blanking> _blanking{Blanking{true, 1, 2, 255}};
    bool _moves = true;
    std::optional<Fault> _failure;
    std::string _analyticsSet;
    std::vector<std::string> _synchronized;
    KeptInMemory<MediaSettings> _settings{MediaSettings()};
    Operations _operations;
    ServiceDirectory _directory;
    MediaActions _actions = actions();
    std::optional<MediaService> _service;
};

TEST_F(MediaServiceTest, hasAProfileOfEachSizeWithAllThatACameraHas)
{
    const std::string all = ask("trt:GetProfiles");
    EXPECT_THAT(all, HasSubstr("<trt:Profiles token=\"Profile_1\" fixed=\"true\"><tt:Name>Full size</tt:Name>"
                               "<tt:VideoSourceConfiguration token=\"VideoSource_1\"><tt:Name>Picture</tt:Name>"
                               "<tt:UseCount>2</tt:UseCount><tt:SourceToken>VideoSource_1</tt:SourceToken>"
                               "<tt:Bounds x=\"0\" y=\"0\" width=\"1920\" height=\"1080\"/>"
                               "</tt:VideoSourceConfiguration><tt:VideoEncoderConfiguration token=\"VideoEncoder_1\">"
                               "<tt:Name>H.264</tt:Name><tt:UseCount>1</tt:UseCount><tt:Encoding>H264</tt:Encoding>" +
                               size(1920, 1080) + "<tt:Quality>1</tt:Quality>" + rate1("30", "4096") +
                               "<tt:H264><tt:GovLength>50</tt:GovLength><tt:H264Profile>Main</tt:H264Profile>"));
    EXPECT_THAT(all, HasSubstr("<tt:VideoAnalyticsConfiguration token=\"AnalyticsConfiguration_1\"><tt:Name>Analytics"
                               "</tt:Name><tt:UseCount>2</tt:UseCount><tt:AnalyticsEngineConfiguration/>"
                               "<tt:RuleEngineConfiguration/></tt:VideoAnalyticsConfiguration>"
                               "<tt:PTZConfiguration token=\"PTZ_1\">"));
    EXPECT_THAT(all, HasSubstr("<tt:MetadataConfiguration token=\"Metadata_1\" CompressionType=\"None\">"));
    EXPECT_THAT(all, HasSubstr("<trt:Profiles token=\"Profile_2\" fixed=\"true\">"));
    EXPECT_THAT(all, HasSubstr(size(640, 360)));
    const std::string one = ask("trt:GetProfile", "<trt:ProfileToken>Profile_2</trt:ProfileToken>");
    EXPECT_THAT(one, StartsWith("<trt:GetProfileResponse><trt:Profile token=\"Profile_2\""));
    EXPECT_THAT(one, Not(HasSubstr("Profile_1")));
    EXPECT_THAT(ask("trt:GetProfile", "<trt:ProfileToken>x</trt:ProfileToken>"),
                StartsWith("Sender ter:InvalidArgVal/ter:NoProfile"));
}

TEST_F(MediaServiceTest, tellsOfAProfileInMedia2WhatAClientAsksFor)
{
    const std::string names = ask("tr2:GetProfiles");
    EXPECT_EQ("<tr2:GetProfilesResponse><tr2:Profiles token=\"Profile_1\" fixed=\"true\"><tr2:Name>Full size"
              "</tr2:Name></tr2:Profiles><tr2:Profiles token=\"Profile_2\" fixed=\"true\"><tr2:Name>Small</tr2:Name>"
              "</tr2:Profiles></tr2:GetProfilesResponse>",
              names);
    const std::string encoders = ask("tr2:GetProfiles", "<tr2:Token>Profile_1</tr2:Token><tr2:Type>VideoEncoder"
                                                        "</tr2:Type><tr2:Type>AudioEncoder</tr2:Type>");
    EXPECT_THAT(encoders, HasSubstr("<tr2:Configurations><tr2:VideoEncoder token=\"VideoEncoder_1\" GovLength=\"50\" "
                                    "Profile=\"Main\">"));
    EXPECT_THAT(encoders, HasSubstr("<tt:FrameRateLimit>29.97</tt:FrameRateLimit>"));
    EXPECT_THAT(encoders, Not(HasSubstr("tr2:VideoSource")));
    EXPECT_THAT(encoders, Not(HasSubstr("Profile_2")));
    const std::string all = ask("tr2:GetProfiles", "<tr2:Type>All</tr2:Type>");
    for (const char* const type : {"VideoSource", "VideoEncoder", "Analytics", "PTZ", "Metadata"}) {
        EXPECT_THAT(all, HasSubstr(std::string("<tr2:") + type + " token=")) << type;
    }
    EXPECT_THAT(ask("tr2:GetProfiles", "<tr2:Token>x</tr2:Token>"),
                StartsWith("Sender ter:InvalidArgVal/ter:NoProfile"));
}

TEST_F(MediaServiceTest, hasNothingOfPtzWhereTheCameraDoesNotMove)
{
    _moves = false;
    for (const std::string& all : {ask("trt:GetProfiles"), ask("tr2:GetProfiles", "<tr2:Type>All</tr2:Type>"),
                                   ask("tr2:GetServiceCapabilities")}) {
        EXPECT_THAT(all, Not(HasSubstr("PTZ"))) << all;
    }
    EXPECT_THAT(add("PTZ", "Profile_1", "PTZ_1"), StartsWith("Sender ter:InvalidArgVal/ter:NoConfig"));
    EXPECT_THAT(setMetadata("", "<tt:PTZStatus><tt:Status>true</tt:Status><tt:Position>false</tt:Position>"
                                "</tt:PTZStatus>"),
                StartsWith("Sender ter:InvalidArgVal/ter:ConfigModify"));
    EXPECT_THAT(ask("trt:GetMetadataConfigurationOptions"),
                HasSubstr("<tt:PanTiltStatusSupported>false</tt:PanTiltStatusSupported>"));
}

TEST_F(MediaServiceTest, asksForTheAnalyticsOnlyWhereTheAnswerHasThem)
{
    _analytics.outcome = Fault::receiver({"ter:Action"}, "nobody answers");
    EXPECT_EQ("Receiver ter:Action: nobody answers", ask("trt:GetProfiles"));
    EXPECT_EQ("Receiver ter:Action: nobody answers", ask("tr2:GetProfiles", "<tr2:Type>Analytics</tr2:Type>"));
    EXPECT_EQ("Receiver ter:Action: nobody answers", ask("tr2:GetAnalyticsConfigurations"));
    EXPECT_THAT(ask("tr2:GetProfiles", "<tr2:Type>Metadata</tr2:Type>"), HasSubstr("Metadata_1"));
    EXPECT_THAT(ask("trt:GetVideoSources"), HasSubstr("VideoSource_1"));
}

TEST_F(MediaServiceTest, answersWhenWhatItAsksHasAnswered)
{
    _analytics.waits = true;
    EXPECT_EQ("nothing", ask("trt:GetProfiles"));
    const auto answered = performed(_operations, "trt:GetVideoAnalyticsConfigurations", "");
    EXPECT_FALSE(answered);
    _analytics.waiting(Fault::receiver({"ter:Action"}, "too late"));
    _analytics.waits = false;
    _picture.outcome = Fault::receiver({"ter:Action"}, "no picture yet");
    EXPECT_EQ("Receiver ter:Action: no picture yet", ask("trt:GetProfiles"));
    EXPECT_EQ("Receiver ter:Action: no picture yet", setRate2("10"));
    EXPECT_EQ(0, _settings.changes);
}

TEST_F(MediaServiceTest, makesAndDeletesProfiles)
{
    EXPECT_EQ("<trt:CreateProfileResponse><trt:Profile token=\"mine\" fixed=\"false\"><tt:Name>My own</tt:Name>"
              "</trt:Profile></trt:CreateProfileResponse>",
              ask("trt:CreateProfile", "<trt:Name>My own</trt:Name><trt:Token>mine</trt:Token>"));
    EXPECT_EQ("<tr2:CreateProfileResponse><tr2:Token>Profile_3</tr2:Token></tr2:CreateProfileResponse>",
              ask("tr2:CreateProfile", "<tr2:Name>Other</tr2:Name>" + reference("VideoSource", "VideoSource_1") +
                                           reference("VideoEncoder", "VideoEncoder_2")));
    EXPECT_THAT(ask("trt:GetProfiles"), HasSubstr("<tt:UseCount>3</tt:UseCount>"));
    EXPECT_THAT(ask("trt:CreateProfile", "<trt:Name>n</trt:Name><trt:Token>7</trt:Token>"),
                HasSubstr("token=\"Profile_7\""));
    EXPECT_THAT(tokens(), ElementsAre("Profile_1", "Profile_2", "mine", "Profile_3", "Profile_7"));
    EXPECT_THAT(ask("trt:DeleteProfile", "<trt:ProfileToken>mine</trt:ProfileToken>"),
                HasSubstr("DeleteProfileResponse"));
    EXPECT_THAT(ask("tr2:DeleteProfile", "<tr2:Token>Profile_3</tr2:Token>"), HasSubstr("DeleteProfileResponse"));
    EXPECT_THAT(tokens(), ElementsAre("Profile_1", "Profile_2", "Profile_7"));
}

TEST_F(MediaServiceTest, refusesProfilesThatCannotBe)
{
    const auto create = [this](const std::string& name, const std::string& token) {
        return ask("trt:CreateProfile", "<trt:Name>" + name + "</trt:Name><trt:Token>" + token + "</trt:Token>");
    };
    EXPECT_THAT(create("a", "Profile_1"), StartsWith("Sender ter:InvalidArgVal/ter:ProfileExists"));
    EXPECT_THAT(create("a", "a b"), StartsWith("Sender ter:InvalidArgVal:"));
    EXPECT_THAT(create("a", ""), StartsWith("Sender ter:InvalidArgVal:"));
    EXPECT_THAT(create("a", std::string(65, 't')), StartsWith("Sender ter:InvalidArgVal:"));
    EXPECT_THAT(create("", "t"), StartsWith("Sender ter:InvalidArgVal:"));
    EXPECT_THAT(create(std::string(65, 'n'), "t"), StartsWith("Sender ter:InvalidArgVal:"));
    EXPECT_THAT(ask("trt:CreateProfile"), StartsWith("Sender ter:InvalidArgs:"));
    EXPECT_THAT(ask("trt:DeleteProfile", "<trt:ProfileToken>Profile_2</trt:ProfileToken>"),
                StartsWith("Sender ter:Action/ter:DeletionOfFixedProfile"));
    EXPECT_THAT(ask("tr2:DeleteProfile", "<tr2:Token>x</tr2:Token>"),
                StartsWith("Sender ter:InvalidArgVal/ter:NoProfile"));
    EXPECT_THAT(ask("tr2:CreateProfile", "<tr2:Name>n</tr2:Name>" + reference("VideoEncoder", "x")),
                StartsWith("Sender ter:InvalidArgVal/ter:NoConfig"));
    EXPECT_THAT(ask("tr2:CreateProfile", "<tr2:Name>n</tr2:Name>" + reference("AudioSource", "x")),
                StartsWith("Sender ter:InvalidArgVal/ter:NoConfig"));
    EXPECT_EQ(0, _settings.changes);
    EXPECT_THAT(create(std::string(64, 'n'), std::string(64, 't')), HasSubstr("CreateProfileResponse"));
    for (std::size_t i = 3; i < MediaSettings::kMostProfiles; ++i) {
        EXPECT_THAT(ask("tr2:CreateProfile", "<tr2:Name>n</tr2:Name>"), HasSubstr("CreateProfileResponse"));
    }
    EXPECT_THAT(ask("tr2:CreateProfile", "<tr2:Name>n</tr2:Name>"),
                StartsWith("Receiver ter:Action/ter:MaxNVTProfiles"));
}

TEST_F(MediaServiceTest, answersAProfileOnlyWhenItIsStored)
{
    _settings.failure = "the disk is full";
    EXPECT_EQ("Receiver ter:Action: the disk is full", ask("trt:CreateProfile", "<trt:Name>a</trt:Name>"));
    EXPECT_EQ("Receiver ter:Action: the disk is full", ask("tr2:CreateProfile", "<tr2:Name>a</tr2:Name>"));
    EXPECT_THAT(tokens(), ElementsAre("Profile_1", "Profile_2"));
}

TEST_F(MediaServiceTest, addsAndRemovesConfigurations)
{
    ask("trt:CreateProfile", "<trt:Name>a</trt:Name><trt:Token>a</trt:Token>");
    const auto& configurations = _settings.value().profiles;
    for (const auto& [kind, token] : {std::pair("VideoSource", "VideoSource_1"),
                                      {"VideoEncoder", "VideoEncoder_2"},
                                      {"VideoAnalytics", "AnalyticsConfiguration_1"},
                                      {"PTZ", "PTZ_1"},
                                      {"Metadata", "Metadata_1"}}) {
        EXPECT_THAT(add(kind, "a", token), HasSubstr(std::string("Add") + kind + "ConfigurationResponse")) << kind;
    }
    EXPECT_EQ(5U, configurations[2].configurations.size());
    EXPECT_THAT(add("VideoEncoder", "a", "VideoEncoder_1"), HasSubstr("Response"));
    EXPECT_EQ("VideoEncoder_1", configurations[2].configurations.at(MediaKind::videoEncoder));
    for (const char* const kind : {"VideoEncoder", "VideoAnalytics", "VideoSource", "PTZ", "Metadata"}) {
        EXPECT_THAT(remove(kind, "a"), HasSubstr(std::string("Remove") + kind + "ConfigurationResponse")) << kind;
        EXPECT_THAT(remove(kind, "a"), HasSubstr("Response")) << kind;
    }
    EXPECT_THAT(configurations[2].configurations, IsEmpty());
}

TEST_F(MediaServiceTest, addsAndRemovesSeveralConfigurationsAtOnce)
{
    ask("trt:CreateProfile", "<trt:Name>a</trt:Name><trt:Token>a</trt:Token>");
    const std::string profile = "<tr2:ProfileToken>a</tr2:ProfileToken>";
    EXPECT_THAT(ask("tr2:AddConfiguration", profile + "<tr2:Name>b</tr2:Name>" +
                                                reference("VideoEncoder", "VideoEncoder_2") + reference("VideoSource") +
                                                reference("Metadata", "Metadata_1")),
                HasSubstr("AddConfigurationResponse"));
    EXPECT_EQ("b", _settings.value().profiles[2].name);
    EXPECT_EQ(3U, _settings.value().profiles[2].configurations.size());
    EXPECT_THAT(ask("tr2:RemoveConfiguration", profile + reference("VideoEncoder") + reference("PTZ") +
                                                   reference("AudioSource") + reference("VideoSource")),
                HasSubstr("RemoveConfigurationResponse"));
    EXPECT_EQ(1U, _settings.value().profiles[2].configurations.size());
    EXPECT_THAT(ask("tr2:RemoveConfiguration", profile + reference("All")), HasSubstr("Response"));
    EXPECT_THAT(_settings.value().profiles[2].configurations, IsEmpty());
    EXPECT_THAT(ask("tr2:AddConfiguration", "<tr2:ProfileToken>x</tr2:ProfileToken>"),
                StartsWith("Sender ter:InvalidArgVal/ter:NoProfile"));
    EXPECT_THAT(ask("tr2:AddConfiguration", profile + "<tr2:Name/>"), StartsWith("Sender ter:InvalidArgVal:"));
}

TEST_F(MediaServiceTest, keepsNoEncoderOrAnalyticsWithoutASourceOfPictures)
{
    ask("trt:CreateProfile", "<trt:Name>a</trt:Name><trt:Token>a</trt:Token>");
    const std::string conflict = "Receiver ter:Action/ter:ConfigurationConflict";
    EXPECT_THAT(add("VideoEncoder", "a", "VideoEncoder_1"), StartsWith(conflict));
    EXPECT_THAT(add("VideoAnalytics", "a", "AnalyticsConfiguration_1"), StartsWith(conflict));
    EXPECT_THAT(add("Metadata", "a", "Metadata_1"), HasSubstr("Response"));
    EXPECT_THAT(remove("VideoSource", "Profile_1"), StartsWith(conflict));
    EXPECT_THAT(
        ask("tr2:RemoveConfiguration", "<tr2:ProfileToken>Profile_1</tr2:ProfileToken>" + reference("VideoSource")),
        StartsWith(conflict));
    EXPECT_THAT(add("VideoSource", "a", "x"), StartsWith("Sender ter:InvalidArgVal/ter:NoConfig"));
    EXPECT_THAT(add("VideoSource", "x", "VideoSource_1"), StartsWith("Sender ter:InvalidArgVal/ter:NoProfile"));
    EXPECT_THAT(remove("VideoSource", "x"), StartsWith("Sender ter:InvalidArgVal/ter:NoProfile"));
    EXPECT_EQ(2, _settings.changes);
}

TEST_F(MediaServiceTest, tellsOfConfigurationsAllOneAndThoseThatFit)
{
    const std::string both = ask("trt:GetVideoEncoderConfigurations");
    EXPECT_THAT(both, HasSubstr("<trt:Configurations token=\"VideoEncoder_1\">"));
    EXPECT_THAT(both, HasSubstr("<trt:Configurations token=\"VideoEncoder_2\">"));
    EXPECT_THAT(
        ask("trt:GetVideoEncoderConfiguration", "<trt:ConfigurationToken>VideoEncoder_2</trt:ConfigurationToken>"),
        HasSubstr("<trt:Configuration token=\"VideoEncoder_2\">"));
    EXPECT_THAT(ask("trt:GetMetadataConfiguration", "<trt:ConfigurationToken>x</trt:ConfigurationToken>"),
                StartsWith("Sender ter:InvalidArgVal/ter:NoConfig"));
    const std::string one =
        ask("tr2:GetVideoEncoderConfigurations", "<tr2:ConfigurationToken>VideoEncoder_2</tr2:ConfigurationToken>");
    EXPECT_THAT(one, HasSubstr("VideoEncoder_2"));
    EXPECT_THAT(one, Not(HasSubstr("VideoEncoder_1")));
    EXPECT_THAT(ask("tr2:GetMetadataConfigurations", "<tr2:ConfigurationToken>x</tr2:ConfigurationToken>"),
                StartsWith("Sender ter:InvalidArgVal/ter:NoConfig"));
    EXPECT_THAT(ask("tr2:GetMetadataConfigurations", "<tr2:ProfileToken>x</tr2:ProfileToken>"),
                StartsWith("Sender ter:InvalidArgVal/ter:NoProfile"));

    ask("trt:CreateProfile", "<trt:Name>a</trt:Name><trt:Token>a</trt:Token>");
    const std::string profile = "<trt:ProfileToken>a</trt:ProfileToken>";
    EXPECT_THAT(ask("trt:GetCompatibleVideoSourceConfigurations", profile), HasSubstr("VideoSource_1"));
    EXPECT_THAT(ask("trt:GetCompatibleVideoEncoderConfigurations", profile), Not(HasSubstr("VideoEncoder_1")));
    EXPECT_THAT(ask("tr2:GetVideoEncoderConfigurations", "<tr2:ProfileToken>a</tr2:ProfileToken>"),
                Not(HasSubstr("VideoEncoder_1")));
    add("VideoSource", "a", "VideoSource_1");
    EXPECT_THAT(ask("trt:GetCompatibleVideoEncoderConfigurations", profile), HasSubstr("VideoEncoder_2"));
    EXPECT_THAT(ask("trt:GetCompatibleMetadataConfigurations", "<trt:ProfileToken>x</trt:ProfileToken>"),
                StartsWith("Sender ter:InvalidArgVal/ter:NoProfile"));
}

TEST_F(MediaServiceTest, setsAnEncoderByEitherService)
{
    EXPECT_THAT(setEncoder1(size(640, 360), rate1("10", "64"), "300", "Baseline"), HasSubstr("Response"));
    std::string encoder = ask("trt:GetVideoEncoderConfigurations");
    EXPECT_THAT(encoder, HasSubstr("<tt:Name>Mine</tt:Name>"));
    EXPECT_THAT(encoder, HasSubstr(size(640, 360) + "<tt:Quality>1</tt:Quality>" + rate1("10", "64") +
                                   "<tt:H264><tt:GovLength>300</tt:GovLength><tt:H264Profile>Baseline<"));
    EXPECT_THAT(ask("tr2:SetVideoEncoderConfiguration",
                    "<tr2:Configuration token='VideoEncoder_1' GovLength='1' Profile='High'>"
                    "<tt:Encoding>H264</tt:Encoding>" +
                        size(1920, 1080) +
                        "<tt:RateControl><tt:FrameRateLimit>12.5</tt:FrameRateLimit><tt:BitrateLimit>16384"
                        "</tt:BitrateLimit></tt:RateControl><tt:Quality>1</tt:Quality></tr2:Configuration>"),
                HasSubstr("Response"));
    encoder = ask("tr2:GetVideoEncoderConfigurations");
    EXPECT_THAT(encoder, HasSubstr("GovLength=\"1\" Profile=\"High\"><tt:Name>Mine</tt:Name>"));
    EXPECT_THAT(encoder, HasSubstr("<tt:FrameRateLimit>12.5</tt:FrameRateLimit><tt:BitrateLimit>16384<"));
    EXPECT_FALSE(_settings.value().encoders[0].size);
    // The whole rate of Media1 and the exact one of Media2 are both that of the camera.
    EXPECT_THAT(setEncoder1(size(1920, 1080), rate1("30", "64"), "1", "Main"), HasSubstr("Response"));
    EXPECT_FALSE(_settings.value().encoders[0].framesPerSecond);
    EXPECT_THAT(setRate2("29"), HasSubstr("Response"));
    EXPECT_EQ(29, _settings.value().encoders[0].framesPerSecond);
    EXPECT_THAT(setRate2("29.97"), HasSubstr("Response"));
    EXPECT_FALSE(_settings.value().encoders[0].framesPerSecond);
}

TEST_F(MediaServiceTest, refusesAnEncoderThatItsOptionsDoNotHave)
{
    const std::string whole = size(1920, 1080);
    const std::string rate = rate1("10", "64");
    for (const std::string& answer :
         {setEncoder1(size(1280, 720), rate, "1", "Main"), setEncoder1(whole, rate1("31", "64"), "1", "Main"),
          setEncoder1(whole, rate1("0", "64"), "1", "Main"), setEncoder1(whole, rate1("10", "63"), "1", "Main"),
          setEncoder1(whole, rate1("10", "16385"), "1", "Main"),
          setEncoder1(whole, rate1("10", "64", "2"), "1", "Main"), setEncoder1(whole, rate, "0", "Main"),
          setEncoder1(whole, rate, "301", "Main"), setEncoder1(whole, rate, "1", "Extended"), setRate2("30"),
          setRate2("0.5"),
          ask("tr2:SetVideoEncoderConfiguration", "<tr2:Configuration token='VideoEncoder_1'><tt:Encoding>JPEG"
                                                  "</tt:Encoding></tr2:Configuration>"),
          ask("tr2:SetVideoEncoderConfiguration", "<tr2:Configuration token='VideoEncoder_1'><tt:Encoding>H264"
                                                  "</tt:Encoding>" +
                                                      whole + "<tt:Quality>5</tt:Quality></tr2:Configuration>")}) {
        EXPECT_THAT(answer, StartsWith("Sender ter:InvalidArgVal/ter:ConfigModify"));
    }
    for (const char* const number : {"nan", "inf", "", "1x", "1e400"}) {
        EXPECT_THAT(setRate2(number), StartsWith("Sender ter:InvalidArgVal: tt:FrameRateLimit is a number")) << number;
    }
    for (const char* const number : {"1.5", "2147483648", "-1e30"}) {
        EXPECT_THAT(setEncoder1(whole, rate, number, "Main"), StartsWith("Sender ter:InvalidArgVal: ")) << number;
    }
    EXPECT_THAT(ask("trt:SetVideoEncoderConfiguration"), StartsWith("Sender ter:InvalidArgVal/ter:NoConfig"));
    EXPECT_EQ(0, _settings.changes);
}

TEST_F(MediaServiceTest, tellsTheOptionsOfAnEncoder)
{
    const std::string options1 = ask("trt:GetVideoEncoderConfigurationOptions");
    EXPECT_THAT(options1, HasSubstr("<tt:FrameRateRange><tt:Min>1</tt:Min><tt:Max>30</tt:Max></tt:FrameRateRange>"));
    EXPECT_THAT(options1, HasSubstr("<tt:BitrateRange><tt:Min>64</tt:Min><tt:Max>16384</tt:Max></tt:BitrateRange>"));
    const std::string options2 = ask("tr2:GetVideoEncoderConfigurationOptions");
    EXPECT_THAT(options2, HasSubstr("<tr2:Options GovLengthRange=\"1 300\" FrameRatesSupported=\"29.97 25 20 15 12 10 "
                                    "8 6 5 4 3 2 1\" ProfilesSupported=\"Baseline Main High\">"));
    EXPECT_THAT(ask("tr2:GetVideoEncoderConfigurationOptions", "<tr2:ProfileToken>x</tr2:ProfileToken>"),
                StartsWith("Sender ter:InvalidArgVal/ter:NoProfile"));
    EXPECT_THAT(ask("trt:GetVideoEncoderConfigurationOptions", "<trt:ConfigurationToken>x</trt:ConfigurationToken>"),
                StartsWith("Sender ter:InvalidArgVal/ter:NoConfig"));
}

TEST_F(MediaServiceTest, encodesSmallPicturesAsTheyAre)
{
    for (const PictureSize small : {PictureSize{640, 360}, PictureSize{639, 480}, PictureSize{640, 359}}) {
        _picture.outcome = PictureFacts{small, 0.5};
        const std::string encoders = ask("tr2:GetVideoEncoderConfigurations");
        EXPECT_THAT(encoders, HasSubstr("<tt:Width>" + std::to_string(small.width) + "</tt:Width>"));
        EXPECT_EQ(1U, encodedSizes({small, 1}).size());
        EXPECT_THAT(ask("trt:GetVideoEncoderConfigurationOptions"),
                    HasSubstr("<tt:FrameRateRange><tt:Min>1</tt:Min><tt:Max>1</tt:Max></tt:FrameRateRange>"));
        EXPECT_THAT(ask("tr2:GetVideoEncoderConfigurationOptions"), HasSubstr("FrameRatesSupported=\"0.5\""));
    }
    EXPECT_EQ(2U, encodedSizes({{640, 361}, 1}).size());
}

TEST_F(MediaServiceTest, setsOnlyTheNameOfTheVideoSource)
{
    const auto set = [this](const std::string& token, const std::string& source, const std::string& bounds) {
        return ask("trt:SetVideoSourceConfiguration",
                   "<trt:Configuration token='" + token + "'><tt:Name>Gate</tt:Name><tt:UseCount>2</tt:UseCount>" +
                       "<tt:SourceToken>" + source + "</tt:SourceToken><tt:Bounds " + bounds +
                       "/></trt:Configuration><trt:ForcePersistence>false</trt:ForcePersistence>");
    };
    const std::string whole = "x='0' y='0' width='1920' height='1080'";
    EXPECT_THAT(set("VideoSource_1", "VideoSource_1", whole), HasSubstr("Response"));
    EXPECT_THAT(ask("tr2:GetVideoSourceConfigurations"), HasSubstr("<tt:Name>Gate</tt:Name>"));
    EXPECT_THAT(set("x", "VideoSource_1", whole), StartsWith("Sender ter:InvalidArgVal/ter:NoConfig"));
    EXPECT_THAT(set("VideoSource_1", "x", whole), StartsWith("Sender ter:InvalidArgVal/ter:ConfigModify"));
    for (const char* const part :
         {"x='1' y='0' width='1920' height='1080'", "x='0' y='1' width='1920' height='1080'",
          "x='0' y='0' width='1919' height='1080'", "x='0' y='0' width='1920' height='1079'"}) {
        EXPECT_THAT(set("VideoSource_1", "VideoSource_1", part),
                    StartsWith("Sender ter:InvalidArgVal/ter:ConfigModify"));
    }
    EXPECT_THAT(ask("trt:GetVideoSourceConfigurationOptions"),
                HasSubstr("<tt:WidthRange><tt:Min>1920</tt:Min><tt:Max>1920</tt:Max></tt:WidthRange>"));
    EXPECT_EQ(1, _settings.changes);
}

TEST_F(MediaServiceTest, setsWhatTheMetadataHave)
{
    EXPECT_THAT(setMetadata("CompressionType='GZIP'", "<tt:PTZStatus><tt:Status>true</tt:Status><tt:Position>true"
                                                      "</tt:Position></tt:PTZStatus><tt:Events><tt:Filter/></tt:Events>"
                                                      "<tt:Analytics>false</tt:Analytics>"),
                HasSubstr("Response"));
    EXPECT_THAT(ask("trt:GetMetadataConfigurations"),
                HasSubstr("CompressionType=\"GZIP\"><tt:Name>Metadata</tt:Name><tt:UseCount>2</tt:UseCount>"
                          "<tt:PTZStatus><tt:Status>true</tt:Status><tt:Position>true</tt:Position></tt:PTZStatus>"
                          "<tt:Events/><tt:Analytics>false</tt:Analytics><tt:Multicast>"));
    EXPECT_THAT(setMetadata("", "<tt:Analytics>true</tt:Analytics>"), HasSubstr("Response"));
    EXPECT_THAT(ask("tr2:GetMetadataConfigurations"),
                HasSubstr("CompressionType=\"None\"><tt:Name>Metadata</tt:Name><tt:UseCount>2</tt:UseCount>"
                          "<tt:PTZStatus><tt:Status>false</tt:Status><tt:Position>false</tt:Position></tt:PTZStatus>"
                          "<tt:Analytics>true</tt:Analytics>"));
    EXPECT_THAT(setMetadata("CompressionType='EXI'", ""), StartsWith("Sender ter:InvalidArgVal/ter:ConfigModify"));
    EXPECT_THAT(setMetadata("", "<tt:Events><tt:Filter><wsnt:TopicExpression>tns1:VideoSource</wsnt:TopicExpression>"
                                "</tt:Filter></tt:Events>"),
                StartsWith("Sender ter:InvalidArgVal/ter:ConfigModify"));
    EXPECT_EQ(2, _settings.changes);
}

TEST_F(MediaServiceTest, handsAnAnalyticsConfigurationOn)
{
    const std::string rest = "<tt:Name>n</tt:Name></trt:Configuration><trt:ForcePersistence>1</trt:ForcePersistence>";
    const std::string good = "<trt:Configuration token='AnalyticsConfiguration_1'>" + rest;
    EXPECT_THAT(ask("trt:SetVideoAnalyticsConfiguration", good), HasSubstr("Response"));
    EXPECT_EQ("n", _analyticsSet);
    EXPECT_THAT(ask("trt:SetVideoAnalyticsConfiguration", "<trt:Configuration token='x'>" + rest),
                StartsWith("Sender ter:InvalidArgVal/ter:NoConfig"));
    _failure = Fault::receiver({"ter:Action"}, "nobody answers");
    EXPECT_EQ("Receiver ter:Action: nobody answers", ask("trt:SetVideoAnalyticsConfiguration", good));
}

TEST_F(MediaServiceTest, tellsOfOneSourceOneModeAndTwoEncoders)
{
    EXPECT_THAT(ask("trt:GetVideoSources"), HasSubstr("<trt:VideoSources token=\"VideoSource_1\"><tt:Framerate>29.97"
                                                      "</tt:Framerate>" +
                                                      size(1920, 1080)));
    EXPECT_EQ("<trt:GetAudioSourcesResponse/>", ask("trt:GetAudioSources"));
    EXPECT_THAT(ask("trt:GetGuaranteedNumberOfVideoEncoderInstances",
                    "<trt:ConfigurationToken>VideoSource_1</trt:ConfigurationToken>"),
                HasSubstr("<trt:TotalNumber>2</trt:TotalNumber><trt:H264>2</trt:H264>"));
    EXPECT_THAT(
        ask("trt:GetGuaranteedNumberOfVideoEncoderInstances", "<trt:ConfigurationToken>x</trt:ConfigurationToken>"),
        StartsWith("Sender ter:InvalidArgVal/ter:NoConfig"));
    EXPECT_THAT(ask("tr2:GetVideoEncoderInstances", "<tr2:ConfigurationToken>VideoSource_1</tr2:ConfigurationToken>"),
                HasSubstr("<tr2:Codec><tr2:Encoding>H264</tr2:Encoding><tr2:Number>2</tr2:Number></tr2:Codec>"
                          "<tr2:Total>2</tr2:Total>"));
    EXPECT_THAT(ask("tr2:GetVideoEncoderInstances", "<tr2:ConfigurationToken>x</tr2:ConfigurationToken>"),
                StartsWith("Sender ter:InvalidArgVal/ter:NoConfig"));
    EXPECT_THAT(ask("tr2:GetVideoSourceModes", "<tr2:VideoSourceToken>VideoSource_1</tr2:VideoSourceToken>"),
                HasSubstr("<tr2:MaxFramerate>29.97</tr2:MaxFramerate>"));
    EXPECT_THAT(ask("tr2:GetVideoSourceModes", "<tr2:VideoSourceToken>x</tr2:VideoSourceToken>"),
                StartsWith("Sender ter:InvalidArgVal/ter:NoVideoSource"));
}

constexpr const char* kUdp =
    "<trt:StreamSetup><tt:Stream>RTP-Unicast</tt:Stream><tt:Transport><tt:Protocol>UDP</tt:Protocol></tt:Transport>"
    "</trt:StreamSetup><trt:ProfileToken>Profile_1</trt:ProfileToken>";

TEST_F(MediaServiceTest, saysThatNothingIsStreamedWithoutAStreamer)
{
    for (const std::string& answer :
         {ask("trt:GetStreamUri", kUdp), ask("trt:GetSnapshotUri", "<trt:ProfileToken>Profile_1</trt:ProfileToken>"),
          ask("tr2:GetStreamUri", "<tr2:Protocol>RTSP</tr2:Protocol><tr2:ProfileToken>Profile_1</tr2:ProfileToken>"),
          ask("tr2:GetSnapshotUri", "<tr2:ProfileToken>Profile_1</tr2:ProfileToken>")}) {
        EXPECT_EQ("Receiver ter:ActionNotSupported: this camera does not stream", answer);
    }
    EXPECT_THAT(ask("trt:GetServiceCapabilities"), HasSubstr("NoRTSPStreaming=\"true\""));
    EXPECT_THAT(ask("trt:GetServiceCapabilities"), HasSubstr("SnapshotUri=\"false\""));
    EXPECT_THAT(ask("tr2:GetServiceCapabilities"), HasSubstr("RTSPStreaming=\"false\""));
}

TEST_F(MediaServiceTest, tellsWhereStreamsAndPicturesAre)
{
    stream();
    const auto uri1 = [this](const std::string& stream, const std::string& protocol, const std::string& profile) {
        return ask("trt:GetStreamUri", "<trt:StreamSetup><tt:Stream>" + stream +
                                           "</tt:Stream><tt:Transport><tt:Protocol>" + protocol +
                                           "</tt:Protocol></tt:Transport></trt:StreamSetup><trt:ProfileToken>" +
                                           profile + "</trt:ProfileToken>");
    };
    EXPECT_THAT(uri1("RTP-Unicast", "UDP", "Profile_1"),
                HasSubstr("<trt:MediaUri><tt:Uri>http://camera/Profile_1/udp</tt:Uri><tt:InvalidAfterConnect>false<"));
    EXPECT_THAT(uri1("RTP-Unicast", "RTSP", "Profile_2"), HasSubstr("/Profile_2/rtsp<"));
    EXPECT_THAT(uri1("RTP-Unicast", "HTTP", "Profile_1"), HasSubstr("/Profile_1/http<"));
    const std::string setup = "Sender ter:InvalidArgVal/ter:InvalidStreamSetup";
    EXPECT_THAT(uri1("RTP-Multicast", "UDP", "Profile_1"), StartsWith(setup));
    EXPECT_THAT(uri1("RTP-Unicast", "TCP", "Profile_1"), StartsWith(setup));
    const std::string noProfile = "Sender ter:InvalidArgVal/ter:NoProfile";
    EXPECT_THAT(uri1("RTP-Unicast", "UDP", "x"), StartsWith(noProfile));
    const auto uri2 = [this](const std::string& protocol, const std::string& profile) {
        return ask("tr2:GetStreamUri",
                   "<tr2:Protocol>" + protocol + "</tr2:Protocol><tr2:ProfileToken>" + profile + "</tr2:ProfileToken>");
    };
    EXPECT_THAT(uri2("RtspUnicast", "Profile_1"), HasSubstr("<tr2:Uri>http://camera/Profile_1/udp</tr2:Uri>"));
    EXPECT_THAT(uri2("RTSP", "Profile_1"), HasSubstr("/rtsp<"));
    EXPECT_THAT(uri2("RtspOverHttp", "Profile_1"), HasSubstr("/http<"));
    EXPECT_THAT(uri2("RtspMulticast", "Profile_1"), StartsWith(setup));
    EXPECT_THAT(ask("trt:GetSnapshotUri", "<trt:ProfileToken>Profile_2</trt:ProfileToken>"),
                HasSubstr("<tt:Uri>http://camera/Profile_2.jpg</tt:Uri>"));
    EXPECT_THAT(ask("tr2:GetSnapshotUri", "<tr2:ProfileToken>x</tr2:ProfileToken>"), StartsWith(noProfile));
    EXPECT_THAT(ask("tr2:GetServiceCapabilities"), HasSubstr("RTSPStreaming=\"true\""));
    EXPECT_THAT(ask("trt:GetServiceCapabilities"), HasSubstr("NoRTSPStreaming=\"false\""));

    ask("trt:CreateProfile", "<trt:Name>a</trt:Name><trt:Token>a</trt:Token>");
    const std::string incomplete = "Receiver ter:Action/ter:IncompleteConfiguration";
    EXPECT_THAT(uri2("RTSP", "a"), StartsWith(incomplete));
    EXPECT_THAT(ask("tr2:GetSnapshotUri", "<tr2:ProfileToken>a</tr2:ProfileToken>"), StartsWith(incomplete));
    add("Metadata", "a", "Metadata_1");
    EXPECT_THAT(uri2("RTSP", "a"), HasSubstr("/a/rtsp"));
}

TEST_F(MediaServiceTest, makesAPointFromWhichAClientCanBegin)
{
    EXPECT_THAT(ask("trt:SetSynchronizationPoint", "<trt:ProfileToken>Profile_1</trt:ProfileToken>"),
                HasSubstr("<trt:SetSynchronizationPointResponse/>"));
    EXPECT_THAT(ask("tr2:SetSynchronizationPoint", "<tr2:ProfileToken>Profile_2</tr2:ProfileToken>"),
                HasSubstr("<tr2:SetSynchronizationPointResponse/>"));
    EXPECT_THAT(ask("tr2:SetSynchronizationPoint", "<tr2:ProfileToken>x</tr2:ProfileToken>"),
                StartsWith("Sender ter:InvalidArgVal/ter:NoProfile"));
    EXPECT_THAT(_synchronized, ElementsAre("Profile_1", "Profile_2"));
}

TEST_F(MediaServiceTest, showsTheWindowBlankingAsAMask)
{
    EXPECT_THAT(
        ask("tr2:GetMasks"),
        HasSubstr("<tr2:Masks token=\"Mask_1\"><tr2:ConfigurationToken>VideoSource_1</tr2:ConfigurationToken>"));
    EXPECT_THAT(ask("tr2:GetMasks", "<tr2:Token>Mask_1</tr2:Token>"),
                HasSubstr("<tr2:Color X=\"1\" Y=\"2\" Z=\"255\" Colorspace=\"http://www.onvif.org/ver10/colorspace/RGB"
                          "\"/><tr2:Enabled>true</tr2:Enabled>"));
    const auto set = [this](const std::string& token, const std::string& colour, const std::string& enabled) {
        return ask("tr2:SetMask", "<tr2:Mask token='" + token + "'>" + colour + "<tr2:Enabled>" + enabled +
                                      "</tr2:Enabled></tr2:Mask>");
    };
    const auto rgb = [](const std::string& red) {
        return "<tr2:Color X='" + red + "' Y='20' Z='30' Colorspace='http://www.onvif.org/ver10/colorspace/RGB'/>";
    };
    EXPECT_THAT(set("Mask_1", "", "false"), HasSubstr("SetMaskResponse"));
    EXPECT_THAT(ask("tr2:GetMasks"), HasSubstr("X=\"1\""));
    EXPECT_THAT(ask("tr2:GetMasks"), HasSubstr("<tr2:Enabled>false</tr2:Enabled>"));
    EXPECT_THAT(set("Mask_1", rgb("254.6"), "true"), HasSubstr("SetMaskResponse"));
    EXPECT_THAT(ask("tr2:GetMasks"), HasSubstr("X=\"255\" Y=\"20\" Z=\"30\""));
    EXPECT_THAT(set("Mask_1", rgb("256"), "true"), StartsWith("Sender ter:InvalidArgVal/ter:ConfigModify"));
    EXPECT_THAT(set("Mask_1", rgb("-1"), "true"), StartsWith("Sender ter:InvalidArgVal/ter:ConfigModify"));
    EXPECT_THAT(set("Mask_1", "<tr2:Color X='1' Y='1' Z='1'/>", "true"),
                StartsWith("Sender ter:InvalidArgVal/ter:ConfigModify"));
    const std::string none = "Sender ter:InvalidArgVal/ter:NoConfig";
    EXPECT_THAT(set("x", "", "true"), StartsWith(none));
    EXPECT_THAT(ask("tr2:GetMasks", "<tr2:Token>x</tr2:Token>"), StartsWith(none));
    EXPECT_THAT(ask("tr2:GetMasks", "<tr2:ConfigurationToken>x</tr2:ConfigurationToken>"), StartsWith(none));
    EXPECT_THAT(ask("tr2:GetMaskOptions", "<tr2:ConfigurationToken>x</tr2:ConfigurationToken>"), StartsWith(none));
    EXPECT_THAT(ask("tr2:DeleteMask", "<tr2:Token>x</tr2:Token>"), StartsWith(none));
    EXPECT_THAT(ask("tr2:DeleteMask", "<tr2:Token>Mask_1</tr2:Token>"), StartsWith("Sender ter:OperationProhibited"));
    EXPECT_THAT(ask("tr2:CreateMask", "<tr2:Mask><tr2:ConfigurationToken>VideoSource_1</tr2:ConfigurationToken>"
                                      "</tr2:Mask>"),
                StartsWith("Receiver ter:Action/ter:MaxMasks"));
}

TEST_F(MediaServiceTest, saysWhyTheWindowBlankingCannotBeReached)
{
    const std::string set = "<tr2:Mask token='Mask_1'><tr2:Enabled>true</tr2:Enabled></tr2:Mask>";
    _failure = Fault::receiver({"ter:Action"}, "nobody answers");
    EXPECT_EQ("Receiver ter:Action: nobody answers", ask("tr2:SetMask", set));
    _blanking.outcome = *_failure;
    EXPECT_EQ("Receiver ter:Action: nobody answers", ask("tr2:GetMasks"));
    EXPECT_EQ("Receiver ter:Action: nobody answers", ask("tr2:SetMask", set));
}

TEST_F(MediaServiceTest, letsUsersReadAndOperatorsChange)
{
    for (const auto& [name, operation] : _operations.all()) {
        const std::string verb = name.substr(4);
        const AccessClass expected = verb == "GetServiceCapabilities" ? AccessClass::preAuth
                                     : verb.compare(0, 3, "Get") == 0 ? AccessClass::readMedia
                                                                      : AccessClass::actuate;
        EXPECT_EQ(expected, operation.access) << name;
    }
}

TEST_F(MediaServiceTest, standsInTheDirectoryTwice)
{
    ASSERT_EQ(2U, _directory.all().size());
    EXPECT_EQ("/onvif/media_service", _directory.find("Media")->path);
    EXPECT_EQ("/onvif/media2_service", _directory.all()[1].path);
    pugi::xml_document old;
    _directory.find("Media")->categoryContent(old.append_child("tt:Media"));
    EXPECT_TRUE(old.child("tt:Media").child("tt:StreamingCapabilities").child("tt:RTP_RTSP_TCP"));
}

} // namespace
} // namespace camera::onvif
