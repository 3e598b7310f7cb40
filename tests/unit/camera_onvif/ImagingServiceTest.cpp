#include "camera/onvif/ImagingService.h"

#include "AskedOperation.h"
#include "camera/onvif/DeviceIo.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>

namespace camera::onvif {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kSource = "<timg:VideoSourceToken>VideoSource_1</timg:VideoSourceToken>";

class ImagingServiceTest : public testing::Test {
protected:
    ImagingServiceTest() { _service.addTo(_operations, _directory); }

    std::string ask(const std::string& name, const std::string& content = kSource) const
    {
        return onvif::ask(_operations, "timg:" + name, content);
    }

    std::string set(const std::string& settings) const
    {
        return ask("SetImagingSettings", kSource + ("<timg:ImagingSettings>" + settings + "</timg:ImagingSettings>"));
    }

    IrCutFilter _filter = IrCutFilter::automatic;
    std::optional<Fault> _failure;
    Operations _operations;
    ServiceDirectory _directory;
    ImagingService _service{{[this](const auto& answer) {
                                 if (_failure) {
                                     answer(*_failure);
                                 } else {
                                     answer(_filter);
                                 }
                             },
                             [this](IrCutFilter filter, const Done& done) {
                                 if (!_failure) {
                                     _filter = filter;
                                 }
                                 done(_failure);
                             }}};
};

TEST_F(ImagingServiceTest, switchesBetweenDayAndNightByTheFilter)
{
    EXPECT_THAT(ask("GetImagingSettings"), HasSubstr("<tt:IrCutFilter>AUTO</tt:IrCutFilter>"));
    for (const auto& [filter, text] : {std::pair(IrCutFilter::on, "ON"), std::pair(IrCutFilter::off, "OFF"),
                                       std::pair(IrCutFilter::automatic, "AUTO")}) {
        EXPECT_THAT(ask("GetOptions"), HasSubstr(std::string("<tt:IrCutFilterModes>") + text + "<"));
        const std::string wanted = std::string("<tt:IrCutFilter>") + text + "</tt:IrCutFilter>";
        EXPECT_EQ("<timg:SetImagingSettingsResponse/>", set(wanted));
        EXPECT_EQ(filter, _filter);
        EXPECT_EQ("<timg:GetImagingSettingsResponse><timg:ImagingSettings>" + wanted +
                      "</timg:ImagingSettings></timg:GetImagingSettingsResponse>",
                  ask("GetImagingSettings"));
    }
}

TEST_F(ImagingServiceTest, refusesWhatItDoesNotHave)
{
    for (const char* const name : {"GetOptions", "GetImagingSettings", "SetImagingSettings"}) {
        EXPECT_THAT(ask(name, "<timg:VideoSourceToken>x</timg:VideoSourceToken>"),
                    StartsWith("Sender ter:InvalidArgVal/ter:NoSource"))
            << name;
        EXPECT_THAT(ask(name, ""), StartsWith("Sender ter:InvalidArgs")) << name;
    }
    EXPECT_THAT(set("<tt:IrCutFilter>on</tt:IrCutFilter>"), StartsWith("Sender ter:InvalidArgVal/ter:SettingsInvalid"));
    EXPECT_THAT(set("<tt:Brightness>5</tt:Brightness><tt:IrCutFilter>ON</tt:IrCutFilter>"),
                StartsWith("Sender ter:InvalidArgVal/ter:SettingsInvalid: 'tt:Brightness' cannot be set"));
    EXPECT_THAT(set(""), StartsWith("Sender ter:InvalidArgs"));
    EXPECT_EQ(IrCutFilter::automatic, _filter);
}

TEST_F(ImagingServiceTest, saysWhyTheFilterCannotBeReached)
{
    _failure = Fault::receiver({"ter:Action"}, "nobody answers");
    EXPECT_EQ("Receiver ter:Action: nobody answers", ask("GetImagingSettings"));
    EXPECT_EQ("Receiver ter:Action: nobody answers", set("<tt:IrCutFilter>ON</tt:IrCutFilter>"));
    EXPECT_THAT(ask("GetOptions"), HasSubstr("GetOptionsResponse"));
}

TEST_F(ImagingServiceTest, letsUsersReadAndOperatorsChange)
{
    EXPECT_EQ(AccessClass::readMedia, _operations.find("timg:GetImagingSettings")->access);
    EXPECT_EQ(AccessClass::readMedia, _operations.find("timg:GetOptions")->access);
    EXPECT_EQ(AccessClass::actuate, _operations.find("timg:SetImagingSettings")->access);
    EXPECT_EQ("/onvif/imaging_service", _directory.find("Imaging")->path);
    EXPECT_THAT(ask("GetServiceCapabilities", ""), HasSubstr("Presets=\"false\""));
}

TEST(DeviceIoTest, hasOneVideoSourceAndNothingElse)
{
    Operations operations;
    ServiceDirectory directory;
    addDeviceIo(operations, directory);
    EXPECT_EQ("<tmd:GetVideoSourcesResponse><tmd:Token>VideoSource_1</tmd:Token></tmd:GetVideoSourcesResponse>",
              ask(operations, "tmd:GetVideoSources"));
    EXPECT_EQ(AccessClass::readMedia, operations.find("tmd:GetVideoSources")->access);
    EXPECT_THAT(ask(operations, "tmd:GetServiceCapabilities"), HasSubstr("VideoSources=\"1\" VideoOutputs=\"0\""));
    pugi::xml_document old;
    directory.find("DeviceIO")->categoryContent(old.append_child("tt:DeviceIO"));
    EXPECT_STREQ("1", old.child("tt:DeviceIO").child("tt:VideoSources").text().get());
    EXPECT_STREQ("0", old.child("tt:DeviceIO").child("tt:RelayOutputs").text().get());
}

} // namespace
} // namespace camera::onvif
