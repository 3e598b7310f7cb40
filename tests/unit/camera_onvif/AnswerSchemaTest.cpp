#include "AskedOperation.h"
#include "WholeDevice.h"
#include "kit/OnvifSchemas.h"

#include <gmock/gmock.h>

#include <map>
#include <string>
#include <vector>

namespace camera::onvif {
namespace {

using testing::HasSubstr;

using Contents = std::map<std::string, std::string>;

std::string element(const std::string& name, const std::string& content)
{
    return "<" + name + ">" + content + "</" + name + ">";
}

std::string resolution(int width, int height)
{
    return element("tt:Resolution",
                   element("tt:Width", std::to_string(width)) + element("tt:Height", std::to_string(height)));
}

// What a request has, in the smallest form that is answered; an operation that is not here needs nothing. Operations
// are called in the order of their names: what is added is there when it is deleted.

Contents deviceContents()
{
    const std::string four = element("tt:Type", "IPv4") + element("tt:IPv4Address", "10.0.0.1");
    const std::string user =
        element("tt:Username", "a") + element("tt:Password", "password") + element("tt:UserLevel", "User");
    const std::string root =
        element("tt:Username", "root") + element("tt:Password", "password") + element("tt:UserLevel", "Administrator");
    return {
        {"tds:GetServices", element("tds:IncludeCapability", "true")},
        {"tds:AddScopes", element("tds:ScopeItem", "onvif://a")},
        {"tds:RemoveScopes", element("tds:ScopeItem", "onvif://a")},
        {"tds:SetScopes", element("tds:Scopes", "onvif://b")},
        {"tds:CreateUsers", element("tds:User", user)},
        {"tds:DeleteUsers", element("tds:Username", "a")},
        {"tds:SetUser", element("tds:User", root)},
        {"tds:GetSystemLog", element("tds:LogType", "System")},
        {"tds:SetSystemDateAndTime", element("tds:DateTimeType", "NTP") + element("tds:DaylightSavings", "false")},
        {"tds:SetSystemFactoryDefault", element("tds:FactoryDefault", "Soft")},
        {"tds:SetHostname", element("tds:Name", "camera")},
        {"tds:SetDNS", element("tds:FromDHCP", "false") + element("tds:SearchDomain", "example.org") +
                           element("tds:DNSManual", four)},
        {"tds:SetNTP", element("tds:FromDHCP", "false") + element("tds:NTPManual", four)},
        {"tds:SetDiscoveryMode", element("tds:DiscoveryMode", "Discoverable")},
        {"tds:SetNetworkDefaultGateway", element("tds:IPv4Address", "10.0.0.9")},
        {"tds:SetNetworkInterfaces", element("tds:InterfaceToken", "Network_1") + element("tds:NetworkInterface", "")},
        {"tds:SetNetworkProtocols",
         element("tds:NetworkProtocols",
                 element("tt:Name", "HTTP") + element("tt:Enabled", "true") + element("tt:Port", "80"))},
    };
}

Contents media1Contents()
{
    const std::string profile = element("trt:ProfileToken", "Profile_2");
    const std::string multicast =
        element("tt:Multicast", element("tt:Address", element("tt:Type", "IPv4")) + element("tt:Port", "0") +
                                    element("tt:TTL", "0") + element("tt:AutoStart", "false")) +
        element("tt:SessionTimeout", "PT60S");
    const std::string common = element("tt:Name", "n") + element("tt:UseCount", "1");
    const auto configuration = [&common](const std::string& token, const std::string& content) {
        return "<trt:Configuration token='" + token + "'>" + common + content + "</trt:Configuration>" +
               element("trt:ForcePersistence", "true");
    };
    Contents contents = {
        {"trt:CreateProfile", element("trt:Name", "n") + element("trt:Token", "mine")},
        {"trt:DeleteProfile", element("trt:ProfileToken", "mine")},
        {"trt:GetProfile", profile},
        {"trt:GetSnapshotUri", profile},
        {"trt:SetSynchronizationPoint", profile},
        {"trt:GetStreamUri", element("trt:StreamSetup", element("tt:Stream", "RTP-Unicast") +
                                                            element("tt:Transport", element("tt:Protocol", "UDP"))) +
                                 element("trt:ProfileToken", "Profile_1")},
        {"trt:GetGuaranteedNumberOfVideoEncoderInstances", element("trt:ConfigurationToken", "VideoSource_1")},
        {"trt:SetVideoAnalyticsConfiguration",
         configuration("AnalyticsConfiguration_1", "<tt:AnalyticsEngineConfiguration/><tt:RuleEngineConfiguration/>")},
        {"trt:SetVideoSourceConfiguration",
         configuration("VideoSource_1", element("tt:SourceToken", "VideoSource_1") +
                                            "<tt:Bounds x='0' y='0' width='1280' height='720'/>")},
        {"trt:SetVideoEncoderConfiguration",
         configuration("VideoEncoder_1",
                       element("tt:Encoding", "H264") + resolution(640, 360) + element("tt:Quality", "1") + multicast)},
        {"trt:SetMetadataConfiguration", configuration("Metadata_1", multicast)},
    };
    for (const MediaKindNames& names : kMediaKinds) {
        const std::string kind = std::string(names.media1) + "Configuration";
        const std::string token = element("trt:ConfigurationToken", configurationTokens(names.kind).front());
        contents["trt:Add" + kind] = profile + token;
        contents["trt:Remove" + kind] = profile;
        contents["trt:Get" + kind] = token;
        contents["trt:GetCompatible" + kind + "s"] = element("trt:ProfileToken", "Profile_1");
    }
    return contents;
}

Contents media2Contents()
{
    const std::string profile = element("tr2:ProfileToken", "Profile_1");
    const std::string source = element("tr2:ConfigurationToken", "VideoSource_1");
    const std::string reference =
        element("tr2:Configuration", element("tr2:Type", "Metadata") + element("tr2:Token", "Metadata_1"));
    const std::string common = element("tt:Name", "n") + element("tt:UseCount", "1");
    const std::string point = "<tt:Point x='0' y='0'/>";
    const std::string polygon = element("tr2:Polygon", point + point + point) + element("tr2:Type", "Color");
    return {
        {"tr2:GetProfiles", element("tr2:Type", "All")},
        {"tr2:CreateProfile", element("tr2:Name", "n") + reference},
        {"tr2:DeleteProfile", element("tr2:Token", "Profile_3")},
        {"tr2:AddConfiguration", profile + reference},
        {"tr2:RemoveConfiguration", profile + reference},
        {"tr2:GetSnapshotUri", profile},
        {"tr2:GetStreamUri", element("tr2:Protocol", "RTSP") + profile},
        {"tr2:SetSynchronizationPoint", profile},
        {"tr2:GetVideoEncoderInstances", source},
        {"tr2:GetVideoSourceModes", element("tr2:VideoSourceToken", "VideoSource_1")},
        {"tr2:SetVideoSourceConfiguration",
         "<tr2:Configuration token='VideoSource_1'>" + common + element("tt:SourceToken", "VideoSource_1") +
             "<tt:Bounds x='0' y='0' width='1280' height='720'/></tr2:Configuration>"},
        {"tr2:SetVideoEncoderConfiguration",
         "<tr2:Configuration token='VideoEncoder_1'>" + common + element("tt:Encoding", "H264") +
             resolution(1280, 720) +
             element("tt:RateControl", element("tt:FrameRateLimit", "12.5") + element("tt:BitrateLimit", "100")) +
             element("tt:Quality", "1") + "</tr2:Configuration>"},
        {"tr2:SetMetadataConfiguration",
         "<tr2:Configuration token='Metadata_1'>" + common + "<tt:Events/>" +
             element("tt:Multicast", element("tt:Address", element("tt:Type", "IPv4")) + element("tt:Port", "0") +
                                         element("tt:TTL", "0") + element("tt:AutoStart", "false")) +
             element("tt:SessionTimeout", "PT60S") + "</tr2:Configuration>"},
        {"tr2:GetMaskOptions", source},
        {"tr2:SetMask",
         "<tr2:Mask token='Mask_1'>" + source + polygon + element("tr2:Enabled", "true") + "</tr2:Mask>"},
    };
}

Contents analyticsContents()
{
    const std::string token = element("tan:ConfigurationToken", "AnalyticsConfiguration_1");
    const std::string preset =
        element("tt:Parameters", "<tt:SimpleItem Name='PresetToken' Value='Gate'/><tt:SimpleItem Name='Active' "
                                 "Value='true'/>");
    const auto rule = [](const std::string& name, const std::string& parameters) {
        return "<tan:Rule Name='" + name + "' Type='tt:CellMotionDetector'>" + parameters + "</tan:Rule>";
    };
    const auto module = [](const std::string& name, const std::string& parameters) {
        return "<tan:AnalyticsModule Name='" + name + "' Type='vca:MotionRegionEngine'>" + parameters +
               "</tan:AnalyticsModule>";
    };
    Contents contents = {
        {"tan:CreateRules", rule("A", "<tt:Parameters/>") + rule("B", preset)},
        {"tan:ModifyRules", rule("B", preset)},
        {"tan:DeleteRules", element("tan:RuleName", "A")},
        {"tan:CreateAnalyticsModules", module("M", "<tt:Parameters/>") + module("N", preset)},
        {"tan:ModifyAnalyticsModules", module("N", preset)},
        {"tan:DeleteAnalyticsModules", element("tan:AnalyticsModuleName", "M")},
    };
    for (const char* const other : {"GetSupportedRules", "GetRules", "GetRuleOptions", "GetSupportedAnalyticsModules",
                                    "GetAnalyticsModules", "GetAnalyticsModuleOptions"}) {
        contents["tan:" + std::string(other)] = "";
    }
    for (auto& [name, content] : contents) {
        content = token + content;
    }
    return contents;
}

Contents imagingContents()
{
    const std::string source = element("timg:VideoSourceToken", "VideoSource_1");
    return {
        {"timg:GetOptions", source},
        {"timg:GetImagingSettings", source},
        {"timg:SetImagingSettings", source + element("timg:ImagingSettings", element("tt:IrCutFilter", "ON"))},
    };
}

Contents eventContents()
{
    const std::string filter = "<wsnt:TopicExpression Dialect='http://www.onvif.org/ver10/tev/topicExpression/"
                               "ConcreteSet'>tns1:VideoSource//.|tns1:RuleEngine//.</wsnt:TopicExpression>"
                               "<wsnt:MessageContent Dialect='http://www.onvif.org/ver10/tev/messageContentFilter/"
                               "ItemFilter'>not(boolean(//tt:SimpleItem[@Name='A']))</wsnt:MessageContent>";
    return {
        {"tev:CreatePullPointSubscription", element("tev:Filter", filter) +
                                                element("tev:InitialTerminationTime", "PT60S") +
                                                element("tev:SubscriptionPolicy", "")},
        {"tev:PullMessages", element("tev:Timeout", "PT60S") + element("tev:MessageLimit", "10")},
        {"wsnt:Renew", element("wsnt:TerminationTime", "PT1H")},
        {"wsnt:Subscribe",
         element("wsnt:ConsumerReference", element("wsa:Address", "http://a/b")) + element("wsnt:Filter", filter)},
    };
}

/// The path of the subscription that an answer tells.
std::string subscriptionPath(const std::string& answer)
{
    const std::size_t begin = answer.find("http://camera/onvif/event_service/");
    return begin == std::string::npos ? "" : answer.substr(begin + 13, answer.find('<', begin) - begin - 13);
}

Contents ptzContents()
{
    const std::string profile = element("tptz:ProfileToken", "Profile_1");
    const std::string place = "<tt:PanTilt x='0.5' y='0.5'/><tt:Zoom x='0.5'/>";
    const std::string tour = element("tptz:PresetTourToken", "Tour_1");
    const std::string spot = element("tt:TourSpot", element("tt:PresetDetail", element("tt:PresetToken", "Gate")) +
                                                        element("tt:Speed", place) + element("tt:StayTime", "PT2S"));
    const std::string filled = element("tt:Name", "n") + element("tt:Status", element("tt:State", "Idle")) +
                               element("tt:AutoStart", "false") + "<tt:StartingCondition/>" + spot;
    const std::string preset = element("tptz:PresetToken", "Gate");
    Contents contents = {
        {"tptz:AbsoluteMove", element("tptz:Position", place) + element("tptz:Speed", place)},
        {"tptz:RelativeMove", element("tptz:Translation", place) + element("tptz:Speed", place)},
        {"tptz:ContinuousMove", element("tptz:Velocity", place) + element("tptz:Timeout", "PT1S")},
        {"tptz:Stop", element("tptz:PanTilt", "true") + element("tptz:Zoom", "true")},
        {"tptz:GetStatus", ""},
        {"tptz:GotoHomePosition", element("tptz:Speed", place)},
        {"tptz:SetHomePosition", ""},
        {"tptz:GetPresets", ""},
        {"tptz:SetPreset", element("tptz:PresetName", "Door")},
        {"tptz:GotoPreset", preset + element("tptz:Speed", place)},
        {"tptz:RemovePreset", preset},
        {"tptz:CreatePresetTour", ""},
        {"tptz:ModifyPresetTour", "<tptz:PresetTour token='Tour_1'>" + filled + "</tptz:PresetTour>"},
        {"tptz:OperatePresetTour", tour + element("tptz:Operation", "Stop")},
        {"tptz:RemovePresetTour", tour},
        {"tptz:GetPresetTours", ""},
        {"tptz:GetPresetTour", tour},
        {"tptz:GetPresetTourOptions", tour},
        {"tptz:GetCompatibleConfigurations", ""},
    };
    for (auto& [name, content] : contents) {
        content = profile + content;
    }
    contents["tptz:GetNode"] = element("tptz:NodeToken", "PTZNode_1");
    contents["tptz:GetConfiguration"] = element("tptz:PTZConfigurationToken", "PTZ_1");
    contents["tptz:GetConfigurationOptions"] = element("tptz:ConfigurationToken", "PTZ_1");
    contents["tptz:SetConfiguration"] = "<tptz:PTZConfiguration token='PTZ_1'>" + element("tt:Name", "n") +
                                        element("tt:UseCount", "1") + element("tt:NodeToken", "PTZNode_1") +
                                        element("tt:DefaultPTZTimeout", "PT5S") + "</tptz:PTZConfiguration>" +
                                        element("tptz:ForcePersistence", "true");
    return contents;
}

std::string requestText(const std::string& name, const std::string& content)
{
    std::string text = Answer(name).text("");
    const std::string empty = "<" + name + "/>";
    return text.replace(text.find(empty), empty.size(), element(name, content));
}

TEST(AnswerSchemaTest, takesValidRequestsAndGivesValidAnswers)
{
    const kit::OnvifSchemas schemas(CAMERA_ONVIF_SCHEMAS);
    if (schemas.missing()) {
        GTEST_SKIP() << *schemas.missing();
    }
    std::string wsdls;
    for (const char* const wsdl :
         {"10/device/wsdl/devicemgmt.wsdl", "10/media/wsdl/media.wsdl", "20/media/wsdl/media.wsdl",
          "20/analytics/wsdl/analytics.wsdl", "20/imaging/wsdl/imaging.wsdl", "20/ptz/wsdl/ptz.wsdl",
          "10/deviceio.wsdl", "10/events/wsdl/event.wsdl"}) {
        wsdls += kit::contentOf(schemas.path() + "/wsdl/ver" + wsdl);
    }
    wsdls += kit::contentOf(schemas.path() + "/wsdl/external/docs.oasis-open.org/wsn/b-2.xsd");
    Contents contents;
    for (const Contents& each : {deviceContents(), media1Contents(), media2Contents(), analyticsContents(),
                                 imagingContents(), eventContents(), ptzContents()}) {
        contents.insert(each.begin(), each.end());
    }
    std::vector<std::string> documents;
    for (const bool moves : {true, false}) {
        const WholeDevice device(moves);
        Asking asking;
        for (const auto& [name, operation] : device.operations.all()) {
            const bool refused = name == "tr2:CreateMask" || name == "tr2:DeleteMask" || name == "tev:Seek";
            const bool known = moves || (name.find("PTZ") == std::string::npos && name.rfind("tptz:", 0) != 0);
            if (refused || !known) {
                continue;
            }
            const auto answered = *begun(device.operations, name, contents[name], asking);
            ASSERT_TRUE(answered) << name;
            if (const auto* const fault = std::get_if<Fault>(&*answered)) {
                ADD_FAILURE() << name << ": " << fault->what();
                continue;
            }
            documents.push_back(std::get<std::string>(*answered));
            if (const std::string path = subscriptionPath(documents.back()); !path.empty()) {
                asking.target = path;
            }
            documents.push_back(requestText(name, contents[name]));
            // An element that no schema has would be taken for one of another's.
            EXPECT_THAT(wsdls, HasSubstr("element name=\"" + name.substr(name.find(':') + 1) + "Response\""));
        }
    }
    EXPECT_EQ("", schemas.faultsOf("soap-all.xsd", documents));
    EXPECT_NE("", schemas.faultsOf("soap-all.xsd", {requestText("tds:GetServices", "")}));
}

} // namespace
} // namespace camera::onvif
