#include "camera/pipeline/LiveProperties.h"

#include "camera/onvif/CanonicalNames.h"
#include "camera/onvif/PropertyEnd.h"
#include "camera/onvif/XmlText.h"

#include <pugixml.hpp>

#include <algorithm>
#include <iterator>
#include <utility>

namespace camera::pipeline {

namespace {

using onvif::Notification;
using onvif::PropertyOperation;

/// What an engine would raise for a message.
base::Event eventOf(const base::Event& earlier, const Notification& notification)
{
    pugi::xml_document document;
    onvif::putMessage(document, notification);
    onvif::declareUsed(document.document_element(), onvif::NamespaceTable::ofDocuments());
    return {earlier.topic, earlier.source, onvif::printed(document.document_element())};
}

} // namespace

void LiveProperties::raised(const std::string& engine, const base::Event& event)
{
    const auto notification = onvif::notificationOf(event);
    if (!notification || notification->operation == PropertyOperation::none) {
        return;
    }
    const std::string id = notification->propertyId();
    const std::lock_guard<std::mutex> lock(_mutex);
    if (notification->operation == PropertyOperation::deleted) {
        _all.erase(id);
    } else {
        _all.insert_or_assign(id, Property{engine, ++_events, event, *notification});
        keepWithinLimit();
    }
}

void LiveProperties::keepWithinLimit()
{
    if (_all.size() > kMost) {
        _all.erase(std::min_element(_all.begin(), _all.end(),
                                    [](const auto& a, const auto& b) { return a.second.number < b.second.number; }));
    }
}

std::vector<base::Event> LiveProperties::closing(const std::string& engine)
{
    std::vector<base::Event> events;
    const std::lock_guard<std::mutex> lock(_mutex);
    for (auto& each : _all) {
        Property& property = each.second;
        if (property.engine == engine && onvif::isTrue(property.last)) {
            property.number = ++_events;
            property.last = onvif::nowFalse(PropertyOperation::changed, property.last);
            property.event = eventOf(property.event, property.last);
            events.push_back(property.event);
        }
    }
    return events;
}

std::vector<base::Event> LiveProperties::deleting(const std::set<std::string>& rules)
{
    std::vector<base::Event> events;
    const std::lock_guard<std::mutex> lock(_mutex);
    for (auto each = _all.begin(); each != _all.end();) {
        const Property& property = each->second;
        const std::string rule = onvif::ruleOf(property.last);
        if (rule.empty() || rules.count(rule) != 0) {
            ++each;
            continue;
        }
        for (const Notification& message : onvif::endOf(property.last)) {
            events.push_back(eventOf(property.event, message));
        }
        each = _all.erase(each);
    }
    return events;
}

std::vector<base::Event> LiveProperties::all() const
{
    std::vector<base::Event> events;
    const std::lock_guard<std::mutex> lock(_mutex);
    std::transform(_all.begin(), _all.end(), std::back_inserter(events),
                   [](const auto& each) { return each.second.event; });
    return events;
}

bool LiveProperties::empty() const
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _all.empty();
}

} // namespace camera::pipeline
