#pragma once

#include "camera/onvif/Kept.h"
#include "camera/onvif/MediaSettings.h"
#include "camera/onvif/Operations.h"
#include "camera/onvif/PtzSettings.h"
#include "camera/onvif/PtzView.h"
#include "camera/onvif/ServiceDirectory.h"
#include "camera/onvif/SoapService.h"

#include <functional>
#include <memory>
#include <set>
#include <string>

namespace camera::onvif {

/// The ONVIF PTZ service (namespace tptz). A camera that does not move has none: it is not told of, and its operations
/// are not supported. It lives until all that it asked has answered. Borrows the settings.
class PtzService {
public:
    /// @param media  has the PTZ configuration and the profiles by which clients address the camera.
    PtzService(Kept<MediaSettings>& media, Kept<PtzSettings>& settings, PtzActions actions, Clocks clocks);

    /// Adds its operations, and itself to the directory.
    void addTo(Operations& operations, ServiceDirectory& directory);

private:
    using Shared = std::shared_ptr<const Call>;
    /// Answers a call. May throw a Fault before it replies.
    using Perform = std::function<void(const Shared&, const Reply&, const PtzView&)>;
    /// Fills an answer. May throw a Fault.
    using Fill = std::function<void(const Call&, pugi::xml_node answer, const PtzView&)>;

    void addNodes(Operations& operations);
    void addConfigurations(Operations& operations);
    void addStatus(Operations& operations);
    void addMoves(Operations& operations);
    void addHome(Operations& operations);
    void addPresets(Operations& operations);
    void addTours(Operations& operations);

    /// Adds an operation that the camera is asked for first. Where it moves nothing is supported.
    void add(Operations& operations, const std::string& name, AccessClass access, const Perform& perform);
    /// The same of one that names a profile.
    void addOfProfile(Operations& operations, const std::string& name, AccessClass access, const Perform& perform);
    void addReading(Operations& operations, const std::string& name, const Fill& fill);
    void addReadingOfProfile(Operations& operations, const std::string& name, const Fill& fill);
    static Perform filling(const Fill& fill);
    void requireMoves() const;
    void requirePtzProfile(const Call& call) const;

    void setPreset(const Shared& call, const Reply& reply, const PtzView& view);
    void keepPresetName(const std::string& token, const std::string& name, const PtzView& view, const Done& done);
    void createTour(const Shared& call, const Reply& reply, const PtzView& view);
    void modifyTour(const Shared& call, const Reply& reply, const PtzView& view);
    void operateTour(const Shared& call, const Reply& reply, const PtzView& view);
    void removeTour(const Shared& call, const Reply& reply, const PtzView& view);

    Kept<MediaSettings>& _media;
    Kept<PtzSettings>& _settings;
    const PtzActions _actions;
    const Clocks _clocks;
    std::set<std::string> _saving; ///< tokens of presets that are being made
};

/// @throws Fault ter:NoToken
void requireKnown(bool known, const char* what, const std::string& token);

/// Whether a preset's or tour's name is a token that every client can give: 1 to 64 characters.
bool isToken(const std::string& name);

} // namespace camera::onvif
