#include "camera/onvif/MediaAnswers.h"

#include "camera/base/Text.h"
#include "camera/onvif/MediaProfiles.h"
#include "camera/onvif/PtzConfiguration.h"
#include "camera/onvif/Requests.h"

#include <algorithm>
#include <cmath>

namespace camera::onvif {

namespace {

constexpr const char* kEncoding = "H264";
constexpr int kOnlyQuality = 1; // a stream is bounded by its bit rate
constexpr const char* kSessionTimeout = "PT60S";

/// How many profiles have a configuration.
int useCount(const MediaSettings& settings, MediaKind kind, const std::string& token)
{
    const auto has = [&](const MediaProfile& profile) {
        const auto found = profile.configurations.find(kind);
        return found != profile.configurations.end() && found->second == token;
    };
    return static_cast<int>(std::count_if(settings.profiles.begin(), settings.profiles.end(), has));
}

void putRange(pugi::xml_node parent, const char* name, int lowest, int highest)
{
    pugi::xml_node range = parent.append_child(name);
    put(range, "tt:Min", lowest);
    put(range, "tt:Max", highest);
}

void putRectangle(pugi::xml_node parent, const char* name, const PictureSize& size)
{
    pugi::xml_node bounds = parent.append_child(name);
    bounds.append_attribute("x").set_value(0);
    bounds.append_attribute("y").set_value(0);
    bounds.append_attribute("width").set_value(size.width);
    bounds.append_attribute("height").set_value(size.height);
}

/// There is none, but the element must be there.
void putMulticast(pugi::xml_node parent)
{
    pugi::xml_node multicast = parent.append_child("tt:Multicast");
    pugi::xml_node address = multicast.append_child("tt:Address");
    put(address, "tt:Type", "IPv4");
    put(address, "tt:IPv4Address", "0.0.0.0");
    put(multicast, "tt:Port", 0);
    put(multicast, "tt:TTL", 0);
    put(multicast, "tt:AutoStart", false);
}

/// The size that an encoder was given, where the camera's pictures still allow it.
PictureSize sizeOf(const EncoderSettings& encoder, const PictureFacts& picture)
{
    const std::vector<PictureSize> sizes = encodedSizes(picture);
    const bool possible = encoder.size && std::find(sizes.begin(), sizes.end(), *encoder.size) != sizes.end();
    return possible ? *encoder.size : sizes.front();
}

double rateOf(const EncoderSettings& encoder, const PictureFacts& picture)
{
    return std::min(encoder.framesPerSecond.value_or(picture.framesPerSecond), picture.framesPerSecond);
}

int wholeRate(double framesPerSecond)
{
    return std::max(1, static_cast<int>(std::lround(framesPerSecond)));
}

/// tt:VideoEncoderConfiguration
void fillEncoder(pugi::xml_node node, const EncoderSettings& encoder, const PictureFacts& picture)
{
    put(node, "tt:Encoding", kEncoding);
    putSize(node, "tt:Resolution", sizeOf(encoder, picture));
    put(node, "tt:Quality", kOnlyQuality);
    pugi::xml_node rate = node.append_child("tt:RateControl");
    put(rate, "tt:FrameRateLimit", wholeRate(rateOf(encoder, picture)));
    put(rate, "tt:EncodingInterval", 1);
    put(rate, "tt:BitrateLimit", encoder.kilobitsPerSecond);
    pugi::xml_node h264 = node.append_child("tt:H264");
    put(h264, "tt:GovLength", encoder.govLength);
    put(h264, "tt:H264Profile", encoder.profile);
    putMulticast(node);
    put(node, "tt:SessionTimeout", kSessionTimeout);
}

/// tt:VideoEncoder2Configuration
void fillEncoder2(pugi::xml_node node, const EncoderSettings& encoder, const PictureFacts& picture)
{
    node.append_attribute("GovLength").set_value(encoder.govLength);
    putAttribute(node, "Profile", encoder.profile);
    put(node, "tt:Encoding", kEncoding);
    putSize(node, "tt:Resolution", sizeOf(encoder, picture));
    pugi::xml_node rate = node.append_child("tt:RateControl");
    put(rate, "tt:FrameRateLimit", rateOf(encoder, picture));
    put(rate, "tt:BitrateLimit", encoder.kilobitsPerSecond);
    put(node, "tt:Quality", kOnlyQuality);
}

/// tt:MetadataConfiguration
void fillMetadata(pugi::xml_node node, const MediaView& view)
{
    const MetadataSettings& metadata = view.settings.metadata;
    putAttribute(node, "CompressionType", metadata.gzip ? "GZIP" : "None");
    if (view.moves) {
        pugi::xml_node status = node.append_child("tt:PTZStatus");
        put(status, "tt:Status", metadata.ptzStatus);
        put(status, "tt:Position", metadata.ptzPosition);
    }
    if (metadata.events) {
        node.append_child("tt:Events");
    }
    put(node, "tt:Analytics", metadata.analytics);
    putMulticast(node);
    put(node, "tt:SessionTimeout", kSessionTimeout);
}

/// The rates that are offered: the camera's own, and the usual ones below it.
std::string offeredRates(const PictureFacts& picture)
{
    std::string rates = base::shortNumber(picture.framesPerSecond);
    for (const int rate : {30, 25, 20, 15, 12, 10, 8, 6, 5, 4, 3, 2, 1}) {
        if (rate < picture.framesPerSecond) {
            rates += " " + std::to_string(rate);
        }
    }
    return rates;
}

/// tt:H264Options, without the range of the bit rate
void fillH264Options(pugi::xml_node node, const MediaView& view)
{
    for (const PictureSize& size : encodedSizes(view.picture)) {
        putSize(node, "tt:ResolutionsAvailable", size);
    }
    putRange(node, "tt:GovLengthRange", 1, kMostGovLength);
    putRange(node, "tt:FrameRateRange", 1, wholeRate(view.picture.framesPerSecond));
    putRange(node, "tt:EncodingIntervalRange", 1, 1);
    for (const char* const profile : kH264Profiles) {
        put(node, "tt:H264ProfilesSupported", profile);
    }
}

} // namespace

void putAttribute(pugi::xml_node node, const char* name, bool value)
{
    putAttribute(node, name, value ? "true" : "false");
}

void putAttribute(pugi::xml_node node, const char* name, const std::string& value)
{
    putAttribute(node, name, value.c_str());
}

void putAttribute(pugi::xml_node node, const char* name, const char* value)
{
    node.append_attribute(name).set_value(value);
}

void putSize(pugi::xml_node parent, const char* name, const PictureSize& size)
{
    pugi::xml_node node = parent.append_child(name);
    put(node, "tt:Width", size.width);
    put(node, "tt:Height", size.height);
}

std::vector<PictureSize> encodedSizes(const PictureFacts& picture)
{
    std::vector<PictureSize> sizes = {picture.size};
    const bool fits = kSmallPicture.width <= picture.size.width && kSmallPicture.height <= picture.size.height;
    if (fits && !(kSmallPicture == picture.size)) {
        sizes.push_back(kSmallPicture);
    }
    return sizes;
}

void putConfiguration(pugi::xml_node parent, const std::string& name, MediaKind kind, const std::string& token,
                      const MediaView& view, MediaVersion version)
{
    pugi::xml_node node = parent.append_child(name.c_str());
    putAttribute(node, "token", token);
    put(node, "tt:Name", view.settings.names.at(token));
    put(node, "tt:UseCount", useCount(view.settings, kind, token));
    switch (kind) {
    case MediaKind::videoSource:
        put(node, "tt:SourceToken", kVideoSource);
        putRectangle(node, "tt:Bounds", view.picture.size);
        return;
    case MediaKind::videoEncoder: {
        const auto fill = version == MediaVersion::media1 ? fillEncoder : fillEncoder2;
        fill(node, encoderOf(view.settings, token), view.picture);
        return;
    }
    case MediaKind::analytics:
        view.analytics(node);
        return;
    case MediaKind::ptz:
        put(node, "tt:NodeToken", kPtzNode);
        fillPtzConfiguration(node, view.settings.ptz);
        return;
    case MediaKind::metadata:
        fillMetadata(node, view);
        return;
    }
}

void putProfile(pugi::xml_node parent, const char* name, const MediaProfile& profile, const MediaView& view)
{
    pugi::xml_node node = parent.append_child(name);
    putAttribute(node, "token", profile.token);
    putAttribute(node, "fixed", isFixed(view.settings, profile));
    put(node, "tt:Name", profile.name);
    for (const MediaKindNames& each : kMediaKinds) {
        const auto found = profile.configurations.find(each.kind);
        if (found != profile.configurations.end() && (view.moves || each.kind != MediaKind::ptz)) {
            putConfiguration(node, "tt:" + std::string(each.media1) + "Configuration", each.kind, found->second, view,
                             MediaVersion::media1);
        }
    }
}

void putProfile2(pugi::xml_node parent, const MediaProfile& profile, const std::vector<std::string>& types,
                 const MediaView& view)
{
    const auto isWanted = [&types](const std::string& type) {
        return std::find(types.begin(), types.end(), type) != types.end();
    };
    pugi::xml_node node = parent.append_child("tr2:Profiles");
    putAttribute(node, "token", profile.token);
    putAttribute(node, "fixed", isFixed(view.settings, profile));
    put(node, "tr2:Name", profile.name);
    pugi::xml_node configurations;
    for (const MediaKindNames& each : kMediaKinds) {
        const auto found = profile.configurations.find(each.kind);
        const bool exists = found != profile.configurations.end() && (view.moves || each.kind != MediaKind::ptz);
        if (exists && (isWanted("All") || isWanted(each.media2))) {
            configurations = configurations ? configurations : node.append_child("tr2:Configurations");
            putConfiguration(configurations, "tr2:" + std::string(each.media2), each.kind, found->second, view,
                             MediaVersion::media2);
        }
    }
}

void putVideoSource(pugi::xml_node parent, const char* name, const MediaView& view)
{
    pugi::xml_node node = parent.append_child(name);
    putAttribute(node, "token", kVideoSource);
    put(node, "tt:Framerate", view.picture.framesPerSecond);
    putSize(node, "tt:Resolution", view.picture.size);
}

void fillVideoSourceOptions(pugi::xml_node options, const MediaView& view)
{
    const PictureSize& size = view.picture.size;
    putAttribute(options, "MaximumNumberOfProfiles", std::to_string(MediaSettings::kMostProfiles));
    pugi::xml_node bounds = options.append_child("tt:BoundsRange");
    putRange(bounds, "tt:XRange", 0, 0);
    putRange(bounds, "tt:YRange", 0, 0);
    putRange(bounds, "tt:WidthRange", size.width, size.width);
    putRange(bounds, "tt:HeightRange", size.height, size.height);
    put(options, "tt:VideoSourceTokensAvailable", kVideoSource);
}

void fillMetadataOptions(pugi::xml_node options, const MediaView& view)
{
    putAttribute(options, "GeoLocation", false);
    putAttribute(options, "MaxContentFilterSize", "0");
    pugi::xml_node status = options.append_child("tt:PTZStatusFilterOptions");
    put(status, "tt:PanTiltStatusSupported", view.moves);
    put(status, "tt:ZoomStatusSupported", view.moves);
    put(status, "tt:PanTiltPositionSupported", view.moves);
    put(status, "tt:ZoomPositionSupported", view.moves);
    pugi::xml_node extension = options.append_child("tt:Extension");
    put(extension, "tt:CompressionType", "None");
    put(extension, "tt:CompressionType", "GZIP");
}

void fillEncoderOptions(pugi::xml_node options, const MediaView& view)
{
    putRange(options, "tt:QualityRange", kOnlyQuality, kOnlyQuality);
    fillH264Options(options.append_child("tt:H264"), view);
    pugi::xml_node more = options.append_child("tt:Extension").append_child("tt:H264");
    fillH264Options(more, view);
    putRange(more, "tt:BitrateRange", kLeastKilobits, kMostKilobits);
}

void fillEncoder2Options(pugi::xml_node options, const MediaView& view)
{
    putAttribute(options, "GovLengthRange", "1 " + std::to_string(kMostGovLength));
    putAttribute(options, "FrameRatesSupported", offeredRates(view.picture));
    std::string profiles;
    for (const char* const profile : kH264Profiles) {
        profiles += profiles.empty() ? profile : std::string(" ") + profile;
    }
    putAttribute(options, "ProfilesSupported", profiles);
    put(options, "tt:Encoding", kEncoding);
    putRange(options, "tt:QualityRange", kOnlyQuality, kOnlyQuality);
    for (const PictureSize& size : encodedSizes(view.picture)) {
        putSize(options, "tt:ResolutionsAvailable", size);
    }
    putRange(options, "tt:BitrateRange", kLeastKilobits, kMostKilobits);
}

} // namespace camera::onvif
