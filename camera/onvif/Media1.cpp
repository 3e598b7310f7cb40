#include "camera/onvif/MediaProfiles.h"
#include "camera/onvif/MediaService.h"
#include "camera/onvif/Requests.h"

namespace camera::onvif {

namespace {

constexpr const char* kProfileToken = "trt:ProfileToken";
constexpr const char* kConfigurationToken = "trt:ConfigurationToken";

StreamTransport transportOf1(const pugi::xml_node& setup)
{
    const std::string protocol = requiredText(setup.child("tt:Transport"), "tt:Protocol");
    if (requiredText(setup, "tt:Stream") == "RTP-Unicast") {
        if (protocol == "UDP") {
            return StreamTransport::udp;
        }
        if (protocol == "RTSP") {
            return StreamTransport::rtsp;
        }
        if (protocol == "HTTP") {
            return StreamTransport::http;
        }
    }
    throw Fault::invalid("ter:InvalidStreamSetup", "streams are RTP-Unicast over UDP, RTSP or HTTP");
}

Answer mediaUri(const Call& call, const std::string& address)
{
    Answer answer = call.answer();
    pugi::xml_node node = answer.body().append_child("trt:MediaUri");
    put(node, "tt:Uri", address);
    put(node, "tt:InvalidAfterConnect", false);
    put(node, "tt:InvalidAfterReboot", false);
    put(node, "tt:Timeout", "PT0S");
    return answer;
}

} // namespace

void MediaService::addProfiles1(Operations& operations)
{
    operations.addLater("trt:GetProfiles", AccessClass::readMedia, [this](const Shared& call, const Reply& reply) {
        answer(call, reply, true, [](pugi::xml_node node, const MediaView& view) {
            for (const MediaProfile& profile : view.settings.profiles) {
                putProfile(node, "trt:Profiles", profile, view);
            }
        });
    });
    operations.addLater("trt:GetProfile", AccessClass::readMedia, [this](const Shared& call, const Reply& reply) {
        const std::string token = requiredText(call->request(), kProfileToken);
        answer(call, reply, true, [token](pugi::xml_node node, const MediaView& view) {
            putProfile(node, "trt:Profile", profileOf(view.settings, token), view);
        });
    });
    operations.addLater("trt:CreateProfile", AccessClass::actuate, [this](const Shared& call, const Reply& reply) {
        const auto token = std::make_shared<std::string>();
        const auto edit = [call, token](MediaSettings& settings) {
            *token = createProfile(settings, requiredText(call->request(), "trt:Name"),
                                   optionalText(call->request(), "trt:Token"));
        };
        changeAndAnswer(_settings, edit, reply, [this, call, token] {
            Answer answer = call->answer();
            putProfile(answer.body(), "trt:Profile", profileOf(_settings.value(), *token), {_settings.value()});
            return answer;
        });
    });
    operations.addLater("trt:DeleteProfile", AccessClass::actuate, [this](const Shared& call, const Reply& reply) {
        change(call, reply, [call](MediaSettings& settings) {
            deleteProfile(settings, requiredText(call->request(), kProfileToken));
        });
    });
}

void MediaService::addConfigurations1(Operations& operations, const MediaKindNames& names)
{
    const std::string configuration = std::string(names.media1) + "Configuration";
    operations.addLater(
        "trt:Add" + configuration, AccessClass::actuate, [this, names](const Shared& call, const Reply& reply) {
            const ConfigurationReference added{names.media2, requiredText(call->request(), kConfigurationToken)};
            change(call, reply, [this, call, added](MediaSettings& settings) {
                addConfigurations(settings, requiredText(call->request(), kProfileToken), {added}, _actions.moves());
            });
        });
    operations.addLater(
        "trt:Remove" + configuration, AccessClass::actuate, [this, names](const Shared& call, const Reply& reply) {
            change(call, reply, [call, names](MediaSettings& settings) {
                removeConfigurations(settings, requiredText(call->request(), kProfileToken), {{names.media2}});
            });
        });
    if (names.kind == MediaKind::ptz) {
        return; // the PTZ service tells of them
    }
    const bool analytics = names.kind == MediaKind::analytics;
    const auto put = [kind = names.kind](pugi::xml_node node, const char* name, const std::string& token,
                                         const MediaView& view) {
        putConfiguration(node, name, kind, token, view, MediaVersion::media1);
    };
    operations.addLater("trt:Get" + configuration + "s", AccessClass::readMedia,
                        [this, kind = names.kind, analytics, put](const Shared& call, const Reply& reply) {
                            answer(call, reply, analytics, [kind, put](pugi::xml_node node, const MediaView& view) {
                                for (const std::string& token : configurationTokens(kind)) {
                                    put(node, "trt:Configurations", token, view);
                                }
                            });
                        });
    operations.addLater("trt:Get" + configuration, AccessClass::readMedia,
                        [this, kind = names.kind, analytics, put](const Shared& call, const Reply& reply) {
                            const std::string token = requiredText(call->request(), kConfigurationToken);
                            existingConfigurations(kind, token, true);
                            answer(call, reply, analytics, [token, put](pugi::xml_node node, const MediaView& view) {
                                put(node, "trt:Configuration", token, view);
                            });
                        });
    operations.addLater(
        "trt:GetCompatible" + configuration + "s", AccessClass::readMedia,
        [this, kind = names.kind, analytics, put](const Shared& call, const Reply& reply) {
            const std::string profile = requiredText(call->request(), kProfileToken);
            profileOf(_settings.value(), profile);
            answer(call, reply, analytics, [kind, profile, put](pugi::xml_node node, const MediaView& view) {
                for (const std::string& token : fittingConfigurations(view.settings, kind, profile)) {
                    put(node, "trt:Configurations", token, view);
                }
            });
        });
}

void MediaService::addSources1(Operations& operations)
{
    operations.addLater("trt:GetVideoSources", AccessClass::readMedia, [this](const Shared& call, const Reply& reply) {
        answer(call, reply, false,
               [](pugi::xml_node node, const MediaView& view) { putVideoSource(node, "trt:VideoSources", view); });
    });
    operations.add("trt:GetAudioSources", AccessClass::readMedia, [](const Call& call) { return call.answer(); });
    operations.add("trt:GetGuaranteedNumberOfVideoEncoderInstances", AccessClass::readMedia, [](const Call& call) {
        existingConfigurations(MediaKind::videoSource, requiredText(call.request(), kConfigurationToken), true);
        const int number = static_cast<int>(configurationTokens(MediaKind::videoEncoder).size());
        Answer answer = call.answer();
        put(answer.body(), "trt:TotalNumber", number);
        put(answer.body(), "trt:H264", number);
        return answer;
    });
    operations.addLater(
        "trt:SetVideoAnalyticsConfiguration", AccessClass::actuate, [this](const Shared& call, const Reply& reply) {
            const pugi::xml_node configuration = call->request().child("trt:Configuration");
            existingConfigurations(MediaKind::analytics, configuration.attribute("token").value(), true);
            _actions.setAnalytics(configuration, answerWhenDone(call, reply));
        });
}

void MediaService::addStreams1(Operations& operations)
{
    operations.add("trt:GetStreamUri", AccessClass::readMedia, [this](const Call& call) {
        const StreamTransport transport = transportOf1(call.request().child("trt:StreamSetup"));
        return mediaUri(call, streamAddress(requiredText(call.request(), kProfileToken), transport, call));
    });
    operations.add("trt:GetSnapshotUri", AccessClass::readMedia, [this](const Call& call) {
        return mediaUri(call, snapshotAddress(requiredText(call.request(), kProfileToken), call));
    });
}

} // namespace camera::onvif
