#include "camera/onvif/Notification.h"

#include "camera/onvif/XmlText.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace camera::onvif {
namespace {

std::string pairs(const std::vector<MessageItem>& items)
{
    std::string text;
    for (const MessageItem& item : items) {
        text += item.name + "=" + item.value + " ";
    }
    return text;
}

base::Event event(const std::string& data)
{
    return {"tns1:RuleEngine/A/B", "Gate", data};
}

std::string messageText(const Notification& notification)
{
    pugi::xml_document document;
    putMessage(document, notification);
    return printed(document.document_element());
}

TEST(NotificationTest, hasTheItemsOfTheMessageWhateverItsPrefixes)
{
    const auto made = notificationOf(
        event("<m:Message xmlns:m='http://www.onvif.org/ver10/schema' UtcTime='2024-06-30T14:00:00+02:00' "
              "PropertyOperation='Changed'><m:Source><m:SimpleItem Name='Rule' Value='R'/></m:Source>"
              "<m:Key><m:SimpleItem Name='ObjectId' Value='7'/></m:Key><m:Data><m:SimpleItem Name='State' "
              "Value='true'/><m:ElementItem Name='E'><x:A xmlns:x='urn:x'/></m:ElementItem></m:Data></m:Message>"));
    ASSERT_TRUE(made);
    EXPECT_EQ("tns1:RuleEngine/A/B", made->topic);
    EXPECT_EQ("2024-06-30T12:00:00Z", made->utcTime);
    EXPECT_EQ(PropertyOperation::changed, made->operation);
    EXPECT_EQ("Rule=R ", pairs(made->source));
    EXPECT_EQ("ObjectId=7 ", pairs(made->key));
    EXPECT_EQ("State=true ", pairs(made->data));
    EXPECT_THAT(made->dataElements,
                testing::ElementsAre("<tt:ElementItem Name=\"E\"><x:A xmlns:x=\"urn:x\"/></tt:ElementItem>"));
    EXPECT_EQ("<tt:Message UtcTime=\"2024-06-30T12:00:00Z\" PropertyOperation=\"Changed\"><tt:Source><tt:SimpleItem "
              "Name=\"Rule\" Value=\"R\"/></tt:Source><tt:Key><tt:SimpleItem Name=\"ObjectId\" Value=\"7\"/></tt:Key>"
              "<tt:Data><tt:SimpleItem Name=\"State\" Value=\"true\"/>" +
                  made->dataElements[0] + "</tt:Data></tt:Message>",
              messageText(*made));
}

TEST(NotificationTest, isAboutNoPropertyWithoutAnOperation)
{
    const auto made = notificationOf(event("<tt:Message UtcTime='2024-06-30T12:00:00Z'/>"));
    ASSERT_TRUE(made);
    EXPECT_EQ(PropertyOperation::none, made->operation);
    EXPECT_EQ("<tt:Message UtcTime=\"2024-06-30T12:00:00Z\"/>", messageText(*made));
}

TEST(NotificationTest, isNothingForATextThatIsNoMessageWithATime)
{
    for (const char* const data : {"", "State=true", "<tt:Message", "<tt:Message/>", "<tt:Message UtcTime='now'/>",
                                   "<tt:Other UtcTime='2024-06-30T12:00:00Z'/>",
                                   "<tt:Message UtcTime='2024-06-30T12:00:00Z' PropertyOperation='Gone'/>",
                                   "<m:Message xmlns:m='urn:other' UtcTime='2024-06-30T12:00:00Z'/>",
                                   "<!DOCTYPE a><tt:Message UtcTime='2024-06-30T12:00:00Z'/>"}) {
        EXPECT_FALSE(notificationOf(event(data))) << data;
    }
    std::string deep = "<tt:Message UtcTime='2024-06-30T12:00:00Z'>";
    for (int i = 0; i < 100000; ++i) {
        deep += "<a>";
    }
    EXPECT_FALSE(notificationOf(event(deep)));
}

TEST(NotificationTest, idOfAPropertyIsMadeOfTopicSourceAndKeyOnly)
{
    Notification first{"tns1:A", "t", PropertyOperation::initialized};
    first.source = {{"Rule", "R"}, {"VideoSource", "V"}};
    first.key = {{"ObjectId", "1"}};
    Notification same{"tns1:A", "u", PropertyOperation::changed};
    same.source = {{"VideoSource", "V"}, {"Rule", "R"}};
    same.key = first.key;
    same.data = {{"State", "true"}};
    EXPECT_EQ(first.propertyId(), same.propertyId());

    Notification other = first;
    other.key = {{"ObjectId", "2"}};
    EXPECT_NE(first.propertyId(), other.propertyId());
    other = first;
    other.topic = "tns1:B";
    EXPECT_NE(first.propertyId(), other.propertyId());
    other = first;
    other.source = {{"Rule", "R"}};
    other.key = {{"VideoSource", "V"}, {"ObjectId", "1"}};
    EXPECT_NE(first.propertyId(), other.propertyId());
}

TEST(NotificationTest, idOfAPropertyCannotBeImitatedByTheTextOfAnItem)
{
    Notification one{"t", "", PropertyOperation::none};
    one.source = {{"a", "b1:c1:d"}};
    Notification two{"t", "", PropertyOperation::none};
    two.source = {{"a", "b"}, {"c", "d"}};
    EXPECT_NE(one.propertyId(), two.propertyId());
}

TEST(NotificationTest, topicIsPlainWithoutTheRepeatedPrefixOfItsRoot)
{
    EXPECT_EQ("tns1:A/B/C", plainTopic("tns1:A/tns1:B/tns1:C"));
    EXPECT_EQ("tns1:A/vca:B", plainTopic("tns1:A/vca:B"));
    EXPECT_EQ("A/tns1:B", plainTopic("A/tns1:B"));
    EXPECT_EQ("tns1:A", plainTopic("tns1:A"));
    EXPECT_EQ("", plainTopic(""));
}

} // namespace
} // namespace camera::onvif
