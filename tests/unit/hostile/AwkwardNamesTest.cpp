// Each name of the page goes in by the target and comes back by every query, log line, event and the stored
// document, before and after a restart, as the page says.

#include "NamesTable.h"

#include "kit/Configuration.h"
#include "kit/PlatformTest.h"
#include "kit/ServiceLists.h"
#include "target/OnvifTarget.h"
#include "json/Reader.h"
#include "json/UnknownElement.h"

#include <cctype>

namespace hostile {

static void PrintTo(const NameRow& row, std::ostream* stream)
{
    *stream << row.title;
}

namespace {

using kit::journal;
using kit::platform;
using korva::meridan::OnvifTarget;
using namespace testing;

constexpr char kRule[] = "tt:Rule";
constexpr char kModule[] = "tt:AnalyticsModule";

/// A component of that name for the preset of that name, as text between quotes.
std::string componentText(const char* element, const std::string& name)
{
    const std::string kind = element == kRule ? "Rule" : "Module";
    return std::string("<") + element + " Name=\"" + name + "\" Type=\"tt:Motion" + kind +
           "\"><tt:Parameters><tt:SimpleItem Name=\"PtzPreset\" Value=\"" + name + "\"/></tt:Parameters></" + element +
           ">";
}

std::string documentText(const std::string& modules, const std::string& rules)
{
    return kit::document({modules}, {rules});
}

class AwkwardNameTest : public kit::PlatformTest, public ::testing::WithParamInterface<NameRow> {
protected:
    AwkwardNameTest()
    {
        platform().positioning.available = true;
        start();
    }

    void start()
    {
        _target.reset();
        _engine = std::make_shared<kit::FakeEngine>("Motion");
        _target = std::make_unique<OnvifTarget>(platform().logHandle(),
                                                std::vector<std::shared_ptr<analytics_lib::IOnvifAnalytics>>{_engine});
        journal().clear();
    }

    using Query = int (OnvifTarget::*)(char***);
    using Change = int (OnvifTarget::*)(char**, unsigned int*);

    std::vector<std::string> ask(Query query)
    {
        char** list = nullptr;
        EXPECT_EQ((_target.get()->*query)(&list), 0);
        return kit::takeList(list);
    }

    unsigned int change(Change operation, const std::string& text)
    {
        kit::InputList list{text};
        unsigned int status = 99;
        (_target.get()->*operation)(list, &status);
        return status;
    }

    bool setConfiguration(const std::string& text)
    {
        unsigned char failed = 9;
        return _target->setConfiguration(text.c_str(), &failed) == 0 && failed == 0;
    }

    std::string current()
    {
        char* text = nullptr;
        _target->getCurrentConfiguration(&text);
        return kit::takeText(text);
    }

    std::string ofPreset(const std::string& preset)
    {
        char* text = nullptr;
        _target->getPtzPresetConfiguration(preset.c_str(), &text);
        return kit::takeText(text);
    }

    /// Key and text of the only setting in the stored document.
    static std::pair<std::string, std::string> stored()
    {
        const json::Array document = json::Reader::Read(platform().settings.analytics());
        if (document.Size() != 1) {
            return {"(not one setting)", platform().settings.analytics()};
        }
        const json::Object& setting = document[0];
        const std::string_view key = setting["key"];
        const std::string_view config = setting["config"];
        return {std::string(key), std::string(config)};
    }

    /// The preset event and what it activates: current configuration, log lines, the engine's event.
    void expectNameAtItsPreset(const std::string& configuration)
    {
        journal().clear();
        _target->handlePresetStateEvent(2, kept);
        EXPECT_THAT(
            journal().logs(),
            Contains("log 6 \"handlePresetStateEvent ---------->Start Analytics for ptz preset " + kept + "\""));
        EXPECT_THAT(journal().logs(), Contains("log 6 \"activateRuleSet:reconfig with key Motion" + kept + "\""));
        EXPECT_EQ(current(), kit::merged(configuration));
        EXPECT_EQ(ofPreset(kept), kit::merged(configuration));
        EXPECT_THAT(journal().logs(),
                    Contains("log 6 \"mergeConfigurations Key Motion" + kept + ": config " + configuration + "\""));

        journal().clear();
        _engine->raise("tns1:RuleEngine/" + kept, "Rule=" + kept, "State=" + kept);
        EXPECT_THAT(journal().all(),
                    ElementsAre("log 6 \"Generating event for Rule=" + kept + "\"",
                                "sendEvent(tns1:RuleEngine/" + kept + ", Rule=" + kept + ", State=" + kept + ") -> 0"));
    }

    void expectLifeOfSingle(const char* element, Change create, Change modify, Query query)
    {
        ASSERT_EQ(change(create, componentText(element, sent)), 0u);
        EXPECT_THAT(ask(&OnvifTarget::getUsedPtzPresets), ElementsAre(kept));
        EXPECT_THAT(ask(query), ElementsAre(componentText(element, given)));
        EXPECT_EQ(stored().first, "Motion" + kept);

        start();
        const std::string single = componentText(element, given);
        EXPECT_THAT(ask(query), ElementsAre(single));
        EXPECT_EQ(ofPreset(kept), kit::merged(element == kRule ? documentText("", single) : documentText(single, "")));
        EXPECT_EQ(change(modify, componentText(element, sent)), 0u);
        EXPECT_THAT(ask(query), ElementsAre(single));
    }

