// Settings keys, and cutting documents into their elements.

#include "unit/target/ProxyTargetFixture.h"

namespace korva::meridan::tests {

namespace {

class ProxyKeysTest : public ProxyTargetTest {
protected:
    ProxyKeysTest() { startMovable({motion, simple}); }

    std::string keyOf(const std::string& text) { return proxy->getSettingsKeyFromConfig(motion, text); }

    Lines elements(bool rules, const std::string& text)
    {
        Lines found = {"before"};
        proxy->parseElements(rules, text, found);
        return found;
    }
};

TEST_F(ProxyKeysTest, joinsNameAndPresetWithoutSeparator)
{
    EXPECT_EQ(keyOf("<a><tt:SimpleItem Name='PtzPreset' Value='P1'/></a>"), "MotionP1");

    EXPECT_THAT(takeAll(), ElementsAre("log 6 \"Analytics settings key ptzPreset is P1\""));
    EXPECT_THAT(usedPresets(), ElementsAre("P1"));
}

TEST_F(ProxyKeysTest, isTheNameAloneForADocumentWithoutPreset)
{
    EXPECT_EQ(keyOf("<a><tt:SimpleItem Name='Other' Value='P1'/></a>"), "Motion");

    EXPECT_THAT(takeAll(), ElementsAre("log 6 \"Analytics settings key ptzPreset is \""));
    EXPECT_THAT(usedPresets(), IsEmpty());
}

TEST_F(ProxyKeysTest, carriesThePresetAlsoForTheEngineNamedSimple)
{
    EXPECT_EQ(proxy->getSettingsKeyFromConfig(simple, "<a><tt:SimpleItem Name='PtzPreset' Value='P1'/></a>"),
              "SimpleP1");
}

TEST_F(ProxyKeysTest, acceptsThePresetAnyNumberOfTimes)
{
    EXPECT_EQ(keyOf("<a><SimpleItem Name='PtzPreset' Value='P1'/><SimpleItem Name='PtzPreset' Value='P1'/></a>"),
              "MotionP1");
}

TEST_F(ProxyKeysTest, refusesTwoPresets)
{
    EXPECT_EQ(keyOf("<a><SimpleItem Name='PtzPreset' Value='P1'/><SimpleItem Name='PtzPreset' Value='P2'/></a>"), "");

    EXPECT_THAT(takeAll(),
                ElementsAre("log 3 \"Analytics Config Fail: Got config with two different ptzPresets P1:P2\""));
    EXPECT_THAT(usedPresets(), IsEmpty());
}

TEST_F(ProxyKeysTest, refusesPresetsOfDifferentLengthOrCase)
{
    EXPECT_EQ(keyOf("<a><SimpleItem Name='PtzPreset' Value='P1'/><SimpleItem Name='PtzPreset' Value='P11'/></a>"), "");
    EXPECT_EQ(keyOf("<a><SimpleItem Name='PtzPreset' Value='P1'/><SimpleItem Name='PtzPreset' Value='p1'/></a>"), "");

    EXPECT_THAT(takeAll(),
                ElementsAre("log 3 \"Analytics Config Fail: Got config with two different ptzPresets P1:P11\"",
                            "log 3 \"Analytics Config Fail: Got config with two different ptzPresets P1:p1\""));
}

TEST_F(ProxyKeysTest, passesAnEmptyPresetThatComesFirst)
{
    EXPECT_EQ(keyOf("<a><SimpleItem Name='PtzPreset' Value=''/><SimpleItem Name='PtzPreset' Value='P1'/></a>"),
              "MotionP1");
    EXPECT_EQ(keyOf("<a><SimpleItem Name='PtzPreset'/></a>"), "Motion");
}

TEST_F(ProxyKeysTest, refusesAnEmptyPresetThatComesLater)
{
    EXPECT_EQ(keyOf("<a><SimpleItem Name='PtzPreset' Value='P1'/><SimpleItem Name='PtzPreset' Value=''/></a>"), "");
    EXPECT_EQ(keyOf("<a><SimpleItem Name='PtzPreset' Value='P1'/><SimpleItem Name='PtzPreset'/></a>"), "");

    EXPECT_THAT(takeAll(),
                ElementsAre("log 3 \"Analytics Config Fail: Got config with two different ptzPresets P1:\"",
                            "log 3 \"Analytics Config Fail: Got config with two different ptzPresets P1:\""));
}

TEST_F(ProxyKeysTest, findsItemsAnywhereAndUnderAnyPrefixInDocumentOrder)
{
    EXPECT_EQ(keyOf("<x:SimpleItem Name='PtzPreset' Value='Root'><deep><deeper>"
                    "<tt:SimpleItem Name='PtzPreset' Value='Inner'/></deeper></deep></x:SimpleItem>"),
              "");

    EXPECT_THAT(takeAll(),
                ElementsAre("log 3 \"Analytics Config Fail: Got config with two different ptzPresets Root:Inner\""));
}

TEST_F(ProxyKeysTest, comparesElementAndItemNamesExactly)
{
    EXPECT_EQ(keyOf("<a><simpleItem Name='PtzPreset' Value='P1'/><SimpleItems Name='PtzPreset' Value='P1'/>"
                    "<SimpleItem Name='ptzPreset' Value='P1'/><SimpleItem name='PtzPreset' Value='P1'/></a>"),
              "Motion");
}

TEST_F(ProxyKeysTest, isEmptyForATextThatCannotBeRead)
{
    EXPECT_EQ(keyOf(""), "");
    EXPECT_EQ(keyOf("<a>%s"), "");

    EXPECT_THAT(takeAll(), ElementsAre("log 3 \"FAILED ANALYTICS CONFIG: Failed to parse config \"",
                                       "log 3 \"FAILED ANALYTICS CONFIG: Failed to parse config <a>%s\""));
}

TEST_F(ProxyKeysTest, readsEscapedPresetNames)
{
    EXPECT_EQ(keyOf("<a><SimpleItem Name='PtzPreset' Value='A &amp; B'/></a>"), "MotionA & B");
    EXPECT_THAT(usedPresets(), ElementsAre("A & B"));
}

TEST_F(ProxyKeysTest, joinsNameAndRequestedPresetUnchecked)
{
    EXPECT_EQ(proxy->getSettingsKeyFromPresetId(motion, "P1"), "MotionP1");
    EXPECT_EQ(proxy->getSettingsKeyFromPresetId(motion, ""), "Motion");
    EXPECT_EQ(proxy->getSettingsKeyFromPresetId(simple, " \xC3\xA4<"), "Simple \xC3\xA4<");
    EXPECT_THAT(takeAll(), IsEmpty());
    EXPECT_THAT(usedPresets(), IsEmpty());
}

TEST_F(ProxyKeysTest, cutsADocumentIntoItsRulesAndModulesInDocumentOrder)
{
    const std::string text = configuration("Motion")
                                 .add(rule("Motion", "B").item("X", "1"))
                                 .add(rule("Motion", "A").withoutParameters())
                                 .add(module("Motion", "M2"))
                                 .add(module("Motion", "M1"))
                                 .spacious();

    EXPECT_THAT(elements(true, text), ElementsAre("before", rule("Motion", "B").item("X", "1").text(),
                                                  rule("Motion", "A").withoutParameters().text()));
    EXPECT_THAT(elements(false, text),
                ElementsAre("before", module("Motion", "M2").text(), module("Motion", "M1").text()));
    EXPECT_THAT(takeAll(), IsEmpty());
}

TEST_F(ProxyKeysTest, takesOnlyElementsOfTheRightNameInTheRightList)
{
    const std::string text = document(
        {"<tt:Rule Name=\"misplaced\"/>", "<tt:Other/>", "<AnalyticsModule/>"},
        {"<tt:AnalyticsModule Name=\"misplaced\"/>", "<tt:rule/>", "<Rule/>", "<tt:Deep><tt:Rule/></tt:Deep>"});

    EXPECT_THAT(elements(true, text), ElementsAre("before"));
    EXPECT_THAT(elements(false, text), ElementsAre("before"));
}

TEST_F(ProxyKeysTest, findsNothingWhereALevelOfTheDocumentIsMissing)
{
    const std::string rules = "<tt:RuleEngineConfiguration><tt:Rule/></tt:RuleEngineConfiguration>";

    EXPECT_THAT(elements(true, rules), ElementsAre("before"));
    EXPECT_THAT(elements(true, "<a><tt:VideoAnalyticsConfiguration>" + rules + "</tt:VideoAnalyticsConfiguration></a>"),
                ElementsAre("before"));
    EXPECT_THAT(elements(true, "<tt:VideoAnalyticsConfiguration><a>" + rules + "</a></tt:VideoAnalyticsConfiguration>"),
                ElementsAre("before"));
    EXPECT_THAT(elements(false, "<tt:VideoAnalyticsConfiguration>" + rules + "</tt:VideoAnalyticsConfiguration>"),
                ElementsAre("before"));
    EXPECT_THAT(elements(true, "<tt:VideoAnalyticsConfiguration/>"), ElementsAre("before"));
}

TEST_F(ProxyKeysTest, leavesTheListAloneForATextThatCannotBeReadAndSaysNothing)
{
    EXPECT_THAT(elements(true, "<tt:VideoAnalyticsConfiguration>"), ElementsAre("before"));
    EXPECT_THAT(elements(false, ""), ElementsAre("before"));
    EXPECT_THAT(takeAll(), IsEmpty());
}

} // namespace

} // namespace korva::meridan::tests
