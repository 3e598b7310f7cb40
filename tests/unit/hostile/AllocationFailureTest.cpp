// Operations of the target and a start, when memory runs out on the way: they answer, or std::bad_alloc leaves them;
// the store holds a document that was handed over whole; no lock stays; the next operation works.

#include "AllocationFailure.h"
#include "Answers.h"
#include "Xml.h"
#include "kit/Configuration.h"
#include "kit/ServiceLists.h"
#include "plugin/DetectionPlugin.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace hostile {

namespace {

using korva::meridan::OnvifTarget;
using ::testing::AnyOf;
using ::testing::AnyOfArray;

class ChangeWithoutMemoryTest : public AllocationFailureTest {
protected:
    /// A change of something else writes everything that memory holds; the settings that were there are among it.
    static Settings storedByTheNextChange(BombDevice& device)
    {
        EXPECT_EQ(callWithList(device.target(), &OnvifTarget::createRules,
                               {component("Next", item("PtzPreset", "Elsewhere"))}),
                  0u);
        Settings settings = stored();
        EXPECT_EQ(settings.erase("PlainElsewhere"), 1u);
        return settings;
    }
};

TEST_F(ChangeWithoutMemoryTest, setsAConfigurationOrLeavesWhatWas)
{
    const std::string text = configurationOf("P3") + " ";
    const std::string changed = configurationOf("P3");
    Settings before = twoSettings();
    Settings after = before;
    after["PlainP3"] = changed;
    Settings emptied = before; // the text was taken and could not be read again for storing
    emptied["PlainP3"] = "";

    forEveryAllocation("setConfiguration", [&] {
        BombDevice device;
        device.target().handlePresetStateEvent(2, "P3");
        unsigned char failed = 9;
        int result = 9;
        const Ending ending = attempt([&] { result = device.target().setConfiguration(text.c_str(), &failed); });
        const bool refused = kit::memoryWasRefused();

        ASSERT_NE(ending, Ending::kOtherException);
        if (ending == Ending::kNoMemory) {
            EXPECT_EQ(failed, 1);
            EXPECT_THAT(stored(), AnyOf(before, after));
        } else if (result == 1) {
            EXPECT_EQ(failed, 1);
            EXPECT_EQ(stored(), before);
        } else {
            EXPECT_EQ(failed, 0);
            EXPECT_THAT(stored(), AnyOf(after, emptied));
        }
        if (!refused) {
            EXPECT_EQ(stored(), after);
        }
        expectLocksReleased(device.target());
        const Settings atFirst = stored();
        EXPECT_THAT(storedByTheNextChange(device), AnyOf(atFirst, after));
        EXPECT_EQ(setConfiguration(device.target(), text), "0/0");
        EXPECT_EQ(stored().at("PlainP3"), changed);
        EXPECT_TRUE(device.isActive());
    });
}

TEST_F(ChangeWithoutMemoryTest, replacesAConfigurationOrLeavesWhatWas)
{
    const std::string changed = documentOf(component("Changed", item("PtzPreset", "P2")));
    const Settings before = twoSettings();
    Settings after = before;
    after["PlainP2"] = changed;
    Settings emptied = before;
    emptied["PlainP2"] = "";

    forEveryAllocation("setConfiguration-again", [&] {
        BombDevice device;
        unsigned char failed = 9;
        int result = 9;
        const Ending ending = attempt([&] { result = device.target().setConfiguration(changed.c_str(), &failed); });
        ASSERT_NE(ending, Ending::kOtherException);
        EXPECT_EQ(failed, ending == Ending::kReturned && result == 0 ? 0 : 1);
        EXPECT_THAT(stored(), failed == 0 ? AnyOf(after, emptied) : AnyOf(before, after));
        expectLocksReleased(device.target());
        EXPECT_EQ(setConfiguration(device.target(), changed), "0/0");
        EXPECT_EQ(stored(), after);
    });
}

class ListWithoutMemoryTest : public ChangeWithoutMemoryTest {
protected:
    static Settings with(Settings settings, const std::string& key, const std::string& rules)
    {
        settings[key] = kit::document({}, {rules});
        return settings;
    }

