// Lists of single rules of hostile length, and single rules of hostile size.

#include "Answers.h"
#include "Bomb.h"
#include "Xml.h"

namespace hostile {

namespace {

using korva::meridan::OnvifTarget;

constexpr std::size_t kMillion = 1000 * 1000;
constexpr std::size_t kManyItems = 100 * 1000;
constexpr std::size_t kTenMegabytes = 10 * 1024 * 1024;

using RuleListBombTest = BombTest;

std::size_t bytesOf(const std::vector<std::string>& texts)
{
    std::size_t bytes = 0;
    for (const std::string& text : texts) {
        bytes += text.size();
    }
    return bytes;
}

std::string nameOf(std::size_t index)
{
    return "Rule" + std::to_string(index);
}

std::vector<std::string> names(std::size_t count)
{
    std::vector<std::string> all;
    for (std::size_t i = 0; i < count; ++i) {
        all.push_back(nameOf(i));
    }
    return all;
}

std::vector<std::string> components(std::size_t count, const std::string& parameters)
{
    std::vector<std::string> all;
    for (std::size_t i = 0; i < count; ++i) {
        all.push_back(component(nameOf(i), parameters));
    }
    return all;
}

/// One rule of that content is created, listed, modified and deleted.
class RuleBombTest : public BombTest {
protected:
    void expectTaken(const std::string& name, std::size_t size, const std::function<std::string(std::size_t)>& content)
    {
        std::vector<unsigned int> statuses;
        std::size_t listed = 0;
        detonate(name, size, [&](std::size_t n) {
            const std::vector<std::string> list = {component("R", content(n))};
            BombDevice device(Content::kReal);
            statuses = {callWithList(device.target(), &OnvifTarget::createRules, list)};
            listed = ask(device.target(), &OnvifTarget::getCurrentRules).size();
            device.restart();
            statuses.push_back(callWithList(device.target(), &OnvifTarget::modifyRules, list));
            statuses.push_back(callWithList(device.target(), &OnvifTarget::deleteRules, {"R"}));
            return bytesOf(list);
        });
        EXPECT_EQ(statuses, (std::vector<unsigned int>{0, 0, 0}));
        EXPECT_EQ(listed, 1u);
        EXPECT_EQ(kit::platform().settings.writes, 3u);
    }
};

TEST_F(RuleBombTest, takesOneRuleOfTenMegabytes)
{
    expectTaken("rule-10mb", kTenMegabytes, [](std::size_t n) { return item("Text", std::string(n, 'x')); });
}

TEST_F(RuleBombTest, takesOneRuleOfAMillionNestedElements)
{
    expectTaken("rule-nested-1000000", kMillion,
                [](std::size_t n) { return repeated("<a>", n) + repeated("</a>", n); });
}

TEST_F(RuleBombTest, takesOneRuleOfAMillionAttributes)
{
    expectTaken("rule-attributes-1000000", kMillion,
                [](std::size_t n) { return "<a" + repeated(" b=\"\"", n) + "/>"; });
}

TEST_F(RuleListBombTest, refusesARuleThatNeverEnds)
{
    unsigned int status = 0;
    detonate("rule-unclosed-1000000", kMillion, [&](std::size_t n) {
        const std::string text = repeated("<tt:Rule>", n);
        BombDevice device;
        status = callWithList(device.target(), &OnvifTarget::createRules, {text});
        return text.size();
    });
    EXPECT_EQ(status, 4u);
    EXPECT_EQ(kit::platform().settings.writes, 0u);
}

// Each record is one write of the whole document, so the engine here keeps that document short.
TEST_F(RuleListBombTest, createsAHundredThousandRulesInOneList)
{
    unsigned int status = 99;
    detonate("items-100000-created", kManyItems, [&](std::size_t n) {
        const std::vector<std::string> list = components(n, item("Active", "true"));
        BombDevice device;
        status = callWithList(device.target(), &OnvifTarget::createRules, list);
        return bytesOf(list);
    });
    EXPECT_EQ(status, 0u);
    EXPECT_EQ(kit::platform().settings.writes, kManyItems);
}

TEST_F(RuleListBombTest, deletesAHundredThousandRulesInOneList)
{
    std::vector<unsigned int> statuses;
    unsigned long writes = 0;
    detonate("items-100000-deleted", kManyItems, [&](std::size_t n) {
        const std::vector<std::string> list = components(n, item("Active", "true"));
        BombDevice device;
        statuses = {callWithList(device.target(), &OnvifTarget::createRules, list)};
        writes = kit::platform().settings.writes;
        statuses.push_back(callWithList(device.target(), &OnvifTarget::deleteRules, names(n)));
        return bytesOf(list);
    });
    EXPECT_EQ(statuses, (std::vector<unsigned int>{0, 0}));
    EXPECT_EQ(kit::platform().settings.writes - writes, kManyItems);
}

TEST_F(RuleListBombTest, storesNothingOfAHundredThousandItemsWhenTheLastIsRefused)
{
    unsigned int status = 99;
    std::size_t presets = 0;
    std::size_t ruleSets = 0;
    detonate("items-100000-last-refused", kManyItems, [&](std::size_t n) {
        std::vector<std::string> list;
        for (std::size_t i = 0; i < n; ++i) {
            list.push_back(component(nameOf(i), item("PtzPreset", "Preset" + std::to_string(i))));
        }
        BombDevice device;
        device.engine().accepts = [n](const kit::Component& component) { return component.name != nameOf(n - 1); };
        status = callWithList(device.target(), &OnvifTarget::createRules, list);
        presets = ask(device.target(), &OnvifTarget::getUsedPtzPresets).size();
        ruleSets = static_cast<std::size_t>(device.engine().notReturned());
        return bytesOf(list);
    });
    EXPECT_EQ(status, 4u);
    EXPECT_EQ(kit::platform().settings.writes, 0u);
    EXPECT_EQ(presets, kManyItems);
    EXPECT_EQ(ruleSets, kManyItems - 1);
}

TEST_F(RuleListBombTest, findsNoneOfAHundredThousandUnknownNames)
{
    unsigned int status = 99;
    detonate("items-100000-unknown", kManyItems, [&](std::size_t n) {
        BombDevice device;
        callWithList(device.target(), &OnvifTarget::createRules, components(10, item("Active", "true")));
        std::vector<std::string> list = names(n + 10);
        list.erase(list.begin(), list.begin() + 10);
        status = callWithList(device.target(), &OnvifTarget::deleteRules, list);
        return bytesOf(list);
    });
    EXPECT_EQ(status, 5u);
    EXPECT_EQ(kit::platform().settings.writes, 10u);
}

// n records with a preset of their own are n documents of up to n settings: what is written grows with the square,
// memory only with the list.
TEST_F(RuleListBombTest, writesTheWholeDocumentForEachRecord)
{
    constexpr std::size_t kRecords = 1000;
    const Bomb bomb = [](std::size_t n) {
        std::vector<std::string> list;
        for (std::size_t i = 0; i < n; ++i) {
            list.push_back(component(nameOf(i), item("PtzPreset", "Preset" + std::to_string(i))));
        }
        BombDevice device(Content::kReal);
        callWithList(device.target(), &OnvifTarget::createRules, list);
        return bytesOf(list);
    };
    const kit::HeapUse single = detonateOnce("items-1000-whole-writes", kRecords, bomb);
    EXPECT_EQ(kit::platform().settings.writes, kRecords);
    const kit::HeapUse twice = detonateOnce("items-2000-whole-writes", 2 * kRecords, bomb);
    EXPECT_EQ(kit::platform().settings.writes, 2 * kRecords);
    EXPECT_LE(twice.bytes, single.bytes * 5);
    EXPECT_LE(twice.allocations, single.allocations * 5);
}

} // namespace

} // namespace hostile
