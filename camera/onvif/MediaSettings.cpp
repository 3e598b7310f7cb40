#include "camera/onvif/MediaSettings.h"

#include "camera/base/JsonText.h"
#include "camera/onvif/JsonValues.h"

#include <algorithm>
#include <exception>
#include <set>
#include <stdexcept>

namespace camera::onvif {

namespace {

constexpr std::size_t kLargestMediaDocument = 1024 * 1024;
constexpr std::array<const char*, 2> kEncoders = {"VideoEncoder_1", "VideoEncoder_2"};

MediaProfile fixedProfile(const char* token, const char* name, const char* encoder)
{
    return {token,
            name,
            {{MediaKind::videoSource, kVideoSource},
             {MediaKind::videoEncoder, encoder},
             {MediaKind::analytics, kAnalyticsConfiguration},
             {MediaKind::ptz, kPtzConfiguration},
             {MediaKind::metadata, kMetadataConfiguration}}};
}

Json::Value jsonOf(const MediaProfile& profile)
{
    Json::Value object;
    object["token"] = profile.token;
    object["name"] = profile.name;
    object["configurations"] = Json::Value(Json::objectValue);
    for (const MediaKindNames& each : kMediaKinds) {
        if (const auto found = profile.configurations.find(each.kind); found != profile.configurations.end()) {
            object["configurations"][each.media2] = found->second;
        }
    }
    return object;
}

Json::Value jsonOf(const EncoderSettings& encoder)
{
    Json::Value object;
    object["profile"] = encoder.profile;
    object["gov_length"] = encoder.govLength;
    object["kilobits_per_second"] = encoder.kilobitsPerSecond;
    if (encoder.size) {
        object["width"] = encoder.size->width;
        object["height"] = encoder.size->height;
    }
    if (encoder.framesPerSecond) {
        object["frames_per_second"] = *encoder.framesPerSecond;
    }
    return object;
}

Json::Value jsonOf(const MetadataSettings& metadata)
{
    Json::Value object;
    object["analytics"] = metadata.analytics;
    object["events"] = metadata.events;
    object["ptz_status"] = metadata.ptzStatus;
    object["ptz_position"] = metadata.ptzPosition;
    object["gzip"] = metadata.gzip;
    return object;
}

Json::Value jsonOf(const PtzDefaults& ptz)
{
    Json::Value object;
    object["absolute_space"] = ptz.absoluteSpace;
    object["relative_space"] = ptz.relativeSpace;
    object["pan_tilt_speed"] = ptz.panTiltSpeed;
    object["zoom_speed"] = ptz.zoomSpeed;
    object["timeout_ms"] = static_cast<int>(ptz.timeout.count());
    return object;
}

PtzDefaults readPtz(const Json::Value& value)
{
    const Json::Value& object = jsonObject(value);
    PtzDefaults ptz{jsonText(object["absolute_space"]), jsonText(object["relative_space"]),
                    jsonNumber(object["pan_tilt_speed"]), jsonNumber(object["zoom_speed"]),
                    std::chrono::milliseconds(jsonInt(object["timeout_ms"]))};
    return isPossible(ptz) ? ptz : throw std::invalid_argument("beyond the limits");
}

MediaProfile readProfile(const Json::Value& value)
{
    const Json::Value& object = jsonObject(value);
    MediaProfile profile{jsonText(object["token"]), jsonText(object["name"]), {}};
    const Json::Value& configurations = jsonObject(object["configurations"]);
    for (const MediaKindNames& each : kMediaKinds) {
        if (configurations.isMember(each.media2)) {
            const std::string token = jsonText(configurations[each.media2]);
            const auto known = configurationTokens(each.kind);
            if (std::find(known.begin(), known.end(), token) == known.end()) {
                throw std::invalid_argument("no configuration");
            }
            profile.configurations[each.kind] = token;
        }
    }
    return profile;
}

EncoderSettings readEncoder(const Json::Value& value)
{
    const Json::Value& object = jsonObject(value);
    EncoderSettings encoder;
    encoder.profile = jsonText(object["profile"]);
    encoder.govLength = jsonInt(object["gov_length"]);
    encoder.kilobitsPerSecond = jsonInt(object["kilobits_per_second"]);
    if (object.isMember("width")) {
        encoder.size = {jsonInt(object["width"]), jsonInt(object["height"])};
    }
    if (object.isMember("frames_per_second")) {
        encoder.framesPerSecond = jsonNumber(object["frames_per_second"]);
    }
    return isPossible(encoder) ? encoder : throw std::invalid_argument("beyond the limits");
}

MetadataSettings readMetadata(const Json::Value& value)
{
    const Json::Value& object = jsonObject(value);
    return {jsonBool(object["analytics"]), jsonBool(object["events"]), jsonBool(object["ptz_status"]),
            jsonBool(object["ptz_position"]), jsonBool(object["gzip"])};
}

/// The fixed profiles stand at the beginning, and no token stands twice.
void checkProfiles(const std::vector<MediaProfile>& profiles)
{
    const MediaSettings first;
    std::set<std::string> tokens;
    for (std::size_t i = 0; i < profiles.size(); ++i) {
        if (i < MediaSettings::kFixedProfiles && profiles[i].token != first.profiles[i].token) {
            throw std::invalid_argument("another profile");
        }
        if (profiles[i].token.empty() || !tokens.insert(profiles[i].token).second) {
            throw std::invalid_argument("no token of its own");
        }
    }
    if (profiles.size() < MediaSettings::kFixedProfiles || profiles.size() > MediaSettings::kMostProfiles) {
        throw std::invalid_argument("too few or too many profiles");
    }
}

std::size_t indexOfEncoder(const std::string& token)
{
    return token == kEncoders[0] ? 0 : 1;
}

} // namespace

MediaSettings::MediaSettings()
    : profiles{fixedProfile("Profile_1", "Full size", kEncoders[0]), fixedProfile("Profile_2", "Small", kEncoders[1])},
      names{{kVideoSource, "Picture"},     {kEncoders[0], "H.264"},
            {kEncoders[1], "H.264 small"}, {kAnalyticsConfiguration, "Analytics"},
            {kPtzConfiguration, "PTZ"},    {kMetadataConfiguration, "Metadata"}}
{
    encoders[1].size = kSmallPicture;
    encoders[1].kilobitsPerSecond = 1024;
}

std::vector<std::string> configurationTokens(MediaKind kind)
{
    switch (kind) {
    case MediaKind::videoSource:
        return {kVideoSource};
    case MediaKind::videoEncoder:
        return {kEncoders.begin(), kEncoders.end()};
    case MediaKind::analytics:
        return {kAnalyticsConfiguration};
    case MediaKind::ptz:
        return {kPtzConfiguration};
    case MediaKind::metadata:
        break;
    }
    return {kMetadataConfiguration};
}

bool isPossible(const EncoderSettings& encoder)
{
    return std::find(kH264Profiles.begin(), kH264Profiles.end(), encoder.profile) != kH264Profiles.end() &&
           encoder.govLength >= 1 && encoder.govLength <= kMostGovLength &&
           encoder.kilobitsPerSecond >= kLeastKilobits && encoder.kilobitsPerSecond <= kMostKilobits;
}

bool operator==(const PictureSize& a, const PictureSize& b)
{
    return a.width == b.width && a.height == b.height;
}

EncoderSettings& encoderOf(MediaSettings& settings, const std::string& token)
{
    return settings.encoders[indexOfEncoder(token)];
}

const EncoderSettings& encoderOf(const MediaSettings& settings, const std::string& token)
{
    return settings.encoders[indexOfEncoder(token)];
}

MediaDifference differenceOf(const MediaSettings& before, const MediaSettings& after)
{
    MediaDifference difference;
    const auto contentOf = [](const MediaSettings& settings) {
        std::map<std::string, Json::Value> content;
        for (const MediaProfile& profile : settings.profiles) {
            content.emplace(profile.token, jsonOf(profile));
        }
        return content;
    };
    const std::map<std::string, Json::Value> was = contentOf(before);
    const std::map<std::string, Json::Value> is = contentOf(after);
    for (const auto& [token, content] : was) {
        if (is.count(token) == 0) {
            difference.profiles.push_back(token);
        }
    }
    for (const auto& [token, content] : is) {
        const auto found = was.find(token);
        if (found == was.end() || found->second != content) {
            difference.profiles.push_back(token);
        }
    }
    const auto settingsOf = [](const MediaSettings& settings, MediaKind kind, const std::string& token) {
        const Json::Value nothing;
        const auto name = settings.names.find(token);
        return std::pair(name != settings.names.end() ? name->second : "",
                         kind == MediaKind::videoEncoder ? jsonOf(encoderOf(settings, token))
                         : kind == MediaKind::metadata   ? jsonOf(settings.metadata)
                         : kind == MediaKind::ptz        ? jsonOf(settings.ptz)
                                                         : nothing);
    };
    for (const MediaKindNames& each : kMediaKinds) {
        for (const std::string& token : configurationTokens(each.kind)) {
            if (settingsOf(before, each.kind, token) != settingsOf(after, each.kind, token)) {
                difference.configurations.emplace_back(token, each.kind);
            }
        }
    }
    return difference;
}

std::string format(const MediaSettings& settings)
{
    Json::Value object;
    object["profiles"] = Json::Value(Json::arrayValue);
    for (const MediaProfile& profile : settings.profiles) {
        object["profiles"].append(jsonOf(profile));
    }
    object["encoders"] = Json::Value(Json::arrayValue);
    for (const EncoderSettings& encoder : settings.encoders) {
        object["encoders"].append(jsonOf(encoder));
    }
    object["metadata"] = jsonOf(settings.metadata);
    object["ptz"] = jsonOf(settings.ptz);
    object["names"] = Json::Value(Json::objectValue);
    for (const auto& [token, name] : settings.names) {
        object["names"][token] = name;
    }
    return base::oneLineJson(object);
}

std::optional<MediaSettings> parseMediaSettings(const std::string& document)
{
    try {
        const Json::Value read = base::readStrictJson(document, kLargestMediaDocument);
        const Json::Value& object = jsonObject(read);
        MediaSettings settings;
        settings.profiles.clear();
        for (const Json::Value& profile : jsonArray(object["profiles"])) {
            settings.profiles.push_back(readProfile(profile));
        }
        checkProfiles(settings.profiles);
        const Json::Value& encoders = jsonArray(object["encoders"]);
        for (std::size_t i = 0; i < settings.encoders.size(); ++i) {
            settings.encoders[i] = readEncoder(encoders[static_cast<Json::ArrayIndex>(i)]);
        }
        settings.metadata = readMetadata(object["metadata"]);
        settings.ptz = object.isMember("ptz") ? readPtz(object["ptz"]) : PtzDefaults();
        for (auto& [token, name] : settings.names) {
            name = jsonText(jsonObject(object["names"])[token]);
        }
        return settings;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace camera::onvif