    /// A record whose parameters could not be read for want of memory has no preset and no key, as one whose
    /// parameters cannot be read at all.
    void expectWholeSteps(const std::string& name, ListOperation operation)
    {
        const std::string third = component("Third", item("PtzPreset", "P3"));
        const std::string fourth = component("Fourth", item("PtzPreset", "P4"));
        kit::InputList list{third, fourth};
        const Settings before = twoSettings();
        const std::vector<Settings> firstStored = {with(before, "PlainP3", third), with(before, "", third)};
        const Settings both = with(firstStored[0], "PlainP4", fourth);
        const std::vector<Settings> bothStored = {both, with(firstStored[1], "PlainP4", fourth),
                                                  with(firstStored[0], "", fourth)};
        const auto anyStep = AnyOf(before, AnyOfArray(firstStored), AnyOfArray(bothStored));

        forEveryAllocation(name, [&] {
            BombDevice device(Content::kReal);
            unsigned int status = 9;
            const Ending ending = attempt([&] { (device.target().*operation)(list, &status); });
            const bool refused = kit::memoryWasRefused();
            ASSERT_NE(ending, Ending::kOtherException);
            if (ending == Ending::kNoMemory) {
                EXPECT_EQ(status, 1u);
                EXPECT_THAT(stored(), anyStep);
            } else if (status == 0) {
                EXPECT_THAT(stored(), AnyOfArray(bothStored));
                EXPECT_TRUE(refused || stored() == both);
            } else {
                EXPECT_EQ(status, 4u);
                EXPECT_EQ(stored(), before);
            }
            expectLocksReleased(device.target());
            EXPECT_THAT(storedByTheNextChange(device), anyStep);
            EXPECT_EQ(callWithList(device.target(), operation, {third, fourth}), 0u);
            Settings settings = stored();
            settings.erase("PlainElsewhere");
            settings.erase("");
            EXPECT_EQ(settings, both);
        });
    }
};

TEST_F(ListWithoutMemoryTest, createsRulesOneByOneOrStops)
{
    expectWholeSteps("createRules", &OnvifTarget::createRules);
}

TEST_F(ListWithoutMemoryTest, modifiesRulesOneByOneOrStops)
{
    expectWholeSteps("modifyRules", &OnvifTarget::modifyRules);
}

TEST_F(ListWithoutMemoryTest, deletesRulesOneByOneOrStops)
{
    const std::vector<std::string> rules = {component("Third", item("PtzPreset", "P3")),
                                            component("Fourth", item("PtzPreset", "P4"))};
    kit::InputList names{"Third", "Fourth"};
    Settings before = twoSettings();
    before["PlainP3"] = kit::document({}, {rules[0]});
    before["PlainP4"] = kit::document({}, {rules[1]});
    Settings first = before;
    first["PlainP3"] = "";
    Settings both = first;
    both["PlainP4"] = "";

    forEveryAllocation("deleteRules", [&] {
        BombDevice device(Content::kReal);
        ASSERT_EQ(callWithList(device.target(), &OnvifTarget::createRules, rules), 0u);
        unsigned int status = 9;
        const Ending ending = attempt([&] { device.target().deleteRules(names, &status); });
        const bool refused = kit::memoryWasRefused();
        ASSERT_NE(ending, Ending::kOtherException);
        if (ending == Ending::kNoMemory) {
            EXPECT_EQ(status, 9u);
            EXPECT_THAT(stored(), AnyOf(before, first, both));
        } else {
            EXPECT_EQ(status, 0u);
            EXPECT_EQ(stored(), both);
        }
        EXPECT_TRUE(refused || ending == Ending::kReturned);
        expectLocksReleased(device.target());
        EXPECT_EQ(callWithList(device.target(), &OnvifTarget::createRules, rules), 0u);
        EXPECT_EQ(callWithList(device.target(), &OnvifTarget::deleteRules, {"Third", "Fourth"}), 0u);
        EXPECT_EQ(stored(), both);
    });
}

class QueryWithoutMemoryTest : public AllocationFailureTest {
protected:
    using Texts = std::vector<std::string>;

    /// A list query gives one of `answers`, or the null list, or std::bad_alloc leaves it; nothing stays allocated.
    void expectAnswers(const std::string& name, ListQuery query, const std::vector<Texts>& answers)
    {
        forEveryAllocation(name, [&] {
            BombDevice device;
            setConfiguration(device.target(), configurationOf("P1"));
            setConfiguration(device.target(), configurationOf("P2"));
            ask(device.target(), query);
            const kit::HeapMeter meter;
            char** list = nullptr;
            const Ending ending = attempt([&] { (device.target().*query)(&list); });
            const bool refused = kit::memoryWasRefused();
            const bool none = list == nullptr;
            std::size_t entries = 0;
            {
                const Texts given = none ? Texts() : kit::takeList(list);
                entries = given.size();
                EXPECT_THAT(given, AnyOf(Texts(), AnyOfArray(answers)));
                EXPECT_TRUE(refused || given == answers.front());
            }
            EXPECT_EQ(meter.use().keptBytes, 0) << "with " << entries << " entries";
            ASSERT_NE(ending, Ending::kOtherException);
            EXPECT_TRUE(none || ending == Ending::kReturned);
            expectLocksReleased(device.target());
            EXPECT_EQ(ask(device.target(), query), answers.front());
        });
    }

    static Texts rulesOf(const std::string& preset)
    {
        return {component("First" + preset, item("PtzPreset", preset) + item("Active", "true")),
                component("Second" + preset, item("PtzPreset", preset))};
    }

