#pragma once

#include "camera/onvif/Kept.h"
#include "camera/onvif/MediaAnswers.h"
#include "camera/onvif/MediaSettings.h"
#include "camera/onvif/Operations.h"
#include "camera/onvif/ServiceDirectory.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace camera::onvif {

/// Window blanking: whether it is on, and its colour.
struct Blanking {
    bool on = false;
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
};

enum class StreamTransport { udp, rtsp, http };

struct StreamRequest {
    std::string profile; ///< its token
    StreamTransport transport;
    std::string base; ///< how the client reached the device: "http://192.168.1.2:8080"
};

/// What the media services ask of the device around them. Each is called on the thread of the services.
struct MediaActions {
    Ask<PictureFacts> picture;
    Ask<AnalyticsContent> analytics;
    /// Takes the place of all rules and modules. What configuration refers to lives until done was called.
    std::function<void(pugi::xml_node configuration, Done)> setAnalytics;
    std::function<bool()> moves; ///< whether the camera can move

    /// Where a stream is; may throw a Fault. Empty: nothing is streamed.
    std::function<std::string(const StreamRequest&)> streamAddress;
    /// Where the newest picture of a profile is; may throw a Fault. Empty: there is none.
    std::function<std::string(const std::string& profile, const std::string& base)> snapshotAddress;
    /// Makes a point in the streams of a profile from which a client can begin.
    std::function<void(const std::string& profile, Done)> synchronize;

    Ask<Blanking> blanking;
    std::function<void(const Blanking&, Done)> setBlanking;
};

/// The two ONVIF media services over one set of profiles: Media1 (namespace trt) and Media2 (namespace tr2). Borrows
/// the settings.
class MediaService {
public:
    MediaService(Kept<MediaSettings>& settings, MediaActions actions);

    /// Adds the operations of both, and both to the directory.
    void addTo(Operations& operations, ServiceDirectory& directory);

private:
    using Shared = std::shared_ptr<const Call>;
    /// Fills an answer. May throw a Fault.
    using Fill = std::function<void(pugi::xml_node answer, const MediaView& view)>;
    using Set = std::function<void(MediaSettings&, const pugi::xml_node& configuration, const PictureFacts&)>;

    void addDirectory(Operations& operations, ServiceDirectory& directory);
    void addCommon(Operations& operations, const std::string& prefix);
    void addOptions(Operations& operations, const std::string& prefix);
    void addProfiles1(Operations& operations);
    void addConfigurations1(Operations& operations, const MediaKindNames& names);
    void addSources1(Operations& operations);
    void addStreams1(Operations& operations);
    void addProfiles2(Operations& operations);
    void addConfigurations2(Operations& operations, const MediaKindNames& names);
    void addStreams2(Operations& operations);
    void addMasks(Operations& operations);

    void answer(const Shared& call, const Reply& reply, bool withAnalytics, const Fill& fill);
    void change(const Shared& call, const Reply& reply, const Kept<MediaSettings>::Edit& edit);
    void set(const Shared& call, const Reply& reply, const std::string& prefix, const Set& set);
    std::string streamAddress(const std::string& profile, StreamTransport transport, const Call& call) const;
    std::string snapshotAddress(const std::string& profile, const Call& call) const;

    Kept<MediaSettings>& _settings;
    const MediaActions _actions;
};

} // namespace camera::onvif
