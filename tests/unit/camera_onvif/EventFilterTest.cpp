#include "camera/onvif/EventFilter.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace camera::onvif {
namespace {

constexpr const char* kMotion = "tns1:RuleEngine/MotionRegionDetector/Motion";

std::string refusalOf(const std::string& text, TopicDialect dialect)
{
    try {
        TopicExpression(text, dialect);
        return "";
    } catch (const ExpressionRefusal& refusal) {
        return refusal.what();
    }
}

bool isTopicMatched(const std::string& text, const std::string& topic)
{
    return TopicExpression(text, TopicDialect::concreteSet).matches(topic);
}

TEST(TopicExpressionTest, concretePathMatchesItsTopicOnly)
{
    EXPECT_TRUE(isTopicMatched(kMotion, kMotion));
    EXPECT_FALSE(isTopicMatched("tns1:RuleEngine/MotionRegionDetector", kMotion));
    EXPECT_FALSE(isTopicMatched("tns1:RuleEngine/MotionRegionDetector/Mot", kMotion));
    EXPECT_FALSE(isTopicMatched(std::string(kMotion) + "/More", kMotion));
    EXPECT_FALSE(isTopicMatched("vca:RuleEngine/MotionRegionDetector/Motion", kMotion));
}

TEST(TopicExpressionTest, treeMatchesItsRootAndAllBelow)
{
    EXPECT_TRUE(isTopicMatched("tns1:RuleEngine//.", kMotion));
    EXPECT_TRUE(isTopicMatched("tns1:RuleEngine/MotionRegionDetector//.", kMotion));
    EXPECT_TRUE(isTopicMatched(std::string(kMotion) + "//.", kMotion));
    EXPECT_FALSE(isTopicMatched("tns1:Rule//.", kMotion));
    EXPECT_FALSE(isTopicMatched("tns1:VideoSource//.", kMotion));
}

TEST(TopicExpressionTest, barSeparatesPathsOfWhichOneIsEnough)
{
    EXPECT_TRUE(isTopicMatched(std::string("tns1:Media/ProfileChanged|") + kMotion, kMotion));
    EXPECT_TRUE(isTopicMatched(" tns1:A | \n tns1:RuleEngine//. ", kMotion));
    EXPECT_FALSE(isTopicMatched("tns1:A|tns1:B//.", kMotion));
}

TEST(TopicExpressionTest, repeatedPrefixMeansTheSame)
{
    EXPECT_TRUE(isTopicMatched("tns1:RuleEngine/tns1:MotionRegionDetector/tns1:Motion", kMotion));
}

TEST(TopicExpressionTest, refusesWhatIsNoTopic)
{
    for (const char* const text :
         {"",         " ",         "|",          "tns1:A|",  "RuleEngine",   "tns1:", ":A",           "tns1:A/",
          "/tns1:A",  "tns1:A//B", "tns1:A/*",   "*",        "tns1:A//.//.", "//.",   "tns1:A/b:c:d", "tns1:1",
          "tns1:A B", "tns1:A/.",  "tns1:A/'B'", "tns1:A[1]"}) {
        EXPECT_NE("", refusalOf(text, TopicDialect::concreteSet)) << text;
    }
    EXPECT_NE("", refusalOf("tns1:" + std::string(5000, 'A'), TopicDialect::concreteSet));
}

TEST(TopicExpressionTest, concreteDialectHasNeitherSetsNorTrees)
{
    EXPECT_EQ("", refusalOf(kMotion, TopicDialect::concrete));
    EXPECT_NE("", refusalOf("tns1:A|tns1:B", TopicDialect::concrete));
    EXPECT_NE("", refusalOf("tns1:A//.", TopicDialect::concrete));
}

Notification message()
{
    Notification made{kMotion, "2024-06-30T12:00:00Z", PropertyOperation::changed};
    made.source = {{"Rule", "Gate"}, {"VideoSource", "V"}};
    made.key = {{"ObjectId", "7"}};
    made.data = {{"State", "true"}};
    made.dataElements = {"<tt:ElementItem Name=\"Field\"><tt:Polygon/></tt:ElementItem>"};
    return made;
}

bool isMatched(const std::string& filter)
{
    return ItemFilter(filter).matches(message());
}

TEST(ItemFilterTest, findsSimpleItemsOfSourceKeyAndData)
{
    EXPECT_TRUE(isMatched(R"(boolean(//tt:SimpleItem[@Name="Rule" and @Value="Gate"]))"));
    EXPECT_TRUE(isMatched(R"(boolean(//tt:SimpleItem[@Name="ObjectId" and @Value="7"]))"));
    EXPECT_TRUE(isMatched(R"( boolean ( // tt:SimpleItem [ @Name = "State" and @Value = 'true' ] ) )"));
    EXPECT_FALSE(isMatched(R"(boolean(//tt:SimpleItem[@Name="Rule" and @Value="gate"]))"));
    // Name and value of one item, not of two.
    EXPECT_FALSE(isMatched(R"(boolean(//tt:SimpleItem[@Name="Rule" and @Value="true"]))"));
}

TEST(ItemFilterTest, findsElementItemsByTheirName)
{
    EXPECT_TRUE(isMatched(R"(boolean(//tt:ElementItem[@Name="Field"]))"));
    EXPECT_FALSE(isMatched(R"(boolean(//tt:ElementItem[@Name="Rule"]))"));
    EXPECT_FALSE(isMatched(R"(boolean(//tt:ElementItem[@Value=""]))"));
    EXPECT_FALSE(isMatched(R"(boolean(//tt:SimpleItem[@Name="Field"]))"));
}

TEST(ItemFilterTest, joinsConditionsInsideAndOutsideOfTheBrackets)
{
    const std::string yes = R"(boolean(//tt:SimpleItem[@Name="Rule"]))";
    const std::string no = R"(boolean(//tt:SimpleItem[@Name="None"]))";
    EXPECT_TRUE(isMatched(yes + " and " + yes));
    EXPECT_FALSE(isMatched(yes + " and " + no));
    EXPECT_TRUE(isMatched(no + " or " + yes));
    EXPECT_FALSE(isMatched(no + " or " + no));
    EXPECT_TRUE(isMatched("not(" + no + ")"));
    EXPECT_FALSE(isMatched("not(" + yes + ")"));
    EXPECT_TRUE(isMatched("not (not (" + yes + "))"));
    EXPECT_TRUE(isMatched(R"(boolean(//tt:SimpleItem[@Name="Rule" and (@Value="A" or @Value="Gate")]))"));
    EXPECT_TRUE(isMatched(R"(boolean(//tt:SimpleItem[@Name="Rule" and not(@Value="A")]))"));
    EXPECT_FALSE(isMatched(R"(boolean(//tt:SimpleItem[@Name="Rule" and not(@Value="Gate" or @Value="A")]))"));
}

TEST(ItemFilterTest, andIsStrongerThanOr)
{
    const std::string yes = R"(boolean(//tt:SimpleItem[@Name="Rule"]))";
    const std::string no = R"(boolean(//tt:SimpleItem[@Name="None"]))";
    EXPECT_TRUE(isMatched(yes + " or " + no + " and " + no));
    EXPECT_TRUE(isMatched(no + " and " + no + " or " + yes));
    EXPECT_FALSE(isMatched("(" + yes + " or " + no + ") and " + no));
}

TEST(ItemFilterTest, refusesEverythingElse)
{
    for (const char* const text :
         {"", "true()", "boolean()", "boolean(//tt:SimpleItem)", "boolean(//tt:SimpleItem[])",
          R"(//tt:SimpleItem[@Name="A"])", R"(boolean(//tt:SimpleItem[@Name="A"])",
          R"(boolean(//tt:SimpleItem[@Name=A]))", R"(boolean(//tt:SimpleItem[@Name="A]))",
          R"(boolean(//tt:SimpleItem[@Other="A"]))", R"(boolean(//tt:Other[@Name="A"]))",
          R"(boolean(//tt:SimpleItem[@Name="A"]) boolean(//tt:SimpleItem[@Name="A"]))",
          R"(boolean(//tt:SimpleItem[@Name="A"]) and)", R"(and boolean(//tt:SimpleItem[@Name="A"]))",
          R"(boolean(//tt:SimpleItem[@Name="A" andy @Value="B"]))", R"(count(//tt:SimpleItem) > 1)",
          R"(boolean(//tt:SimpleItem[@Name="A"]))) )", R"(boolean(//*[@Name="A"]))"}) {
        EXPECT_THROW(ItemFilter{text}, ExpressionRefusal) << text;
    }
}

TEST(ItemFilterTest, hasLimitsOfLengthAndDepth)
{
    const auto deep = [](int count) {
        std::string text;
        for (int i = 0; i < count; ++i) {
            text += "(";
        }
        text += R"(boolean(//tt:SimpleItem[@Name="Rule"]))";
        return text + std::string(static_cast<std::size_t>(count), ')');
    };
    EXPECT_TRUE(isMatched(deep(ItemFilter::kMostDeep)));
    EXPECT_THROW(ItemFilter{deep(ItemFilter::kMostDeep + 1)}, ExpressionRefusal);
    EXPECT_THROW(ItemFilter{std::string(3000, '(')}, ExpressionRefusal);
    EXPECT_THROW(ItemFilter{R"(boolean(//tt:SimpleItem[@Name="Rule"]))" + std::string(ItemFilter::kLongest, ' ')},
                 ExpressionRefusal);
}

} // namespace
} // namespace camera::onvif
