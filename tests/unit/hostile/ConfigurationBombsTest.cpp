// Whole configurations of hostile size and shape: taken, asked for, activated, and started from again.

#include "Answers.h"
#include "Bomb.h"
#include "Xml.h"

namespace hostile {

namespace {

using korva::meridan::OnvifTarget;

constexpr std::size_t kMillion = 1000 * 1000;
constexpr std::size_t kTenMegabytes = 10 * 1024 * 1024;

std::string nested(const std::string& open, const std::string& close, std::size_t depth)
{
    return repeated(open, depth) + repeated(close, depth);
}

/// What a configuration's life shows: its answer, what is listed, merged and stored, now and after a restart.
struct Life {
    std::string answer;
    std::size_t rules = 0;
    std::string current;
    std::string currentAfterRestart;
    std::size_t rulesAfterRestart = 0;
    bool active = false;
};

std::size_t live(const std::string& text, Life& life)
{
    BombDevice device;
    device.target().handlePresetStateEvent(2, "P");
    life.answer = setConfiguration(device.target(), text);
    life.rules = ask(device.target(), &OnvifTarget::getCurrentRules).size();
    life.current = currentConfiguration(device.target());
    device.restart();
    device.target().handlePresetStateEvent(2, "P");
    life.active = device.isActive();
    life.rulesAfterRestart = ask(device.target(), &OnvifTarget::getCurrentRules).size();
    life.currentAfterRestart = presetConfiguration(device.target(), "P");
    return text.size();
}

class ConfigurationBombTest : public BombTest {
protected:
    /// A bomb that is taken: `rules` rules come back, now and after a restart.
    void expectTaken(const std::string& name, std::size_t size,
                     const std::function<std::string(std::size_t)>& rulesText, std::size_t rules)
    {
        detonate(name, size,
                 [&](std::size_t n) { return live(documentOf(rule(item("PtzPreset", "P")) + rulesText(n)), life); });
        EXPECT_EQ(life.answer, "0/0");
        EXPECT_EQ(life.rules, rules + 1);
        EXPECT_EQ(life.rulesAfterRestart, rules + 1);
        EXPECT_TRUE(life.current == life.currentAfterRestart) << "a restart changed the configuration";
        EXPECT_TRUE(life.active);
    }

    /// A bomb that is no document: nothing of it is kept.
    void expectRefused(const std::string& name, std::size_t size, const std::function<std::string(std::size_t)>& text)
    {
        detonate(name, size, [&](std::size_t n) { return live(text(n), life); });
        EXPECT_EQ(life.answer, "1/1");
        EXPECT_EQ(life.rules, 0u);
        EXPECT_EQ(kit::platform().settings.writes, 0u);
        EXPECT_FALSE(life.active);
    }

    Life life;
};

TEST_F(ConfigurationBombTest, takesADocumentOfTenMegabytes)
{
    const std::string parameter = item("Sensitivity", "50 &amp; more");
    expectTaken(
        "document-10mb", kTenMegabytes / parameter.size(), [&](std::size_t n) { return rule(repeated(parameter, n)); },
        1);
}

TEST_F(ConfigurationBombTest, takesTenMegabytesOfText)
{
    expectTaken(
        "text-10mb", kTenMegabytes, [](std::size_t n) { return rule(std::string(n, 'x')); }, 1);
}

TEST_F(ConfigurationBombTest, takesTenMegabytesInOneAttribute)
{
    expectTaken(
        "attribute-10mb", kTenMegabytes, [](std::size_t n) { return rule(item("Text", std::string(n, '\n'))); }, 1);
}

TEST_F(ConfigurationBombTest, takesAMillionNestedElements)
{
    expectTaken(
        "nested-elements-1000000", kMillion, [](std::size_t n) { return rule(nested("<a>", "</a>", n)); }, 1);
}

TEST_F(ConfigurationBombTest, takesAMillionNestedPresetItems)
{
    expectTaken(
        "nested-preset-items-1000000", kMillion,
        [](std::size_t n) { return rule(nested("<SimpleItem Name=\"PtzPreset\" Value=\"P\">", "</SimpleItem>", n)); },
        1);
}

TEST_F(ConfigurationBombTest, takesAMillionNestedRules)
{
    expectTaken(
        "nested-rules-1000000", kMillion, [](std::size_t n) { return nested("<tt:Rule>", "</tt:Rule>", n); }, 1);
}

TEST_F(ConfigurationBombTest, takesAMillionSiblings)
{
    expectTaken(
        "sibling-elements-1000000", kMillion, [](std::size_t n) { return rule(repeated("<a/>", n)); }, 1);
}

TEST_F(ConfigurationBombTest, takesAMillionAttributes)
{
    expectTaken(
        "attributes-1000000", kMillion, [](std::size_t n) { return rule("<a" + repeated(" b=\"\"", n) + "/>"); }, 1);
}

TEST_F(ConfigurationBombTest, takesAHundredThousandRules)
{
    constexpr std::size_t kRules = 100 * 1000;
    expectTaken(
        "rules-100000", kRules, [](std::size_t n) { return repeated(rule(item("Active", "true")), n); }, kRules);
}

TEST_F(ConfigurationBombTest, dropsTenMegabytesOfComments)
{
    expectTaken(
        "comments-10mb", kTenMegabytes / 8, [](std::size_t n) { return repeated("<!--x-->", n); }, 0);
    EXPECT_LT(life.current.size(), 1000u);
}

TEST_F(ConfigurationBombTest, takesTenMegabytesOfCharacterData)
{
    expectTaken(
        "cdata-10mb", kTenMegabytes / 16, [](std::size_t n) { return rule(repeated("<![CDATA[]] > <]]>", n)); }, 1);
}

TEST_F(ConfigurationBombTest, refusesAMillionElementsThatNeverEnd)
{
    expectRefused("unclosed-elements-1000000", kMillion, [](std::size_t n) { return repeated("<a>", n); });
}

TEST_F(ConfigurationBombTest, refusesTenMegabytesOfOpeningBrackets)
{
    expectRefused("brackets-10mb", kTenMegabytes, [](std::size_t n) { return std::string(n, '<'); });
}

TEST_F(ConfigurationBombTest, refusesAnUnclosedCommentOfTenMegabytes)
{
    expectRefused("unclosed-comment-10mb", kTenMegabytes,
                  [](std::size_t n) { return documentOf("") + "<!--" + std::string(n, '-'); });
}

TEST_F(ConfigurationBombTest, refusesAMillionNestedTypeDeclarations)
{
    expectRefused("nested-doctype-1000000", kMillion,
                  [](std::size_t n) { return "<!DOCTYPE a [" + repeated("<![IGNORE[", n); });
}

TEST_F(ConfigurationBombTest, refusesAMillionDifferentPresets)
{
    detonate("different-presets-1000000", kMillion, [&](std::size_t n) {
        std::string items = item("PtzPreset", "P") + item("PtzPreset", "Q");
        return live(documentOf(rule(items + repeated(item("PtzPreset", "R"), n))), life);
    });
    EXPECT_EQ(life.answer, "1/1");
}

} // namespace

} // namespace hostile
