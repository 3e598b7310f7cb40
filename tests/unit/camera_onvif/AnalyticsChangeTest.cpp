#include "camera/onvif/AnalyticsChange.h"

#include "FakeAnalyticsService.h"
#include "camera/onvif/Fault.h"
#include "camera/onvif/StoredConfigurations.h"

#include <gmock/gmock.h>

#include <random>

namespace camera::onvif {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

const std::vector<EngineTypes> kEngines = {{"Simple", {"tt:CellMotionEngine"}, {"tt:CellMotionDetector"}},
                                           {"Motion", {"vca:MotionRegionEngine"}, {"tt:MotionRegionDetector"}}};

std::string item(const std::string& name, const std::string& value)
{
    return "<tt:SimpleItem Name=\"" + name + "\" Value=\"" + value + "\"/>";
}

std::string rule(const std::string& name, const std::string& items = "",
                 const std::string& type = "tt:MotionRegionDetector")
{
    return "<tt:Rule Name=\"" + name + "\" Type=\"" + type + "\"><tt:Parameters>" + items +
           "</tt:Parameters></tt:Rule>";
}

std::string module(const std::string& name, const std::string& items = "",
                   const std::string& type = "vca:MotionRegionEngine")
{
    return "<tt:AnalyticsModule Name=\"" + name + "\" Type=\"" + type + "\"><tt:Parameters>" + items +
           "</tt:Parameters></tt:AnalyticsModule>";
}

class AnalyticsChangeTest : public testing::Test {
protected:
    AnalyticsView view() const
    {
        AnalyticsView view;
        view.engines = kEngines;
        view.components = _service.components();
        view.presets = {"Gate", "Door"};
        view.moves = _moves;
        view.limitsOf = [this](bool, const std::string&) { return TypeLimits{_most, _fixed}; };
        return view;
    }

    /// Puts a document into the service, as a file does.
    void given(const std::string& elements)
    {
        ASSERT_TRUE(_service.setConfiguration("<tt:VideoAnalyticsConfiguration>" + elements +
                                              "</tt:VideoAnalyticsConfiguration>"));
    }

    using Operation = AnalyticsChange (*)(const AnalyticsView&, bool, const std::vector<pugi::xml_node>&);

    /// Performs an operation on a list of elements; the last subcode and reason of its fault, or "".
    std::string change(Operation operation, bool rules, const std::string& elements)
    {
        pugi::xml_document document;
        document.append_buffer(elements.data(), elements.size());
        std::vector<pugi::xml_node> nodes(document.begin(), document.end());
        return perform([&] { return operation(view(), rules, nodes); });
    }

    std::string remove(bool rules, const std::vector<std::string>& names)
    {
        return perform([&] { return deleted(view(), rules, names); });
    }

    template <class Make>
    std::string perform(const Make& make)
    {
        const PlacedComponents before = _service.components();
        try {
            for (const AnalyticsStep& step : stepsOf(make(), before)) {
                EXPECT_TRUE(_service.perform(step));
            }
        } catch (const Fault& fault) {
            return fault.subcodes.back() + ": " + fault.what();
        }
        EXPECT_TRUE(_service.isStored());
        return "";
    }

    /// "rule A at Motion/Gate"
    std::vector<std::string> now() const
    {
        std::vector<std::string> texts;
        for (const PlacedComponent& each : _service.components()) {
            texts.push_back((each.isRule ? "rule " : "module ") + each.name + " at " + each.key.engine + "/" +
                            each.key.preset);
        }
        return texts;
    }

    std::string xmlOf(const std::string& name) const
    {
        for (const PlacedComponent& each : _service.components()) {
            if (each.name == name) {
                return each.xml;
            }
        }
        return "none";
    }

    std::vector<std::string> publicNow() const { return publicNames(_service.components()); }

