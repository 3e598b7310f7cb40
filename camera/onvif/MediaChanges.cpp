#include "camera/onvif/MediaChanges.h"

#include "camera/onvif/Fault.h"
#include "camera/onvif/MediaProfiles.h"
#include "camera/onvif/PtzConfiguration.h"
#include "camera/onvif/Requests.h"

#include <algorithm>
#include <cmath>

namespace camera::onvif {

namespace {

Fault notPossible(const std::string& reason)
{
    return Fault::invalid("ter:ConfigModify", reason);
}

/// Sets the name, which every configuration has. @return the token.
std::string setName(MediaSettings& settings, const pugi::xml_node& configuration, MediaKind kind)
{
    const std::string token = configuration.attribute("token").value();
    existingConfigurations(kind, token, true);
    if (const auto name = optionalText(configuration, "tt:Name")) {
        settings.names[token] = checkedName(*name);
    }
    return token;
}

int numberOf(const pugi::xml_node& parent, const char* name)
{
    return wholeNumberIn(name, requiredText(parent, name));
}

void setSize(EncoderSettings& encoder, const pugi::xml_node& resolution, const PictureFacts& picture)
{
    const PictureSize size{numberOf(resolution, "tt:Width"), numberOf(resolution, "tt:Height")};
    const std::vector<PictureSize> sizes = encodedSizes(picture);
    if (std::find(sizes.begin(), sizes.end(), size) == sizes.end()) {
        throw notPossible("pictures cannot be encoded with " + std::to_string(size.width) + "x" +
                          std::to_string(size.height) + " pixels");
    }
    encoder.size = size == picture.size ? std::nullopt : std::optional(size);
}

void setRate(EncoderSettings& encoder, const pugi::xml_node& control, const PictureFacts& picture)
{
    constexpr const char* kLimit = "tt:FrameRateLimit";
    constexpr const char* kInterval = "tt:EncodingInterval";
    constexpr double kNear = 0.001;
    const auto interval = optionalText(control, kInterval); // only Media1 has it, and only whole rates
    const double own = interval ? std::max(1.0, std::round(picture.framesPerSecond)) : picture.framesPerSecond;
    const double rate = numberIn(kLimit, requiredText(control, kLimit));
    if (rate < std::min(1.0, own) || rate > own + kNear) {
        throw notPossible("the rate is at most that of the camera, and not below one frame per second");
    }
    if (interval && wholeNumberIn(kInterval, *interval) != 1) {
        throw notPossible("tt:EncodingInterval is 1");
    }
    encoder.framesPerSecond = rate >= own - kNear ? std::nullopt : std::optional(rate);
    encoder.kilobitsPerSecond = numberOf(control, "tt:BitrateLimit");
}

} // namespace

void setVideoSource(MediaSettings& settings, const pugi::xml_node& configuration, const PictureFacts& picture)
{
    setName(settings, configuration, MediaKind::videoSource);
    if (optionalText(configuration, "tt:SourceToken").value_or(kVideoSource) != kVideoSource) {
        throw notPossible("the only video source is '" + std::string(kVideoSource) + "'");
    }
    if (const pugi::xml_node bounds = configuration.child("tt:Bounds")) {
        const PictureSize size{wholeNumberIn("width", bounds.attribute("width").value()),
                               wholeNumberIn("height", bounds.attribute("height").value())};
        const int x = wholeNumberIn("x", bounds.attribute("x").value());
        const int y = wholeNumberIn("y", bounds.attribute("y").value());
        if (x != 0 || y != 0 || !(size == picture.size)) {
            throw notPossible("tt:Bounds is the whole picture");
        }
    }
}

void setEncoder(MediaSettings& settings, const pugi::xml_node& configuration, const PictureFacts& picture)
{
    EncoderSettings& encoder = encoderOf(settings, setName(settings, configuration, MediaKind::videoEncoder));
    if (requiredText(configuration, "tt:Encoding") != "H264") {
        throw notPossible("tt:Encoding is H264");
    }
    setSize(encoder, configuration.child("tt:Resolution"), picture);
    if (numberIn("tt:Quality", optionalText(configuration, "tt:Quality").value_or("1")) != 1) {
        throw notPossible("tt:Quality is 1: a stream is bounded by its bit rate");
    }
    if (const pugi::xml_node control = configuration.child("tt:RateControl")) {
        setRate(encoder, control, picture);
    }
    // Media1 has these two in an element, Media2 in attributes.
    const pugi::xml_node h264 = configuration.child("tt:H264");
    if (const pugi::xml_attribute length = configuration.attribute("GovLength"); length || h264) {
        encoder.govLength = length ? wholeNumberIn("GovLength", length.value()) : numberOf(h264, "tt:GovLength");
    }
    if (const pugi::xml_attribute profile = configuration.attribute("Profile"); profile || h264) {
        encoder.profile = profile ? profile.value() : requiredText(h264, "tt:H264Profile");
    }
    if (!isPossible(encoder)) {
        throw notPossible("the bit rate, the length of a group of pictures or the profile is not among the options");
    }
}

void setMetadata(MediaSettings& settings, const pugi::xml_node& configuration, bool moves)
{
    setName(settings, configuration, MediaKind::metadata);
    MetadataSettings& metadata = settings.metadata;
    const pugi::xml_node status = configuration.child("tt:PTZStatus");
    metadata.ptzStatus = optionalBool(status, "tt:Status", false);
    metadata.ptzPosition = optionalBool(status, "tt:Position", false);
    if (!moves && (metadata.ptzStatus || metadata.ptzPosition)) {
        throw notPossible("this camera does not move");
    }
    const pugi::xml_node events = configuration.child("tt:Events");
    if (events.child("tt:Filter").first_child()) {
        throw notPossible("the metadata has all events or none");
    }
    metadata.events = static_cast<bool>(events);
    metadata.analytics = optionalBool(configuration, "tt:Analytics", false);
    const std::string compression = configuration.attribute("CompressionType").as_string("None");
    if (compression != "None" && compression != "GZIP") {
        throw notPossible("CompressionType is None or GZIP");
    }
    metadata.gzip = compression == "GZIP";
}

void setPtz(MediaSettings& settings, const pugi::xml_node& configuration)
{
    setName(settings, configuration, MediaKind::ptz);
    readPtzConfiguration(configuration, settings.ptz);
}

} // namespace camera::onvif
