#include "camera/onvif/PtzService.h"

#include "camera/base/Utf8.h"
#include "camera/onvif/MediaAnswers.h"
#include "camera/onvif/MediaChanges.h"
#include "camera/onvif/MediaProfiles.h"
#include "camera/onvif/PtzConfiguration.h"
#include "camera/onvif/PtzSpaces.h"
#include "camera/onvif/Requests.h"
#include "camera/onvif/Times.h"

#include <utility>

namespace camera::onvif {

namespace {

constexpr std::size_t kLongestToken = 64;
constexpr const char* kPtzProfile = "tptz:ProfileToken";

void putPtzConfigurations(pugi::xml_node answer, const std::vector<std::string>& tokens, const MediaSettings& settings)
{
    for (const std::string& token : tokens) {
        putConfiguration(answer, "tptz:PTZConfiguration", MediaKind::ptz, token, {settings, true},
                         MediaVersion::media1);
    }
}

/// tt:PTZNode
void putNode(pugi::xml_node answer, const PtzView& view)
{
    pugi::xml_node node = answer.append_child("tptz:PTZNode");
    putAttribute(node, "token", kPtzNode);
    putAttribute(node, "FixedHomePosition", false);
    putAttribute(node, "GeoMove", false);
    put(node, "tt:Name", "PTZ");
    putSpaces(node.append_child("tt:SupportedPTZSpaces"), view.limits);
    put(node, "tt:MaximumNumberOfPresets", static_cast<int>(view.mostPresets));
    put(node, "tt:HomeSupported", true);
    pugi::xml_node tours = node.append_child("tt:Extension").append_child("tt:SupportedPresetTour");
    put(tours, "tt:MaximumNumberOfPresetTours", static_cast<int>(view.mostTours));
    for (const char* const operation : {"Start", "Stop", "Pause"}) {
        put(tours, "tt:PTZPresetTourOperation", operation);
    }
}

/// tt:PTZConfigurationOptions
void putOptions(pugi::xml_node answer, const PtzView& view)
{
    pugi::xml_node options = answer.append_child("tptz:PTZConfigurationOptions");
    putSpaces(options.append_child("tt:Spaces"), view.limits);
    pugi::xml_node timeout = options.append_child("tt:PTZTimeout");
    put(timeout, "tt:Min", durationText(kShortestDrive));
    put(timeout, "tt:Max", durationText(kLongestDrive));
}

} // namespace

void requireKnown(bool known, const char* what, const std::string& token)
{
    if (!known) {
        throw Fault::invalid("ter:NoToken", std::string("there is no ") + what + " '" + token + "'");
    }
}

bool isToken(const std::string& name)
{
    return !name.empty() && base::codePoints(name).size() <= kLongestToken;
}

PtzService::PtzService(Kept<MediaSettings>& media, Kept<PtzSettings>& settings, PtzActions actions, Clocks clocks)
    : _media(media), _settings(settings), _actions(std::move(actions)), _clocks(std::move(clocks))
{
}

void PtzService::addTo(Operations& operations, ServiceDirectory& directory)
{
    const auto capabilities = [](pugi::xml_node node) {
        putAttribute(node, "EFlip", false);
        putAttribute(node, "Reverse", false);
        putAttribute(node, "GetCompatibleConfigurations", true);
        putAttribute(node, "MoveStatus", true);
        putAttribute(node, "StatusPosition", true);
    };
    ServiceEntry entry{"tptz", "/onvif/ptz_service", 24, 12, capabilities, "PTZ"};
    entry.missing = [this]() -> std::optional<Fault> {
        try {
            requireMoves();
            return std::nullopt;
        } catch (const Fault& fault) {
            return fault;
        }
    };
    directory.add(std::move(entry), operations);
    addNodes(operations);
    addConfigurations(operations);
    addStatus(operations);
    addMoves(operations);
    addHome(operations);
    addPresets(operations);
    addTours(operations);
}

void PtzService::requireMoves() const
{
    if (!_actions.moves()) {
        throw Fault::receiver({"ter:ActionNotSupported", "ter:PTZNotSupported"},
                              "this camera is fixed: it does not move");
    }
}

void PtzService::requirePtzProfile(const Call& call) const
{
    const std::string token = requiredText(call.request(), kPtzProfile);
    if (profileOf(_media.value(), token).configurations.count(MediaKind::ptz) == 0) {
        throw Fault::invalid("ter:NoPTZProfile", "the profile '" + token + "' has no PTZ configuration");
    }
}

void PtzService::add(Operations& operations, const std::string& name, AccessClass access, const Perform& perform)
{
    operations.addLater("tptz:" + name, access, [this, perform](const Shared& call, const Reply& reply) {
        requireMoves();
        _actions.view([call, reply, perform](const Outcome<PtzView>& outcome) {
            if (const auto* const fault = std::get_if<Fault>(&outcome)) {
                reply(*fault);
                return;
            }
            try {
                perform(call, reply, std::get<PtzView>(outcome));
            } catch (...) {
                reply(Fault::current());
            }
        });
    });
}

void PtzService::addOfProfile(Operations& operations, const std::string& name, AccessClass access,
                              const Perform& perform)
{
    add(operations, name, access, [this, perform](const Shared& call, const Reply& reply, const PtzView& view) {
        requirePtzProfile(*call);
        perform(call, reply, view);
    });
}

PtzService::Perform PtzService::filling(const Fill& fill)
{
    return [fill](const Shared& call, const Reply& reply, const PtzView& view) {
        replyWith(reply, [&] {
            Answer answer = call->answer();
            fill(*call, answer.body(), view);
            return answer;
        });
    };
}

void PtzService::addReading(Operations& operations, const std::string& name, const Fill& fill)
{
    add(operations, name, AccessClass::readMedia, filling(fill));
}

void PtzService::addReadingOfProfile(Operations& operations, const std::string& name, const Fill& fill)
{
    addOfProfile(operations, name, AccessClass::readMedia, filling(fill));
}

void PtzService::addNodes(Operations& operations)
{
    addReading(operations, "GetNodes",
               [](const Call&, pugi::xml_node answer, const PtzView& view) { putNode(answer, view); });
    addReading(operations, "GetNode", [](const Call& call, pugi::xml_node answer, const PtzView& view) {
        const std::string token = requiredText(call.request(), "tptz:NodeToken");
        if (token != kPtzNode) {
            throw Fault::invalid("ter:NoEntity", "there is no node '" + token + "'");
        }
        putNode(answer, view);
    });
}

void PtzService::addConfigurations(Operations& operations)
{
    addReading(operations, "GetConfigurations", [this](const Call&, pugi::xml_node answer, const PtzView&) {
        putPtzConfigurations(answer, configurationTokens(MediaKind::ptz), _media.value());
    });
    addReading(operations, "GetConfiguration", [this](const Call& call, pugi::xml_node answer, const PtzView&) {
        const std::string token = requiredText(call.request(), "tptz:PTZConfigurationToken");
        putPtzConfigurations(answer, existingConfigurations(MediaKind::ptz, token, true), _media.value());
    });
    addReading(operations, "GetCompatibleConfigurations",
               [this](const Call& call, pugi::xml_node answer, const PtzView&) {
                   const std::string profile = requiredText(call.request(), kPtzProfile);
                   const auto tokens = fittingConfigurations(_media.value(), MediaKind::ptz, profile);
                   putPtzConfigurations(answer, tokens, _media.value());
               });
    addReading(operations, "GetConfigurationOptions", [](const Call& call, pugi::xml_node answer, const PtzView& view) {
        const std::string token = requiredText(call.request(), "tptz:ConfigurationToken");
        existingConfigurations(MediaKind::ptz, token, true);
        putOptions(answer, view);
    });
    add(operations, "SetConfiguration", AccessClass::actuate,
        [this](const Shared& call, const Reply& reply, const PtzView&) {
            changeAndAnswer(
                _media,
                [call](MediaSettings& settings) { setPtz(settings, call->request().child("tptz:PTZConfiguration")); },
                call, reply);
        });
}

void PtzService::addStatus(Operations& operations)
{
    const auto fill = [this](const Call&, pugi::xml_node answer, const PtzView& view) {
        pugi::xml_node status = answer.append_child("tptz:PTZStatus");
        putPlace(status, "tt:Position", view.place, view.limits, _media.value().ptz.absoluteSpace);
        pugi::xml_node moves = status.append_child("tt:MoveStatus");
        for (const char* const axes : {"tt:PanTilt", "tt:Zoom"}) {
            put(moves, axes, view.moving ? "MOVING" : "IDLE");
        }
        put(status, "tt:UtcTime", dateTimeText(_clocks.wall()));
    };
    operations.addLater("tptz:GetStatus", AccessClass::readMedia, [this, fill](const Shared& call, const Reply& reply) {
        requireMoves();
        requirePtzProfile(*call);
        _actions.view([call, reply, fill](const Outcome<PtzView>& outcome) {
            if (const auto* const fault = std::get_if<Fault>(&outcome)) {
                reply(Fault::receiver({"ter:Action", "ter:NoStatus"}, fault->what()));
            } else {
                filling(fill)(call, reply, std::get<PtzView>(outcome));
            }
        });
    });
}

} // namespace camera::onvif
