// The operations that move the camera: to a place, by a way, at a speed, home.
#include "camera/onvif/PtzConfiguration.h"
#include "camera/onvif/PtzService.h"
#include "camera/onvif/PtzSpaces.h"
#include "camera/onvif/Requests.h"
#include "camera/onvif/Times.h"

namespace camera::onvif {

namespace {

pugi::xml_node requiredNode(const Call& call, const char* name)
{
    const pugi::xml_node node = call.request().child(name);
    if (!node) {
        throw Fault::sender({"ter:InvalidArgs"}, std::string(name) + " is missing");
    }
    return node;
}

std::chrono::milliseconds timeoutOf(const Call& call, const PtzDefaults& defaults)
{
    const auto text = optionalText(call.request(), "tptz:Timeout");
    const auto timeout = text ? driveTimeout(*text) : defaults.timeout;
    if (!timeout) {
        throw Fault::invalid("ter:TimeoutNotSupported",
                             "a movement lasts " + durationText(kShortestDrive) + " to " + durationText(kLongestDrive));
    }
    return *timeout;
}

int speedOf(const Call& call, const PtzDefaults& defaults)
{
    return wayPercent(call.request().child("tptz:Speed"), defaults);
}

} // namespace

void PtzService::addMoves(Operations& operations)
{
    const auto addMove = [&](const char* name, auto perform) {
        addOfProfile(operations, name, AccessClass::actuate, perform);
    };
    addMove("AbsoluteMove", [this](const Shared& call, const Reply& reply, const PtzView& view) {
        const PtzDefaults& defaults = _media.value().ptz;
        const PtzPlace place = absolutePlace(requiredNode(*call, "tptz:Position"), view, defaults);
        _actions.moveTo(place, speedOf(*call, defaults), answerWhenDone(call, reply));
    });
    addMove("RelativeMove", [this](const Shared& call, const Reply& reply, const PtzView& view) {
        const PtzDefaults& defaults = _media.value().ptz;
        const PtzPlace place = relativePlace(requiredNode(*call, "tptz:Translation"), view, defaults);
        _actions.moveTo(place, speedOf(*call, defaults), answerWhenDone(call, reply));
    });
    addMove("ContinuousMove", [this](const Shared& call, const Reply& reply, const PtzView&) {
        PtzDrive drive = driveOf(requiredNode(*call, "tptz:Velocity"));
        drive.duration = timeoutOf(*call, _media.value().ptz);
        _actions.drive(drive, answerWhenDone(call, reply));
    });
    addMove("Stop", [this](const Shared& call, const Reply& reply, const PtzView&) {
        PtzDrive drive;
        // Without either everything stops; "false" leaves an axis alone.
        if (optionalBool(call->request(), "tptz:PanTilt", true)) {
            drive.pan = drive.tilt = 0;
        }
        if (optionalBool(call->request(), "tptz:Zoom", true)) {
            drive.zoom = 0;
        }
        if (drive.pan || drive.zoom) {
            _actions.drive(drive, answerWhenDone(call, reply));
        } else {
            reply(call->answer());
        }
    });
}

void PtzService::addHome(Operations& operations)
{
    addOfProfile(operations, "GotoHomePosition", AccessClass::actuate,
                 [this](const Shared& call, const Reply& reply, const PtzView&) {
                     const auto& home = _settings.value().home;
                     if (!home) {
                         throw Fault::receiver({"ter:Action", "ter:NoHomePosition"},
                                               "there is no home position; SetHomePosition makes one");
                     }
                     _actions.moveTo(*home, speedOf(*call, _media.value().ptz), answerWhenDone(call, reply));
                 });
    addOfProfile(operations, "SetHomePosition", AccessClass::actuate,
                 [this](const Shared& call, const Reply& reply, const PtzView& view) {
                     changeAndAnswer(
                         _settings, [place = view.place](PtzSettings& settings) { settings.home = place; }, call,
                         reply);
                 });
}

} // namespace camera::onvif
