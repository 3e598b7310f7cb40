#include "camera/onvif/PropertyEnd.h"

#include "camera/onvif/Times.h"

#include <algorithm>
#include <chrono>

namespace camera::onvif {

bool isTrue(const Notification& notification)
{
    const auto& data = notification.data;
    return std::any_of(data.begin(), data.end(), [](const MessageItem& item) { return item.value == "true"; });
}

Notification nowFalse(PropertyOperation operation, const Notification& last)
{
    Notification notification = last;
    notification.operation = operation;
    notification.utcTime = dateTimeText(std::chrono::system_clock::now());
    notification.dataElements.clear(); // what was seen then
    for (MessageItem& item : notification.data) {
        item.value = item.value == "true" ? "false" : item.value;
    }
    return notification;
}

std::vector<Notification> endOf(const Notification& last)
{
    std::vector<Notification> end;
    if (isTrue(last)) {
        end.push_back(nowFalse(PropertyOperation::changed, last));
    }
    end.push_back(nowFalse(PropertyOperation::deleted, last));
    return end;
}

// Rules of some types, and of the older forms, call the item RuleName.
std::string ruleOf(const Notification& notification)
{
    const auto& source = notification.source;
    const auto found = std::find_if(source.begin(), source.end(), [](const MessageItem& item) {
        return item.name == "Rule" || item.name == "RuleName";
    });
    return found != source.end() ? found->value : "";
}

} // namespace camera::onvif
