#include "camera/onvif/MediaService.h"

#include "camera/onvif/MediaChanges.h"
#include "camera/onvif/MediaProfiles.h"
#include "camera/onvif/Requests.h"

#include <utility>

namespace camera::onvif {

namespace {

Fault incomplete(const std::string& reason)
{
    return Fault::receiver({"ter:Action", "ter:IncompleteConfiguration"}, reason);
}

Fault notStreamed()
{
    return Fault::receiver({"ter:ActionNotSupported"}, "this camera does not stream");
}

} // namespace

MediaService::MediaService(Kept<MediaSettings>& settings, MediaActions actions)
    : _settings(settings), _actions(std::move(actions))
{
}

void MediaService::addTo(Operations& operations, ServiceDirectory& directory)
{
    addDirectory(operations, directory);
    for (const char* const prefix : {"trt:", "tr2:"}) {
        addCommon(operations, prefix);
        addOptions(operations, prefix);
    }
    for (const MediaKindNames& names : kMediaKinds) {
        addConfigurations1(operations, names);
        addConfigurations2(operations, names);
    }
    addProfiles1(operations);
    addSources1(operations);
    addStreams1(operations);
    addProfiles2(operations);
    addStreams2(operations);
    addMasks(operations);
}

void MediaService::addDirectory(Operations& operations, ServiceDirectory& directory)
{
    const std::string most = std::to_string(MediaSettings::kMostProfiles);
    const auto common = [this](pugi::xml_node node) {
        putAttribute(node, "SnapshotUri", static_cast<bool>(_actions.snapshotAddress));
        putAttribute(node, "Rotation", false);
        putAttribute(node, "VideoSourceMode", false);
        putAttribute(node, "OSD", false);
    };
    const auto media1 = [this, most, common](pugi::xml_node node) {
        const bool streams = static_cast<bool>(_actions.streamAddress);
        common(node);
        putAttribute(node.append_child("trt:ProfileCapabilities"), "MaximumNumberOfProfiles", most);
        pugi::xml_node streaming = node.append_child("trt:StreamingCapabilities");
        putAttribute(streaming, "RTPMulticast", false);
        putAttribute(streaming, "RTP_TCP", false);
        putAttribute(streaming, "RTP_RTSP_TCP", streams);
        putAttribute(streaming, "NonAggregateControl", false);
        putAttribute(streaming, "NoRTSPStreaming", !streams);
    };
    const auto media2 = [this, most, common](pugi::xml_node node) {
        const bool streams = static_cast<bool>(_actions.streamAddress);
        common(node);
        putAttribute(node, "Mask", true);
        pugi::xml_node profiles = node.append_child("tr2:ProfileCapabilities");
        putAttribute(profiles, "MaximumNumberOfProfiles", most);
        putAttribute(profiles, "ConfigurationsSupported",
                     std::string("VideoSource VideoEncoder Analytics ") + (_actions.moves() ? "PTZ " : "") +
                         "Metadata");
        pugi::xml_node streaming = node.append_child("tr2:StreamingCapabilities");
        putAttribute(streaming, "RTSPStreaming", streams);
        putAttribute(streaming, "RTPMulticast", false);
        putAttribute(streaming, "RTP_RTSP_TCP", streams);
        putAttribute(streaming, "NonAggregateControl", false);
        putAttribute(streaming, "AutoStartMulticast", false);
        putAttribute(streaming, "SecureRTSPStreaming", false);
    };
    const auto old = [this, most](pugi::xml_node node) {
        pugi::xml_node streaming = node.append_child("tt:StreamingCapabilities");
        put(streaming, "tt:RTPMulticast", false);
        put(streaming, "tt:RTP_TCP", false);
        put(streaming, "tt:RTP_RTSP_TCP", static_cast<bool>(_actions.streamAddress));
        put(node.append_child("tt:Extension").append_child("tt:ProfileCapabilities"), "tt:MaximumNumberOfProfiles",
            most);
    };
    directory.add({"trt", "/onvif/media_service", 24, 12, media1, "Media", old}, operations);
    directory.add({"tr2", "/onvif/media2_service", 24, 12, media2}, operations);
}

/// What has the same form in both services.
void MediaService::addCommon(Operations& operations, const std::string& prefix)
{
    const auto addSet = [&](const char* kind, const Set& change) {
        operations.addLater(
            prefix + "Set" + kind + "Configuration", AccessClass::actuate,
            [this, prefix, change](const Shared& call, const Reply& reply) { set(call, reply, prefix, change); });
    };
    addSet("VideoSource", setVideoSource);
    addSet("VideoEncoder", setEncoder);
    addSet("Metadata", [this](MediaSettings& settings, const pugi::xml_node& configuration, const PictureFacts&) {
        setMetadata(settings, configuration, _actions.moves());
    });
    operations.addLater(prefix + "SetSynchronizationPoint", AccessClass::actuate,
                        [this, prefix](const Shared& call, const Reply& reply) {
                            const auto token = requiredText(call->request(), (prefix + "ProfileToken").c_str());
                            profileOf(_settings.value(), token);
                            _actions.synchronize(token, answerWhenDone(call, reply));
                        });
}

void MediaService::addOptions(Operations& operations, const std::string& prefix)
{
    const auto add = [&](const char* name, MediaKind kind, auto fill) {
        operations.addLater(prefix + "Get" + name + "ConfigurationOptions", AccessClass::readMedia,
                            [this, prefix, kind, fill](const Shared& call, const Reply& reply) {
                                const auto token =
                                    optionalText(call->request(), (prefix + "ConfigurationToken").c_str());
                                const auto profile = optionalText(call->request(), (prefix + "ProfileToken").c_str());
                                existingConfigurations(kind, token, true);
                                if (profile) {
                                    profileOf(_settings.value(), *profile);
                                }
                                answer(call, reply, false, [prefix, fill](pugi::xml_node node, const MediaView& view) {
                                    fill(node.append_child((prefix + "Options").c_str()), view);
                                });
                            });
    };
    add("VideoSource", MediaKind::videoSource, fillVideoSourceOptions);
    add("VideoEncoder", MediaKind::videoEncoder, prefix == "trt:" ? fillEncoderOptions : fillEncoder2Options);
    add("Metadata", MediaKind::metadata, fillMetadataOptions);
}

/// Asks for what the answer is made of, then fills it.
void MediaService::answer(const Shared& call, const Reply& reply, bool withAnalytics, const Fill& fill)
{
    const auto fillWith = [this, call, reply, fill](const AnalyticsContent& analytics) {
        askAndAnswer(_actions.picture, reply, [this, call, fill, analytics](const PictureFacts& picture) {
            Answer answer = call->answer();
            fill(answer.body(), {_settings.value(), _actions.moves(), picture, analytics});
            return answer;
        });
    };
    if (!withAnalytics) {
        fillWith({});
        return;
    }
    _actions.analytics([reply, fillWith](const Outcome<AnalyticsContent>& outcome) {
        if (const auto* const fault = std::get_if<Fault>(&outcome)) {
            reply(*fault);
        } else {
            fillWith(std::get<AnalyticsContent>(outcome));
        }
    });
}

void MediaService::change(const Shared& call, const Reply& reply, const Kept<MediaSettings>::Edit& edit)
{
    changeAndAnswer(_settings, edit, call, reply);
}

void MediaService::set(const Shared& call, const Reply& reply, const std::string& prefix, const Set& set)
{
    _actions.picture([this, call, reply, prefix, set](const Outcome<PictureFacts>& outcome) {
        if (const auto* const fault = std::get_if<Fault>(&outcome)) {
            reply(*fault);
            return;
        }
        change(call, reply, [call, prefix, set, picture = std::get<PictureFacts>(outcome)](MediaSettings& settings) {
            set(settings, call->request().child((prefix + "Configuration").c_str()), picture);
        });
    });
}

std::string MediaService::streamAddress(const std::string& token, StreamTransport transport, const Call& call) const
{
    if (!_actions.streamAddress) {
        throw notStreamed();
    }
    const auto& configurations = profileOf(_settings.value(), token).configurations;
    if (configurations.count(MediaKind::videoEncoder) + configurations.count(MediaKind::metadata) == 0) {
        throw incomplete("the profile '" + token + "' has neither an encoder nor metadata");
    }
    return _actions.streamAddress({token, transport, call.base});
}

std::string MediaService::snapshotAddress(const std::string& token, const Call& call) const
{
    if (!_actions.snapshotAddress) {
        throw notStreamed();
    }
    if (profileOf(_settings.value(), token).configurations.count(MediaKind::videoSource) == 0) {
        throw incomplete("the profile '" + token + "' has no video source");
    }
    return _actions.snapshotAddress(token, call.base);
}

} // namespace camera::onvif