    static Texts joined(Texts first, const Texts& second)
    {
        first.insert(first.end(), second.begin(), second.end());
        return first;
    }
};

TEST_F(QueryWithoutMemoryTest, givesTheCapabilitiesOrNothing)
{
    expectAnswers("getEventTopics", &OnvifTarget::getEventTopics, {{"tns1:RuleEngine/PlainDetector/Motion"}});
    expectAnswers("getSupportedRules", &OnvifTarget::getSupportedRules, {{"tt:PlainRuleOfTheTests", "tt:Other"}});
    expectAnswers("getSupportedEngines", &OnvifTarget::getSupportedEngines, {{"tt:PlainModuleOfTheTests"}});
}

// A configuration that there is no memory to read contributes nothing, as one that cannot be read.
TEST_F(QueryWithoutMemoryTest, givesTheRulesOfWholeConfigurationsOrNothing)
{
    expectAnswers("getCurrentRules", &OnvifTarget::getCurrentRules,
                  {joined(rulesOf("P1"), rulesOf("P2")), rulesOf("P1"), rulesOf("P2"), {}});
}

TEST_F(QueryWithoutMemoryTest, givesTheModulesOrNothing)
{
    expectAnswers("getCurrentEngines", &OnvifTarget::getCurrentEngines, {{}});
}

TEST_F(QueryWithoutMemoryTest, givesTheUsedPresetsOrNothing)
{
    expectAnswers("getUsedPtzPresets", &OnvifTarget::getUsedPtzPresets, {{"P1", "P2"}});
}

TEST_F(QueryWithoutMemoryTest, givesAPresetsConfigurationOrNothing)
{
    const std::string whole = kit::merged(kit::document({}, rulesOf("P2")));
    const std::string none = kit::merged(kit::document({}, {}));
    for (const bool ofPreset : {true, false}) {
        forEveryAllocation(ofPreset ? "getPtzPresetConfiguration" : "getCurrentConfiguration", [&] {
            BombDevice device;
            device.target().handlePresetStateEvent(2, "P2");
            const kit::HeapMeter meter;
            char* text = nullptr;
            const Ending ending = attempt([&] {
                if (ofPreset) {
                    device.target().getPtzPresetConfiguration("P2", &text);
                } else {
                    device.target().getCurrentConfiguration(&text);
                }
            });
            const bool refused = kit::memoryWasRefused();
            EXPECT_TRUE(text == nullptr || text == whole || (refused && text == none)) << text;
            EXPECT_TRUE(refused || text != nullptr);
            std::free(text);
            EXPECT_EQ(meter.use().keptBytes, 0);
            ASSERT_NE(ending, Ending::kOtherException);
            expectLocksReleased(device.target());
            EXPECT_EQ(presetConfiguration(device.target(), "P2"), whole);
        });
    }
}

class StartWithoutMemoryTest : public AllocationFailureTest {
protected:
    /// A start that fails leaves the stored settings for the next one, which finds them all.
    static void expectNextStart()
    {
        EXPECT_EQ(kit::platform().settings.writes, 0u);
        EXPECT_EQ(stored(), twoSettings());
        BombDevice next;
        EXPECT_EQ(next.engine().notReturned(), 2);
        EXPECT_EQ(ask(next.target(), &OnvifTarget::getCurrentRules).size(), 4u);
    }
};

TEST_F(StartWithoutMemoryTest, buildsTheTargetOrThrows)
{
    for (const bool hasServices : {true, false}) {
        forEveryAllocation(hasServices ? "start" : "start-without-services", [&] {
            const auto engine = plainEngine();
            if (!hasServices) {
                kit::platform().targetIds.clear();
            }
            std::unique_ptr<OnvifTarget> target;
            const Ending ending = attempt([&] {
                target = std::make_unique<OnvifTarget>(
                    nullptr, std::vector<std::shared_ptr<analytics_lib::IOnvifAnalytics>>{engine});
            });
            const bool refused = kit::memoryWasRefused();
            ASSERT_NE(ending, Ending::kOtherException);
            EXPECT_EQ(target != nullptr, ending == Ending::kReturned);
            if (target != nullptr) {
                EXPECT_TRUE(refused || engine->notReturned() == 2);
                expectLocksReleased(*target);
            }
            target.reset();
            EXPECT_EQ(engine->activeRuleSet(), 0);
            expectNextStart();
        });
    }
}

TEST_F(StartWithoutMemoryTest, buildsThePluginOrThrows)
{
    const korva::meridan::IPluginConfiguration configuration;
    forEveryAllocation("plug-in", [&] {
        const auto engine = plainEngine();
        kit::platform().engineLibrary.engines = {engine};
        std::unique_ptr<korva::meridan::PipelinePlugin> plugin;
        const Ending ending =
            attempt([&] { plugin.reset(korva::meridan::createDetectionPlugin(nullptr, configuration)); });
        const bool refused = kit::memoryWasRefused();
        ASSERT_NE(ending, Ending::kOtherException);
        EXPECT_EQ(plugin != nullptr, ending == Ending::kReturned);
        EXPECT_EQ(!kit::platform().framework.serving.empty(), plugin != nullptr);
        EXPECT_TRUE(refused || engine->notReturned() == 2);
        plugin.reset();
        kit::platform().engineLibrary = {};
        EXPECT_TRUE(kit::platform().framework.serving.empty());
        EXPECT_EQ(engine.use_count(), 1) << "somebody still holds the engine";
        expectNextStart();
    });
}

} // namespace

} // namespace hostile
