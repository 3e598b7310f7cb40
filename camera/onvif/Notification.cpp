#include "camera/onvif/Notification.h"

#include "camera/onvif/CanonicalNames.h"
#include "camera/onvif/Times.h"
#include "camera/onvif/XmlText.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace camera::onvif {

namespace {

constexpr std::size_t kMostDeep = 64;

constexpr std::array<std::pair<PropertyOperation, const char*>, 4> kOperations = {{
    {PropertyOperation::none, ""},
    {PropertyOperation::initialized, "Initialized"},
    {PropertyOperation::changed, "Changed"},
    {PropertyOperation::deleted, "Deleted"},
}};

std::optional<PropertyOperation> operationNamed(const std::string& text)
{
    for (const auto& [operation, name] : kOperations) {
        if (text == name) {
            return operation;
        }
    }
    return std::nullopt;
}

std::vector<MessageItem> simpleItems(const pugi::xml_node& list)
{
    std::vector<MessageItem> items;
    for (const pugi::xml_node& item : list.children("tt:SimpleItem")) {
        items.push_back({item.attribute("Name").value(), item.attribute("Value").value()});
    }
    return items;
}

/// Adds items to an id, each with its length before it: no two lists of items give the same text. The order of items in
/// a message means nothing.
void addToId(std::string& id, const std::vector<MessageItem>& items)
{
    std::vector<std::string> texts;
    for (const MessageItem& item : items) {
        texts.push_back(std::to_string(item.name.size()) + ":" + item.name + std::to_string(item.value.size()) + ":" +
                        item.value);
    }
    std::sort(texts.begin(), texts.end());
    id += '\n';
    for (const std::string& text : texts) {
        id += text;
    }
}

void putItems(pugi::xml_node message, const char* name, const std::vector<MessageItem>& items,
              const std::vector<std::string>& elements)
{
    if (items.empty() && elements.empty()) {
        return;
    }
    pugi::xml_node list = message.append_child(name);
    for (const MessageItem& item : items) {
        pugi::xml_node node = list.append_child("tt:SimpleItem");
        node.append_attribute("Name").set_value(item.name.c_str());
        node.append_attribute("Value").set_value(item.value.c_str());
    }
    for (const std::string& element : elements) {
        list.append_buffer(element.data(), element.size());
    }
}

} // namespace

std::string Notification::propertyId() const
{
    std::string id = topic;
    addToId(id, source);
    addToId(id, key);
    return id;
}

std::string plainTopic(const std::string& topic)
{
    const std::size_t slash = topic.find('/');
    const std::size_t colon = topic.find(':');
    if (slash == std::string::npos || colon >= slash) {
        return topic;
    }
    const std::string repeated = "/" + topic.substr(0, colon + 1);
    std::string plain = topic;
    for (std::size_t at = plain.find(repeated); at != std::string::npos; at = plain.find(repeated, at + 1)) {
        plain.erase(at + 1, repeated.size() - 1);
    }
    return plain;
}

std::optional<Notification> notificationOf(const base::Event& event)
{
    try {
        const pugi::xml_document document = parsed(event.data);
        makeCanonical(document, event.data, NamespaceTable::ofDocuments(), kMostDeep);
        const pugi::xml_node message = document.document_element();
        const auto time = parseDateTime(message.attribute("UtcTime").value());
        const auto operation = operationNamed(message.attribute("PropertyOperation").value());
        if (message.name() != std::string_view("tt:Message") || !time || !operation) {
            return std::nullopt;
        }
        Notification made{plainTopic(event.topic), dateTimeText(*time), *operation};
        made.source = simpleItems(message.child("tt:Source"));
        made.key = simpleItems(message.child("tt:Key"));
        made.data = simpleItems(message.child("tt:Data"));
        for (const pugi::xml_node& element : message.child("tt:Data").children("tt:ElementItem")) {
            made.dataElements.push_back(printed(element));
        }
        return made;
    } catch (const XmlRefusal&) {
        return std::nullopt;
    }
}

void putMessage(pugi::xml_node parent, const Notification& notification)
{
    pugi::xml_node message = parent.append_child("tt:Message");
    message.append_attribute("UtcTime").set_value(notification.utcTime.c_str());
    for (const auto& [operation, name] : kOperations) {
        if (operation == notification.operation && operation != PropertyOperation::none) {
            message.append_attribute("PropertyOperation").set_value(name);
        }
    }
    putItems(message, "tt:Source", notification.source, {});
    putItems(message, "tt:Key", notification.key, {});
    putItems(message, "tt:Data", notification.data, notification.dataElements);
}

} // namespace camera::onvif
