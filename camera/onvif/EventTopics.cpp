#include "camera/onvif/EventTopics.h"

#include "camera/base/Text.h"
#include "camera/onvif/MediaAnswers.h"
#include "camera/onvif/NamespaceScopes.h"

#include <algorithm>
#include <string_view>

namespace camera::onvif {

namespace {

/// What the device itself tells, in the form of an engine's description.
constexpr std::string_view kOwnTopics = R"(<Topics>
<tt:Messages IsProperty="true">
  <tt:Source><tt:SimpleItemDescription Name="Source" Type="tt:ReferenceToken"/></tt:Source>
  <tt:Data><tt:SimpleItemDescription Name="State" Type="xs:boolean"/></tt:Data>
  <tt:ParentTopic>tns1:VideoSource/MotionAlarm</tt:ParentTopic>
</tt:Messages>
<tt:Messages IsProperty="false">
  <tt:Source><tt:SimpleItemDescription Name="Token" Type="tt:ReferenceToken"/></tt:Source>
  <tt:ParentTopic>tns1:Media/ProfileChanged</tt:ParentTopic>
</tt:Messages>
<tt:Messages IsProperty="false">
  <tt:Source>
    <tt:SimpleItemDescription Name="Token" Type="tt:ReferenceToken"/>
    <tt:SimpleItemDescription Name="Type" Type="xs:string"/>
  </tt:Source>
  <tt:ParentTopic>tns1:Media/ConfigurationChanged</tt:ParentTopic>
</tt:Messages>
<tt:Messages IsProperty="true">
  <tt:Data><tt:SimpleItemDescription Name="Status" Type="xs:dateTime"/></tt:Data>
  <tt:ParentTopic>tns1:Monitoring/OperatingTime/LastReboot</tt:ParentTopic>
</tt:Messages>
</Topics>)";

constexpr std::string_view kPresetMessages = R"(<tt:Messages IsProperty="false">
  <tt:Source><tt:SimpleItemDescription Name="PTZConfigurationToken" Type="tt:ReferenceToken"/></tt:Source>
  <tt:Data>
    <tt:SimpleItemDescription Name="PresetToken" Type="tt:ReferenceToken"/>
    <tt:SimpleItemDescription Name="PresetName" Type="tt:Name"/>
  </tt:Data>
</tt:Messages>)";

pugi::xml_document ownTopics(bool moves)
{
    pugi::xml_document document;
    document.load_buffer(kOwnTopics.data(), kOwnTopics.size());
    if (moves) {
        for (const char* const what : {"Invoked", "Reached", "Aborted", "Left"}) {
            pugi::xml_node root = document.document_element();
            root.append_buffer(kPresetMessages.data(), kPresetMessages.size());
            root.last_child()
                .append_child("tt:ParentTopic")
                .text()
                .set((std::string("tns1:PTZController/PTZPresets/") + what).c_str());
        }
    }
    return document;
}

/// The element of a topic, made with those above it where there is none.
pugi::xml_node topicElement(pugi::xml_node topicSet, const std::string& topic)
{
    pugi::xml_node node = topicSet;
    for (std::size_t at = 0, end = 0; end != std::string::npos; at = end + 1) {
        end = topic.find('/', at);
        const std::string name = topic.substr(at, end == std::string::npos ? end : end - at);
        const pugi::xml_node found = node.child(name.c_str());
        node = found ? found : node.append_child(name.c_str());
    }
    return node;
}

} // namespace

EventTopics::EventTopics(const AnalyticsView& view)
    : _descriptions(view.engines, view.presets, view.moves), _own(ownTopics(view.moves))
{
    std::vector<pugi::xml_node> all = _descriptions.messages();
    const auto own = _own.document_element().children();
    all.insert(all.end(), own.begin(), own.end());
    for (const pugi::xml_node& messages : all) {
        const std::string topic = plainTopic(base::trimmed(messages.child("tt:ParentTopic").text().get()));
        const bool known =
            std::any_of(_topics.begin(), _topics.end(), [&topic](const auto& each) { return each.first == topic; });
        try {
            TopicExpression(topic, TopicDialect::concrete);
        } catch (const ExpressionRefusal&) {
            continue; // the description of an engine is wrong; the others are told all the same
        }
        if (!known) {
            _topics.emplace_back(topic, messages);
        }
    }
}

void EventTopics::fill(pugi::xml_node topicSet) const
{
    for (const auto& [topic, messages] : _topics) {
        pugi::xml_node node = topicElement(topicSet, topic);
        // An engine's own prefixes are declared where it writes them.
        for (const pugi::xml_attribute& attribute : messages.child("tt:ParentTopic").attributes()) {
            pugi::xml_node root = topicElement(topicSet, topic.substr(0, topic.find('/')));
            if (isDeclaration(attribute.name()) && !root.attribute(attribute.name())) {
                root.append_copy(attribute);
            }
        }
        putAttribute(node, "wstop:topic", true);
        pugi::xml_node description = node.append_child("tt:MessageDescription");
        putAttribute(description, "IsProperty", messages.attribute("IsProperty").as_bool());
        for (const char* const part : {"tt:Source", "tt:Key", "tt:Data"}) {
            if (const pugi::xml_node list = messages.child(part)) {
                description.append_copy(list);
            }
        }
    }
}

bool EventTopics::mayMatch(const TopicExpression& expression) const
{
    return !_descriptions.areComplete() || std::any_of(_topics.begin(), _topics.end(), [&expression](const auto& each) {
        return expression.matches(each.first);
    });
}

} // namespace camera::onvif