    FakeAnalyticsService _service{kEngines};
    bool _moves = true;
    std::size_t _most = 1000;
    bool _fixed = false;
};

TEST_F(AnalyticsChangeTest, createsAtAPresetAndAwayFromPresets)
{
    EXPECT_EQ("", change(created, true,
                         rule("A", item("PresetToken", "Gate")) + rule("B") + rule("C", "", "tt:CellMotionDetector")));
    EXPECT_THAT(now(), UnorderedElementsAre("rule A at Motion/Gate",
                                            std::string("rule B at Motion/") + kAwayFromPresets, "rule C at Simple/"));
    EXPECT_THAT(xmlOf("A"), HasSubstr(item("PtzPreset", "Gate")));
    EXPECT_THAT(xmlOf("A"), Not(HasSubstr("PresetToken")));
    EXPECT_THAT(xmlOf("C"), Not(HasSubstr("PtzPreset")));
}

TEST_F(AnalyticsChangeTest, hasOnePlaceOnACameraThatDoesNotMove)
{
    _moves = false;
    EXPECT_EQ("", change(created, true, rule("A", item("PtzPreset", "Gate"))));
    EXPECT_THAT(now(), ElementsAre("rule A at Motion/"));
}

TEST_F(AnalyticsChangeTest, keepsWhatStandsBesideANewOne)
{
    given(module("M", item("PtzPreset", "Gate") + item("Sensitivity", "7")));
    EXPECT_EQ("", change(created, true, rule("A", item("PresetToken", "Gate"))));
    EXPECT_THAT(now(), ElementsAre("module M at Motion/Gate", "rule A at Motion/Gate"));
    EXPECT_THAT(xmlOf("M"), HasSubstr("Value=\"7\""));
}

TEST_F(AnalyticsChangeTest, refusesAWholeListForOneOfIt)
{
    given(rule("A"));
    const auto refused = [this](const std::string& second) {
        const std::string refusal = change(created, true, rule("New") + second);
        EXPECT_THAT(now(), ElementsAre("rule A at Motion/")) << second;
        return refusal;
    };
    EXPECT_THAT(refused(rule("A")), HasSubstr("ter:RuleAlreadyExistent: a rule or module 'A'"));
    EXPECT_THAT(refused(rule("New")), HasSubstr("ter:RuleAlreadyExistent"));
    EXPECT_THAT(refused(rule("")), HasSubstr("ter:InvalidRule"));
    EXPECT_THAT(refused(rule("a@b")), HasSubstr("ter:InvalidRule"));
    EXPECT_THAT(refused(rule(std::string(1025, 'a'))), HasSubstr("ter:InvalidRule"));
    EXPECT_THAT(refused(rule("B", "", "tt:Unknown")), HasSubstr("ter:InvalidRule: no engine knows the type"));
    EXPECT_THAT(refused(rule("B", "", "vca:MotionRegionEngine")), HasSubstr("ter:InvalidRule"));
    EXPECT_THAT(refused(rule("B", item("PresetToken", "Nowhere"))), HasSubstr("the camera has no preset 'Nowhere'"));
    EXPECT_THAT(change(created, false, module("A")), HasSubstr("ter:NameAlreadyExistent"));
    EXPECT_THAT(change(created, false, module("M", "", "tt:Unknown")), HasSubstr("ter:InvalidModule"));
    EXPECT_THAT(change(modified, true, rule("B")), HasSubstr("ter:RuleNotExistent: there is no rule 'B'"));
    EXPECT_THAT(change(modified, false, module("A")), HasSubstr("ter:NameNotExistent: there is no module 'A'"));
    EXPECT_THAT(change(modified, true, rule("A") + rule("A")), HasSubstr("ter:InvalidRule: 'A' stands twice"));
    EXPECT_THAT(change(modified, true, rule("A", "", "tt:CellMotionDetector")), HasSubstr("ter:TypeChangeProhibited"));
    EXPECT_THAT(remove(true, {"A", "B"}), HasSubstr("ter:RuleNotExistent"));
    EXPECT_THAT(remove(false, {"A"}), HasSubstr("ter:NameNotExistent"));
    EXPECT_THAT(now(), ElementsAre("rule A at Motion/"));
}

TEST_F(AnalyticsChangeTest, hasSoManyOfATypeAtAPlace)
{
    _most = 2;
    EXPECT_EQ("", change(created, true, rule("A") + rule("B")));
    EXPECT_THAT(change(created, true, rule("C")), HasSubstr("ter:TooManyRules"));
    EXPECT_EQ("", change(created, true, rule("C", item("PresetToken", "Gate"))));
    EXPECT_EQ("", change(created, false, module("M") + module("N")));
    EXPECT_THAT(change(created, false, module("O")), HasSubstr("ter:TooManyModules"));
    EXPECT_EQ("", change(modified, true, rule("A", item("x", "1"))));
}

TEST_F(AnalyticsChangeTest, changesWhatIsNamedAndNothingElse)
{
    given(rule("A", item("PtzPreset", "Gate") + item("x", "1") + item("y", "2") +
                        "<tt:ElementItem Name=\"Field\"><tt:Polygon/></tt:ElementItem>"));
    EXPECT_EQ("", change(modified, true, rule("A", item("y", "3"))));
    EXPECT_THAT(xmlOf("A"), HasSubstr("<tt:Parameters>" + item("PtzPreset", "Gate") + item("y", "3") + item("x", "1") +
                                      "<tt:ElementItem Name=\"Field\"><tt:Polygon/></tt:ElementItem></tt:Parameters>"));
    EXPECT_EQ("", change(modified, true, rule("A", "<tt:ElementItem Name=\"Field\"/>")));
    EXPECT_THAT(xmlOf("A"), HasSubstr(item("y", "3") + item("x", "1") + "<tt:ElementItem Name=\"Field\"/>"));
    EXPECT_THAT(now(), ElementsAre("rule A at Motion/Gate"));
}

TEST_F(AnalyticsChangeTest, takesAParameterThatStandsSeveralTimesAsAWhole)
{
    given(rule("A", item("Segments", "1") + item("Segments", "2") + item("z", "0")));
    EXPECT_EQ("", change(modified, true, rule("A", item("Segments", "3"))));
    EXPECT_THAT(xmlOf("A"), HasSubstr("<tt:Parameters>" + item("Segments", "3") + item("z", "0")));
    EXPECT_EQ("", change(modified, true, rule("A", item("z", "1"))));
    EXPECT_THAT(xmlOf("A"), HasSubstr(item("Segments", "3")));
}

TEST_F(AnalyticsChangeTest, movesARuleToAnotherPlace)
{
    given(rule("A", item("PtzPreset", "Gate") + item("x", "1")));
    given(rule("B", item("PtzPreset", "Door")));
    EXPECT_EQ("", change(modified, true, rule("A", item("PresetToken", "Door"))));
    EXPECT_THAT(now(), UnorderedElementsAre("rule B at Motion/Door", "rule A at Motion/Door"));
    EXPECT_THAT(xmlOf("A"), HasSubstr(item("x", "1")));
    EXPECT_EQ("", change(modified, true, rule("A", item("PresetToken", ""))));
    EXPECT_THAT(now(),
                UnorderedElementsAre("rule B at Motion/Door", std::string("rule A at Motion/") + kAwayFromPresets));
}

TEST_F(AnalyticsChangeTest, leavesARuleOfAFileWhereItIs)
{
    given(rule("A", item("x", "1")));
    EXPECT_EQ("", change(modified, true, rule("A", item("PresetToken", "") + item("x", "2"))));
    EXPECT_THAT(now(), ElementsAre("rule A at Motion/"));
}

TEST_F(AnalyticsChangeTest, deletesOneOfADocumentAndTheLastOne)
{
    given(module("M") + rule("A") + rule("B"));
    EXPECT_EQ("", remove(true, {"A"}));
    EXPECT_THAT(now(), ElementsAre("module M at Motion/", "rule B at Motion/"));
    EXPECT_EQ("", remove(true, {"B", "B"}));
    EXPECT_EQ("", remove(false, {"M"}));
    EXPECT_THAT(now(), IsEmpty());
    given(module("M") + rule("A"));
    EXPECT_EQ("", remove(false, {"M"}));
    EXPECT_EQ("", remove(true, {"A"}));
    EXPECT_THAT(now(), IsEmpty());
}

TEST_F(AnalyticsChangeTest, tellsDoublesApart)
{
    given(rule("A", item("PtzPreset", "Gate")) + rule("B", item("PtzPreset", "Gate")));
    given(rule("A"));
    given(rule("A", item("PtzPreset", "Gate"), "tt:CellMotionDetector"));
    EXPECT_THAT(publicNow(), UnorderedElementsAre("A@Gate@Motion", "B", "A@", "A@Gate@Simple"));
    EXPECT_THAT(remove(true, {"A"}), HasSubstr("ter:RuleNotExistent"));
    EXPECT_EQ("", remove(true, {"A@Gate@Motion"}));
    EXPECT_THAT(now(), UnorderedElementsAre("rule B at Motion/Gate", "rule A at Motion/", "rule A at Simple/Gate"));
    EXPECT_EQ("", change(modified, true, rule("A@", item("x", "1"))));
    EXPECT_EQ("", remove(true, {"A@"}));
    EXPECT_THAT(now(), UnorderedElementsAre("rule B at Motion/Gate", "rule A at Simple/Gate"));
    EXPECT_THAT(publicNow(), UnorderedElementsAre("B", "A"));
    EXPECT_EQ("", remove(true, {"A"}));
    EXPECT_THAT(now(), ElementsAre("rule B at Motion/Gate"));
}

TEST_F(AnalyticsChangeTest, deletesTheLastRuleThatHasTheNameOfAModuleElsewhere)
{
    given(module("A", "", "tt:CellMotionEngine"));
    given(rule("A", item("PtzPreset", "Gate")));
    EXPECT_EQ("", remove(true, {"A@Gate"}));
    EXPECT_THAT(now(), ElementsAre("module A at Simple/"));
}

TEST_F(AnalyticsChangeTest, deletesADocumentOfManyInTwoSteps)
{
    std::string many = module("M");
    for (const std::string name : {"A", "B", "C", "D", "E"}) {
        many += rule(name);
    }
    given(many);
    const AnalyticsView before = view();
    AnalyticsChange all{{{"Motion", ""}}, {}};
    const std::vector<AnalyticsStep> steps = stepsOf(all, before.components);
    ASSERT_EQ(2U, steps.size());
    EXPECT_THAT(steps[0].document, AllOf(HasSubstr("\"M\""), Not(HasSubstr("tt:Rule "))));
    EXPECT_THAT(steps[1].names, ElementsAre("M"));
    given(module("M") + rule("A") + rule("B") + rule("C"));
    EXPECT_EQ(1U, stepsOf(all, view().components).size());
}

TEST_F(AnalyticsChangeTest, numbersWhatEvenPlaceAndEngineDoNotTellApart)
{
    given(module("A") + rule("A"));
    EXPECT_THAT(publicNow(), ElementsAre("A@@Motion#1", "A@@Motion#2"));
    EXPECT_EQ("", remove(true, {"A@@Motion#2"}));
    EXPECT_EQ("", remove(false, {"A"}));
    EXPECT_THAT(now(), IsEmpty());
}

TEST_F(AnalyticsChangeTest, canBeUndone)
{
    given(module("M") + rule("A", item("x", "1")));
    given(rule("B", item("PtzPreset", "Gate")));
    const AnalyticsView before = view();
    const AnalyticsChange change = deleted(before, true, {"A", "B"});
    for (const AnalyticsStep& step : stepsOf(change, before.components)) {
        ASSERT_TRUE(_service.perform(step));
    }
    EXPECT_THAT(now(), ElementsAre("module M at Motion/"));
    for (const AnalyticsStep& step : stepsOf(undone(change, before.components), _service.components())) {
        ASSERT_TRUE(_service.perform(step));
    }
    EXPECT_THAT(now(), UnorderedElementsAre("module M at Motion/", "rule A at Motion/", "rule B at Motion/Gate"));
    EXPECT_THAT(xmlOf("A"), HasSubstr("Value=\"1\""));
    EXPECT_TRUE(_service.isStored());
}

/// Random lists beside a model that only knows names: after each the service has what the model has, and would have it
/// after a restart too.
TEST_F(AnalyticsChangeTest, agreesWithAModelOverRandomLists)
{
    std::mt19937 random(20260101);
    const auto below = [&random](unsigned count) { return static_cast<unsigned>(random() % count); };
    const std::vector<std::string> places = {"", "Gate", "Door"};
    std::map<std::pair<bool, std::string>, std::string> model; // kind and name to engine and token
    for (int round = 0; round < 3000; ++round) {
        const bool rules = below(2) == 0;
        std::string elements;
        std::vector<std::string> names;
        auto wanted = model;
        bool possible = true;
        const auto kind = below(3);
        for (auto i = below(3) + 1; i != 0; --i) {
            const std::string name = "N" + std::to_string(below(8));
            const bool simple = below(2) == 0;
            const std::string token = places[below(3)];
            const std::string type = rules ? (simple ? "tt:CellMotionDetector" : "tt:MotionRegionDetector")
                                           : (simple ? "tt:CellMotionEngine" : "vca:MotionRegionEngine");
            elements +=
                rules ? rule(name, item("PresetToken", token), type) : module(name, item("PresetToken", token), type);
            const std::string place = (simple ? "Simple/" : "Motion/") + token;
            const bool there = wanted.count({rules, name}) != 0;
            if (kind == 0) {
                possible = possible && !there && wanted.count({!rules, name}) == 0;
            } else if (kind == 1) {
                possible = possible && there && wanted[{rules, name}].substr(0, 6) == place.substr(0, 6) &&
                           std::find(names.begin(), names.end(), name) == names.end();
            } else {
                possible = possible && model.count({rules, name}) != 0;
                wanted.erase({rules, name});
            }
            if (kind != 2) {
                wanted[{rules, name}] = place;
            }
            names.push_back(name);
        }
        const std::string refusal = kind == 0   ? change(created, rules, elements)
                                    : kind == 1 ? change(modified, rules, elements)
                                                : remove(rules, names);
        ASSERT_EQ(possible, refusal.empty()) << round << ": " << refusal << " " << elements;
        if (possible) {
            model = wanted;
        }
        std::vector<std::string> expected;
        for (const auto& [key, place] : model) {
            const bool away = place == "Motion/";
            expected.push_back((key.first ? "rule " : "module ") + key.second + " at " + place +
                               (away ? kAwayFromPresets : ""));
        }
        ASSERT_THAT(now(), testing::UnorderedElementsAreArray(expected)) << round;
        ASSERT_TRUE(_service.isStored()) << round;
    }
}

} // namespace
} // namespace camera::onvif