    void expectStored(const std::string& configuration)
    {
        EXPECT_EQ(stored().first, "Motion" + kept);
        EXPECT_EQ(stored().second, configuration);
    }

    const std::string sent = GetParam().sent;
    const std::string kept = GetParam().kept;
    const std::string given = GetParam().given;

private:
    std::shared_ptr<kit::FakeEngine> _engine;
    std::unique_ptr<OnvifTarget> _target;

protected:
    OnvifTarget& target() { return *_target; }
};

TEST_P(AwkwardNameTest, livesInAWholeConfiguration)
{
    const std::string configuration = documentText(componentText(kModule, given), componentText(kRule, given));
    ASSERT_TRUE(setConfiguration(documentText(componentText(kModule, sent), componentText(kRule, sent))));
    EXPECT_THAT(journal().logs(), Contains("log 6 \"Analytics settings key ptzPreset is " + kept + "\""));
    EXPECT_THAT(journal().logs(),
                Contains("log 6 \"Analytics Setting Key Motion" + kept + ": " + configuration + "\""));
    EXPECT_THAT(ask(&OnvifTarget::getUsedPtzPresets), ElementsAre(kept));
    EXPECT_THAT(ask(&OnvifTarget::getCurrentRules), ElementsAre(componentText(kRule, given)));
    EXPECT_THAT(ask(&OnvifTarget::getCurrentEngines), ElementsAre(componentText(kModule, given)));
    expectNameAtItsPreset(configuration);
    expectStored(configuration);

    start();
    EXPECT_THAT(ask(&OnvifTarget::getUsedPtzPresets), IsEmpty());
    EXPECT_THAT(ask(&OnvifTarget::getCurrentRules), ElementsAre(componentText(kRule, given)));
    EXPECT_THAT(ask(&OnvifTarget::getCurrentEngines), ElementsAre(componentText(kModule, given)));
    expectNameAtItsPreset(configuration);
    expectStored(configuration);
}

TEST_P(AwkwardNameTest, isStoredTheSameWhenItComesBackFromAQuery)
{
    ASSERT_TRUE(setConfiguration(documentText(componentText(kModule, sent), componentText(kRule, sent))));
    const std::string configuration = ofPreset(kept);
    const auto [key, text] = stored();
    ASSERT_TRUE(setConfiguration(configuration));
    EXPECT_EQ(ofPreset(kept), configuration);
    // The answer declares the prefix, and so does what is stored of it.
    constexpr std::string_view kTag = "<tt:VideoAnalyticsConfiguration>";
    EXPECT_EQ(stored(),
              std::make_pair(key, analytics_lib::IOnvifAnalytics::kVideoAnalyticHeader + text.substr(kTag.size())));
}

TEST_P(AwkwardNameTest, livesInASingleRule)
{
    expectLifeOfSingle(kRule, &OnvifTarget::createRules, &OnvifTarget::modifyRules, &OnvifTarget::getCurrentRules);
}

TEST_P(AwkwardNameTest, livesInASingleModule)
{
    expectLifeOfSingle(kModule, &OnvifTarget::createEngines, &OnvifTarget::modifyEngines,
                       &OnvifTarget::getCurrentEngines);
}

TEST_P(AwkwardNameTest, namesWhatIsDeleted)
{
    ASSERT_TRUE(setConfiguration(documentText("", componentText(kRule, sent))));
    start();
    EXPECT_EQ(change(&OnvifTarget::deleteRules, kept), 0u);
    EXPECT_THAT(ask(&OnvifTarget::getCurrentRules), IsEmpty());
    EXPECT_EQ(change(&OnvifTarget::deleteRules, kept), 5u);
}

TEST_P(AwkwardNameTest, namesThePresetThatIsRemoved)
{
    ASSERT_TRUE(setConfiguration(documentText("", componentText(kRule, sent))));
    journal().clear();
    target().handlePresetModifiedEvent(kept);
    EXPECT_THAT(journal().logs(), ElementsAre("log 6 \"handlePresetModifiedEvent ---------->Delete Analytics ptz "
                                              "preset Motion" +
                                              kept + "\""));
    EXPECT_THAT(ask(&OnvifTarget::getCurrentRules), IsEmpty());
    EXPECT_EQ(ofPreset(kept), kit::merged(documentText("", "")));
    EXPECT_THAT(journal().logs(), Contains("log 7 \"Could not find setting Motion" + kept + "\""));
}

std::string titleOf(const ::testing::TestParamInfo<NameRow>& info)
{
    std::string title;
    for (const char character : info.param.title) {
        title += std::isalnum(static_cast<unsigned char>(character)) != 0 ? character : '_';
    }
    return title;
}

INSTANTIATE_TEST_SUITE_P(Page, AwkwardNameTest, ::testing::ValuesIn(readNames(NAMES_PAGE)), titleOf);

TEST(AwkwardNamesPage, holdsEveryKindOfName)
{
    const std::vector<NameRow> rows = readNames(NAMES_PAGE);
    EXPECT_GE(rows.size(), 50u);
    const auto changed =
        std::count_if(rows.begin(), rows.end(), [](const NameRow& row) { return row.sent != row.kept; });
    EXPECT_GE(changed, 15);
}

} // namespace

} // namespace hostile
