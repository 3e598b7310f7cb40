#pragma once

#include "camera/onvif/Notification.h"

#include <vector>

namespace camera::onvif {

// How the state of a property ends when nobody says so: its rule is not active any more, or there is none.

/// Whether any value of the message is true.
bool isTrue(const Notification& notification);

/// A message of this moment in which nothing is true and no object is seen.
Notification nowFalse(PropertyOperation operation, const Notification& last);

/// The messages with which a property goes: one that it is false if it was true, for those who look at values only, and
/// one that it is deleted.
std::vector<Notification> endOf(const Notification& last);

/// The name of the rule that the property is of; empty: its source names none.
std::string ruleOf(const Notification& notification);

} // namespace camera::onvif
