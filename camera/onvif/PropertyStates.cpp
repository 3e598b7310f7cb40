#include "camera/onvif/PropertyStates.h"

#include "camera/onvif/DeviceEvents.h"
#include "camera/onvif/PropertyEnd.h"

#include <algorithm>
#include <iterator>
#include <tuple>
#include <utility>

namespace camera::onvif {

namespace {

bool same(const std::vector<MessageItem>& a, const std::vector<MessageItem>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const MessageItem& left, const MessageItem& right) {
        return std::tie(left.name, left.value) == std::tie(right.name, right.value);
    });
}

bool sameState(const Notification& a, const Notification& b)
{
    return same(a.data, b.data) && a.dataElements == b.dataElements;
}

/// Of properties with the same id.
bool sameEvent(const Notification& a, const Notification& b)
{
    return a.utcTime == b.utcTime && sameState(a, b);
}

Notification as(PropertyOperation operation, Notification notification)
{
    notification.operation = operation;
    return notification;
}

} // namespace

PropertyStates::PropertyStates(Tell tell) : _tell(std::move(tell))
{
    const Notification alarm = motionAlarm(false);
    _ofDevice.emplace(alarm.propertyId(), alarm); // nobody listens yet
}

void PropertyStates::happened(const Notification& event)
{
    if (event.operation == PropertyOperation::none) {
        _tell(event);
        return;
    }
    const std::string id = event.propertyId();
    _newer.insert(id);
    const auto known = _ofPipeline.find(id);
    if (event.operation == PropertyOperation::deleted) {
        if (known != _ofPipeline.end()) {
            _ofPipeline.erase(known);
        }
    } else if (known != _ofPipeline.end() && sameEvent(known->second, event)) {
        return;
    } else {
        _ofPipeline.insert_or_assign(id, event);
    }
    _tell(event);
    tellMotion();
}

void PropertyStates::ask()
{
    _newer.clear();
}

void PropertyStates::found(const std::vector<Notification>& properties)
{
    std::set<std::string> ids = _newer;
    for (const Notification& property : properties) {
        const std::string id = property.propertyId();
        if (!ids.insert(id).second) {
            continue; // it has happened again since
        }
        const auto known = _ofPipeline.find(id);
        const bool isNew = known == _ofPipeline.end();
        if (isNew || !sameEvent(known->second, property)) {
            _ofPipeline.insert_or_assign(id, property);
            _tell(as(isNew ? PropertyOperation::initialized : PropertyOperation::changed, property));
        }
    }
    for (auto each = _ofPipeline.begin(); each != _ofPipeline.end();) {
        const bool lives = ids.count(each->first) != 0;
        const Notification last = each->second;
        each = lives ? std::next(each) : _ofPipeline.erase(each);
        if (!lives) {
            end(last);
        }
    }
    tellMotion();
}

void PropertyStates::lost()
{
    for (const auto& each : std::exchange(_ofPipeline, {})) {
        end(each.second);
    }
    tellMotion();
}

void PropertyStates::end(const Notification& last)
{
    for (const Notification& each : endOf(last)) {
        _tell(each);
    }
}

void PropertyStates::set(const Notification& property)
{
    const std::string id = property.propertyId();
    const auto known = _ofDevice.find(id);
    if (known != _ofDevice.end() && sameState(known->second, property)) {
        return;
    }
    const bool isNew = known == _ofDevice.end();
    _ofDevice.insert_or_assign(id, property);
    _tell(as(isNew ? PropertyOperation::initialized : PropertyOperation::changed, property));
}

void PropertyStates::tellMotion()
{
    set(motionAlarm(std::any_of(_ofPipeline.begin(), _ofPipeline.end(),
                                [](const auto& each) { return tellsMotion(each.second); })));
}

std::vector<Notification> PropertyStates::live() const
{
    std::vector<Notification> all;
    for (const All* part : {&_ofDevice, &_ofPipeline}) {
        for (const auto& each : *part) {
            all.push_back(as(PropertyOperation::initialized, each.second));
        }
    }
    return all;
}

} // namespace camera::onvif
