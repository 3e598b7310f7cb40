#include "camera/onvif/DeviceEvents.h"

#include "camera/onvif/PropertyEnd.h"
#include "camera/onvif/Times.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace camera::onvif {

namespace {

Notification ofThisMoment(const std::string& topic, PropertyOperation operation = PropertyOperation::none)
{
    Notification notification;
    notification.topic = topic;
    notification.utcTime = dateTimeText(std::chrono::system_clock::now());
    notification.operation = operation;
    return notification;
}

const char* media2Name(MediaKind kind)
{
    const auto* const found =
        std::find_if(kMediaKinds.begin(), kMediaKinds.end(), [&](const auto& each) { return each.kind == kind; });
    return found->media2;
}

} // namespace

Notification profileChanged(const std::string& token)
{
    Notification notification = ofThisMoment("tns1:Media/ProfileChanged");
    notification.source = {{"Token", token}};
    return notification;
}

Notification configurationChanged(const std::string& token, MediaKind kind)
{
    Notification notification = ofThisMoment("tns1:Media/ConfigurationChanged");
    notification.source = {{"Token", token}, {"Type", media2Name(kind)}};
    return notification;
}

std::vector<Notification> mediaEvents(const MediaSettings& before, const MediaSettings& after)
{
    const MediaDifference difference = differenceOf(before, after);
    std::vector<Notification> events;
    for (const std::string& token : difference.profiles) {
        events.push_back(profileChanged(token));
    }
    for (const auto& [token, kind] : difference.configurations) {
        events.push_back(configurationChanged(token, kind));
    }
    return events;
}

Notification motionAlarm(bool alarm)
{
    Notification notification = ofThisMoment("tns1:VideoSource/MotionAlarm", PropertyOperation::changed);
    notification.source = {{"Source", kVideoSource}};
    notification.data = {{"State", alarm ? "true" : "false"}};
    return notification;
}

Notification lastReboot(std::chrono::system_clock::time_point time)
{
    Notification notification = ofThisMoment("tns1:Monitoring/OperatingTime/LastReboot", PropertyOperation::changed);
    notification.data = {{"Status", dateTimeText(time)}};
    return notification;
}

// Cells and regions: the last part of the topic says what a rule tells.
bool tellsMotion(const Notification& notification)
{
    const std::string_view topic = notification.topic;
    constexpr std::string_view kRules = "tns1:RuleEngine/";
    const bool ofMotion = topic.substr(0, kRules.size()) == kRules && topic.substr(topic.rfind('/')) == "/Motion";
    return ofMotion && notification.operation != PropertyOperation::none && isTrue(notification);
}

std::vector<Notification> PresetEvents::presetState(int state, const std::string& preset)
{
    std::vector<Notification> events;
    if (state == 1) {
        events = endOfTheWay();
        _target = preset;
    } else if (state == 2) {
        _target.clear();
    }
    if (!preset.empty()) {
        constexpr const char* kStates[] = {"Left", "Invoked", "Reached"};
        if (state >= 0 && state <= 2) {
            events.push_back(event(kStates[state], preset));
        }
    }
    return events;
}

std::vector<Notification> PresetEvents::endOfTheWay()
{
    const std::string target = std::exchange(_target, "");
    return target.empty() ? std::vector<Notification>() : std::vector{event("Aborted", target)};
}

Notification PresetEvents::event(const char* what, const std::string& preset) const
{
    Notification notification = ofThisMoment(std::string("tns1:PTZController/PTZPresets/") + what);
    notification.source = {{"PTZConfigurationToken", kPtzConfiguration}};
    notification.data = {{"PresetToken", preset}, {"PresetName", _nameOf(preset)}};
    return notification;
}

} // namespace camera::onvif
