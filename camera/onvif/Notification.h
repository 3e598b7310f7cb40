#pragma once

#include "camera/base/Event.h"

#include <pugixml.hpp>

#include <optional>
#include <string>
#include <vector>

namespace camera::onvif {

struct MessageItem {
    std::string name;
    std::string value;
};

/// What a message tells of a property, which is a state. none: the message is about no property.
enum class PropertyOperation { none, initialized, changed, deleted };

/// One message of an event as clients get it.
struct Notification {
    std::string topic;   ///< with canonical prefixes: "tns1:RuleEngine/MotionRegionDetector/Motion"
    std::string utcTime; ///< ends in Z
    PropertyOperation operation = PropertyOperation::none;
    std::vector<MessageItem> source = {};
    std::vector<MessageItem> key = {};
    std::vector<MessageItem> data = {};
    std::vector<std::string> dataElements = {}; ///< canonical XML of each tt:ElementItem of the data

    /// The same for all messages of one property: made of topic, source and key.
    std::string propertyId() const;
};

/**
 * The event that an engine raised, as clients get it. Its time is written in UTC.
 * @return nothing when its text is no tt:Message with a time and a known operation.
 */
std::optional<Notification> notificationOf(const base::Event& event);

/// Adds the tt:Message of a notification.
void putMessage(pugi::xml_node parent, const Notification& notification);

/// A topic in the form in which two are compared: a part of a path that has the prefix of the path's root loses it.
std::string plainTopic(const std::string& topic);

} // namespace camera::onvif
