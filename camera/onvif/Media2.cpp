#include "camera/onvif/MediaProfiles.h"
#include "camera/onvif/MediaService.h"
#include "camera/onvif/Requests.h"

#include <algorithm>

namespace camera::onvif {

namespace {

constexpr const char* kProfileToken2 = "tr2:ProfileToken";

StreamTransport transportOf2(const std::string& protocol)
{
    if (protocol == "RtspUnicast") {
        return StreamTransport::udp;
    }
    if (protocol == "RTSP") {
        return StreamTransport::rtsp;
    }
    if (protocol == "RtspOverHttp") {
        return StreamTransport::http;
    }
    throw Fault::invalid("ter:InvalidStreamSetup", "the protocol of a stream is RtspUnicast, RTSP or RtspOverHttp");
}

std::vector<ConfigurationReference> referencesOf(const pugi::xml_node& request)
{
    std::vector<ConfigurationReference> references;
    for (const pugi::xml_node& node : request.children("tr2:Configuration")) {
        references.push_back({requiredText(node, "tr2:Type"), optionalText(node, "tr2:Token")});
    }
    return references;
}

Answer uriAnswer(const Call& call, const std::string& address)
{
    Answer answer = call.answer();
    put(answer.body(), "tr2:Uri", address);
    return answer;
}

} // namespace

void MediaService::addProfiles2(Operations& operations)
{
    operations.addLater("tr2:GetProfiles", AccessClass::readMedia, [this](const Shared& call, const Reply& reply) {
        const auto token = optionalText(call->request(), "tr2:Token");
        const auto types = textsOf(call->request(), "tr2:Type");
        const bool analytics = std::any_of(
            types.begin(), types.end(), [](const std::string& type) { return type == "All" || type == "Analytics"; });
        if (token) {
            profileOf(_settings.value(), *token);
        }
        answer(call, reply, analytics, [token, types](pugi::xml_node node, const MediaView& view) {
            for (const MediaProfile& profile : view.settings.profiles) {
                if (profile.token == token.value_or(profile.token)) {
                    putProfile2(node, profile, types, view);
                }
            }
        });
    });
    operations.addLater("tr2:CreateProfile", AccessClass::actuate, [this](const Shared& call, const Reply& reply) {
        const auto token = std::make_shared<std::string>();
        const auto edit = [this, call, token](MediaSettings& settings) {
            *token = createProfile(settings, requiredText(call->request(), "tr2:Name"), std::nullopt);
            addConfigurations(settings, *token, referencesOf(call->request()), _actions.moves());
        };
        changeAndAnswer(_settings, edit, reply, [call, token] {
            Answer answer = call->answer();
            put(answer.body(), "tr2:Token", *token);
            return answer;
        });
    });
    operations.addLater("tr2:DeleteProfile", AccessClass::actuate, [this](const Shared& call, const Reply& reply) {
        change(call, reply, [call](MediaSettings& settings) {
            deleteProfile(settings, requiredText(call->request(), "tr2:Token"));
        });
    });
    operations.addLater("tr2:AddConfiguration", AccessClass::actuate, [this](const Shared& call, const Reply& reply) {
        change(call, reply, [this, call](MediaSettings& settings) {
            const std::string token = requiredText(call->request(), kProfileToken2);
            if (const auto name = optionalText(call->request(), "tr2:Name")) {
                profileOf(settings, token).name = checkedName(*name);
            }
            addConfigurations(settings, token, referencesOf(call->request()), _actions.moves());
        });
    });
    operations.addLater("tr2:RemoveConfiguration", AccessClass::actuate,
                        [this](const Shared& call, const Reply& reply) {
                            change(call, reply, [call](MediaSettings& settings) {
                                removeConfigurations(settings, requiredText(call->request(), kProfileToken2),
                                                     referencesOf(call->request()));
                            });
                        });
}

void MediaService::addConfigurations2(Operations& operations, const MediaKindNames& names)
{
    if (names.kind == MediaKind::ptz) {
        return; // the PTZ service tells of them
    }
    operations.addLater("tr2:Get" + std::string(names.media2) + "Configurations", AccessClass::readMedia,
                        [this, kind = names.kind](const Shared& call, const Reply& reply) {
                            const auto token = optionalText(call->request(), "tr2:ConfigurationToken");
                            const auto profile = optionalText(call->request(), kProfileToken2);
                            existingConfigurations(kind, token, true);
                            if (profile) {
                                profileOf(_settings.value(), *profile);
                            }
                            const auto fill = [kind, token, profile](pugi::xml_node node, const MediaView& view) {
                                const auto tokens = profile ? fittingConfigurations(view.settings, kind, *profile)
                                                            : configurationTokens(kind);
                                for (const std::string& each : tokens) {
                                    if (each == token.value_or(each)) {
                                        putConfiguration(node, "tr2:Configurations", kind, each, view,
                                                         MediaVersion::media2);
                                    }
                                }
                            };
                            answer(call, reply, kind == MediaKind::analytics, fill);
                        });
}

void MediaService::addStreams2(Operations& operations)
{
    operations.add("tr2:GetVideoEncoderInstances", AccessClass::readMedia, [](const Call& call) {
        existingConfigurations(MediaKind::videoSource, requiredText(call.request(), "tr2:ConfigurationToken"), true);
        const int number = static_cast<int>(configurationTokens(MediaKind::videoEncoder).size());
        Answer answer = call.answer();
        pugi::xml_node info = answer.body().append_child("tr2:Info");
        pugi::xml_node codec = info.append_child("tr2:Codec");
        put(codec, "tr2:Encoding", "H264");
        put(codec, "tr2:Number", number);
        put(info, "tr2:Total", number);
        return answer;
    });
    operations.addLater("tr2:GetVideoSourceModes", AccessClass::readMedia,
                        [this](const Shared& call, const Reply& reply) {
                            if (requiredText(call->request(), "tr2:VideoSourceToken") != kVideoSource) {
                                throw Fault::invalid("ter:NoVideoSource", "there is no such video source");
                            }
                            answer(call, reply, false, [](pugi::xml_node node, const MediaView& view) {
                                pugi::xml_node mode = node.append_child("tr2:VideoSourceModes");
                                putAttribute(mode, "token", "VideoSourceMode_1");
                                putAttribute(mode, "Enabled", true);
                                put(mode, "tr2:MaxFramerate", view.picture.framesPerSecond);
                                putSize(mode, "tr2:MaxResolution", view.picture.size);
                                put(mode, "tr2:Encodings", "H264");
                                put(mode, "tr2:Reboot", false);
                            });
                        });
    operations.add("tr2:GetStreamUri", AccessClass::readMedia, [this](const Call& call) {
        const StreamTransport transport = transportOf2(requiredText(call.request(), "tr2:Protocol"));
        return uriAnswer(call, streamAddress(requiredText(call.request(), kProfileToken2), transport, call));
    });
    operations.add("tr2:GetSnapshotUri", AccessClass::readMedia, [this](const Call& call) {
        return uriAnswer(call, snapshotAddress(requiredText(call.request(), kProfileToken2), call));
    });
}

} // namespace camera::onvif
