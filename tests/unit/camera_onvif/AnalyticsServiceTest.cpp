#include "camera/onvif/AnalyticsService.h"
#include "camera/onvif/XmlText.h"

#include "AskedOperation.h"
#include "FakeAnalyticsService.h"
#include "KeptInMemory.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <deque>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace camera::onvif {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

// An engine whose description says that its types are fixed.
const char* const kFixedDescription =
    "<vca:EngineDescription><tan:SupportedRules><tt:RuleDescription Name='tt:FixedRule' fixed='true' maxInstances='1'>"
    "<tt:Parameters/></tt:RuleDescription></tan:SupportedRules><tan:SupportedAnalyticsModules>"
    "<tt:AnalyticsModuleDescription Name='tt:FixedModule' fixed='true' maxInstances='1'><tt:Parameters/>"
    "</tt:AnalyticsModuleDescription></tan:SupportedAnalyticsModules></vca:EngineDescription>";

std::vector<EngineTypes> engines()
{
    std::vector<EngineTypes> all = describedEngines();
    all.push_back({"Plain", {"tt:PlainModule"}, {"tt:PlainRule"}, "no description"});
    all.push_back({"Fixed", {"tt:FixedModule"}, {"tt:FixedRule"}, kFixedDescription});
    return all;
}

std::string item(const std::string& name, const std::string& value)
{
    return "<tt:SimpleItem Name=\"" + name + "\" Value=\"" + value + "\"/>";
}

std::string config(const std::string& element, const std::string& called, const std::string& kind,
                   const std::string& listed)
{
    return "<" + element + " Name=\"" + called + "\" Type=\"" + kind + "\"><tt:Parameters>" + listed +
           "</tt:Parameters></" + element + ">";
}

std::string rule(const std::string& name, const std::string& items = "",
                 const std::string& type = "tt:MotionRegionDetector")
{
    return config("tan:Rule", name, type, items);
}

std::string module(const std::string& name, const std::string& items = "",
                   const std::string& type = "vca:MotionRegionEngine")
{
    return config("tan:AnalyticsModule", name, type, items);
}

std::string names(const std::string& element, const std::vector<std::string>& all)
{
    std::string text;
    for (const std::string& name : all) {
        text += "<tan:" + element + ">" + name + "</tan:" + element + ">";
    }
    return text;
}

/// The service over one that keeps documents, which can refuse, stay silent or be away.
class AnalyticsServiceTest : public testing::Test {
protected:
    AnalyticsServiceTest() { start(); }

    /// Also what a new start of the process does: it knows what was kept.
    void start()
    {
        AnalyticsActions actions;
        actions.view = [this](auto done) {
            if (_away) {
                done(Fault::receiver({"ter:Action"}, "nobody answers"));
                return;
            }
            if (_reads++ == 0 && _readsLater) {
                _waiting.push_back([this, done] { done(view()); });
                return;
            }
            done(view());
        };
        actions.perform = [this](const AnalyticsStep& step, auto done) {
            _events.push_back(step.document.empty() ? "delete" : "set");
            if (_silentAt != 0 && --_silentAt == 0) {
                if (_silentDoes) {
                    _kept.perform(step);
                }
                _away = _silentStays;
                if (_silentTells) {
                    done(Fault::receiver({"ter:Action"}, "no answer within 2 s"));
                }
                return;
            }
            if (_refuseAt != 0 && --_refuseAt == 0) {
                done(StepAnswer{false, _reasons});
                return;
            }
            const bool accepted = _kept.perform(step);
            done(StepAnswer{accepted, accepted ? std::vector<std::string>() : std::vector<std::string>{"wrong"}});
        };
        actions.log = [this](const std::string& line) { _log.push_back(line); };
        _operations = std::make_unique<Operations>();
        _directory = std::make_unique<ServiceDirectory>();
        _service = std::make_unique<AnalyticsService>(std::move(actions), _intended);
        _service->addTo(*_operations, *_directory);
    }

    AnalyticsView view() const
    {
        AnalyticsView view;
        view.engines = _kept.engines;
        view.components = _kept.components();
        view.presets = _presets;
        view.moves = _moves;
        return view;
    }

    std::string ask(const std::string& operation, const std::string& content = "")
    {
        return onvif::ask(*_operations, "tan:" + operation,
                          "<tan:ConfigurationToken>AnalyticsConfiguration_1</tan:ConfigurationToken>" + content);
    }

    /// Puts a document into the service, as a file does.
    void given(const std::string& elements)
    {
        ASSERT_TRUE(_kept.setConfiguration("<tt:VideoAnalyticsConfiguration>" + elements +
                                           "</tt:VideoAnalyticsConfiguration>"));
    }
    void givenRule(const std::string& name, const std::string& items = "",
                   const std::string& type = "tt:MotionRegionDetector")
    {
        given(config("tt:Rule", name, type, items));
    }

    std::vector<std::string> now() const
    {
        std::vector<std::string> all;
        for (const PlacedComponent& each : _kept.components()) {
            all.push_back(each.name + " at " + each.key.engine + "/" + each.key.preset);
        }
        return all;
    }

    FakeAnalyticsService _kept{engines()};
    KeptInMemory<IntendedChange> _intended{IntendedChange()};
    std::vector<std::string> _presets = {"Gate", "Door"};
    bool _moves = true;
    bool _away = false;
    int _refuseAt = 0; ///< refuses the step of that number
    std::vector<std::string> _reasons = {"component 'B', Sensitivity '1000': at most 100"};
    int _silentAt = 0; ///< the step of that number is not answered
    bool _silentDoes = false;
    bool _silentTells = true;
    bool _silentStays = false; ///< no question is answered either from then on
    bool _readsLater = false;
    int _reads = 0;
    std::deque<std::function<void()>> _waiting;
    std::vector<std::string> _events;
    std::vector<std::string> _log;
    std::unique_ptr<Operations> _operations;
    std::unique_ptr<ServiceDirectory> _directory;
    std::unique_ptr<AnalyticsService> _service;
};

TEST_F(AnalyticsServiceTest, hasRulesFromTheirCreationToTheirEnd)
{
    EXPECT_EQ("<tan:CreateRulesResponse/>",
              ask("CreateRules", rule("A", item("PresetToken", "Gate") + item("Active", "true")) + rule("B")));
    EXPECT_EQ("<tan:GetRulesResponse>" + rule("A", item("PresetToken", "Gate") + item("Active", "true")) +
                  rule("B").replace(rule("B").find("<tt:Parameters></tt:Parameters>"), 31, "<tt:Parameters/>") +
                  "</tan:GetRulesResponse>",
              ask("GetRules"));
    EXPECT_EQ("<tan:GetAnalyticsModulesResponse/>", ask("GetAnalyticsModules"));
    EXPECT_EQ("<tan:ModifyRulesResponse/>", ask("ModifyRules", rule("A", item("Active", "false"))));
    EXPECT_THAT(ask("GetRules"), HasSubstr(rule("A", item("PresetToken", "Gate") + item("Active", "false"))));
    EXPECT_EQ("<tan:DeleteRulesResponse/>", ask("DeleteRules", names("RuleName", {"A", "B"})));
    EXPECT_THAT(now(), IsEmpty());
    EXPECT_TRUE(_kept.isStored());
}

TEST_F(AnalyticsServiceTest, hasModulesFromTheirCreationToTheirEnd)
{
    EXPECT_EQ("<tan:CreateAnalyticsModulesResponse/>",
              ask("CreateAnalyticsModules", module("M", item("PresetToken", "Gate") + item("Sensitivity", "5"))));
    EXPECT_EQ("<tan:ModifyAnalyticsModulesResponse/>",
              ask("ModifyAnalyticsModules", module("M", item("MinSize", "1"))));
    EXPECT_EQ("<tan:GetAnalyticsModulesResponse>" +
                  module("M", item("PresetToken", "Gate") + item("MinSize", "1") + item("Sensitivity", "5")) +
                  "</tan:GetAnalyticsModulesResponse>",
              ask("GetAnalyticsModules"));
    EXPECT_EQ("<tan:GetRulesResponse/>", ask("GetRules"));
    EXPECT_EQ("<tan:DeleteAnalyticsModulesResponse/>",
              ask("DeleteAnalyticsModules", names("AnalyticsModuleName", {"M"})));
    EXPECT_THAT(now(), IsEmpty());
}

TEST_F(AnalyticsServiceTest, takesThePresetOfARegionOfMotion)
{
    const std::string region = "<tt:ElementItem Name=\"MotionRegion\"><axt:MotionRegionConfig Armed=\"true\">"
                               "<axt:PresetToken>Door</axt:PresetToken></axt:MotionRegionConfig></tt:ElementItem>";
    EXPECT_EQ("<tan:CreateRulesResponse/>", ask("CreateRules", rule("A", region)));
    EXPECT_THAT(now(), ElementsAre("A at Motion/Door"));
    EXPECT_THAT(_kept.components()[0].xml, Not(HasSubstr("axt:PresetToken")));
}

/// Each fault of each operation.
TEST_F(AnalyticsServiceTest, refusesAsTheOperationHasIt)
{
    givenRule("A");
    givenRule("F", "", "tt:FixedRule");
    given(config("tt:AnalyticsModule", "M", "vca:MotionRegionEngine", item("PtzPreset", "Gate")) +
          config("tt:Rule", "G", "tt:MotionRegionDetector", item("PtzPreset", "Gate")));
    given(config("tt:AnalyticsModule", "N", "vca:MotionRegionEngine", item("PtzPreset", "Door")));
    given(config("tt:AnalyticsModule", "FM", "tt:FixedModule", item("PtzPreset", "Gate")));
    const std::vector<std::string> before = now();
    std::string many;
    for (int i = 0; i < 1001; ++i) {
        many += rule("R" + std::to_string(i));
    }
    struct Case {
        std::string operation;
        std::string content;
        std::string fault;
        bool refused = false;
    };
    const std::string sender = "Sender ter:InvalidArgVal/ter:";
    const std::string action = "Receiver ter:Action/ter:";
    const std::vector<Case> cases = {
        {"CreateRules", rule("a@b"), sender + "InvalidRule: a name has 1 to 1024 bytes and no '@'"},
        {"CreateRules", rule("B", "", "tt:None"), sender + "InvalidRule: no engine knows the type 'tt:None' of 'B'"},
        {"CreateRules", rule("B", item("PresetToken", "No")), sender + "InvalidRule: the camera has no preset 'No'"},
        {"CreateRules", "", sender + "InvalidRule: the request has no tan:Rule"},
        {"CreateRules", "<tan:Rule Name='B'/>", sender + "InvalidRule: a tan:Rule has a Name and a Type"},
        {"CreateRules", rule("B"), sender + "InvalidRule: component 'B', Sensitivity '1000': at most 100", true},
        {"CreateRules", rule("A"), sender + "RuleAlreadyExistent: "},
        {"CreateRules", rule("M"), sender + "RuleAlreadyExistent: "},
        {"CreateRules", rule("B", "", "tt:FixedRule"), "Sender ter:Action/ter:FixedRules: "},
        {"CreateRules", many, action + "TooManyRules: "},
        {"CreateRules", rule("C", item("PresetToken", "Gate")), action + "ConfigurationConflict: ", true},
        {"ModifyRules", "", sender + "InvalidRule: "},
        {"ModifyRules", rule("A") + rule("A"), sender + "InvalidRule: 'A' stands twice"},
        {"ModifyRules", rule("B"), sender + "RuleNotExistent: there is no rule 'B'"},
        {"ModifyRules", rule("M"), sender + "RuleNotExistent: "},
        {"ModifyRules", rule("A", "", "tt:PlainRule"), action + "TypeChangeProhibited: "},
        {"ModifyRules", rule("A", item("x", "1")), action + "ConfigurationConflict: ", true},
        {"DeleteRules", names("RuleName", {"A", "B"}), sender + "RuleNotExistent: "},
        {"DeleteRules", names("RuleName", {"M"}), sender + "RuleNotExistent: "},
        {"DeleteRules", names("RuleName", {"F"}), "Sender ter:Action/ter:FixedRules: "},
        {"DeleteRules", names("RuleName", {"G"}), action + "ConfigurationConflict: ", true},
        {"GetRuleOptions", "<tan:RuleType>tt:None</tan:RuleType>", sender + "RuleNotExistent: "},
        {"GetRuleOptions", "<tan:RuleType>vca:MotionRegionEngine</tan:RuleType>", sender + "RuleNotExistent: "},
        {"CreateAnalyticsModules", module("a@b"), sender + "InvalidModule: "},
        {"CreateAnalyticsModules", module("B", "", "tt:MotionRegionDetector"), sender + "InvalidModule: "},
        {"CreateAnalyticsModules", module("B"), sender + "InvalidModule: component 'B'", true},
        {"CreateAnalyticsModules", module("A"), sender + "NameAlreadyExistent: "},
        {"CreateAnalyticsModules", module("B", "", "tt:FixedModule"), "Sender ter:Action/ter:FixedModules: "},
        {"CreateAnalyticsModules", module("B", item("PresetToken", "Gate")), action + "TooManyModules: "},
        {"CreateAnalyticsModules", module("C"), action + "ConfigurationConflict: ", true},
        {"ModifyAnalyticsModules", "", sender + "InvalidModule: "},
        {"ModifyAnalyticsModules", module("A"), sender + "NameNotExistent: there is no module 'A'"},
        {"ModifyAnalyticsModules", module("M", "", "tt:PlainModule"), action + "TypeChangeProhibited: "},
        {"ModifyAnalyticsModules", module("M", item("PresetToken", "Door")), action + "ConfigurationConflict: "},
        {"DeleteAnalyticsModules", names("AnalyticsModuleName", {"A"}), sender + "NameNotExistent: "},
        {"DeleteAnalyticsModules", names("AnalyticsModuleName", {"FM"}), "Sender ter:Action/ter:FixedModules: "},
        {"DeleteAnalyticsModules", names("AnalyticsModuleName", {"M"}), action + "ConfigurationConflict: ", true},
        {"GetAnalyticsModuleOptions", "<tan:Type>tt:None</tan:Type>", sender + "TypeNotExistent: "},
        {"GetSupportedMetadata", "<tan:Type>tt:MotionRegionDetector</tan:Type>", sender + "TypeNotExistent: "},
        {"DeleteRules", "", "Sender ter:InvalidArgs"},
    };
    for (const Case& each : cases) {
        // What stands beside it is the reason where there is a conflict.
        _reasons = {each.fault.find("Conflict") != std::string::npos
                        ? "component 'M', Sensitivity '1000': at most 100"
                        : "component 'B', Sensitivity '1000': at most 100"};
        _refuseAt = each.refused ? 1 : 0;
        EXPECT_THAT(ask(each.operation, each.content), StartsWith(each.fault)) << each.operation << each.content;
        EXPECT_EQ(before, now()) << each.operation << each.content;
    }
    for (const char* const operation :
         {"GetSupportedRules", "GetRules", "GetRuleOptions", "CreateRules", "ModifyRules", "DeleteRules",
          "GetSupportedAnalyticsModules", "GetAnalyticsModules", "GetAnalyticsModuleOptions", "CreateAnalyticsModules",
          "ModifyAnalyticsModules", "DeleteAnalyticsModules"}) {
        EXPECT_THAT(onvif::ask(*_operations, std::string("tan:") + operation,
                               "<tan:ConfigurationToken>None</tan:ConfigurationToken>"),
                    StartsWith(sender + "NoConfig: "))
            << operation;
        _away = true;
        EXPECT_THAT(
            ask(operation, rule("B") + module("B") + names("RuleName", {"A"}) + names("AnalyticsModuleName", {"M"})),
            StartsWith("Receiver ter:Action: nobody answers"))
            << operation;
        _away = false;
    }
    EXPECT_EQ(before, now());
}

TEST_F(AnalyticsServiceTest, tellsWhichTypesThereAre)
{
    const std::string rules = ask("GetSupportedRules");
    EXPECT_THAT(rules, HasSubstr("<tt:RuleDescription Name=\"tt:PlainRule\" maxInstances=\"3000\"><tt:Parameters>"
                                 "<tt:SimpleItemDescription Name=\"PresetToken\" Type=\"tt:ReferenceToken\"/>"
                                 "</tt:Parameters></tt:RuleDescription>"));
    EXPECT_THAT(rules, AllOf(HasSubstr("Name=\"tt:MotionRegionDetector\""), HasSubstr("axt:MotionRegionConfig"),
                             HasSubstr("tns1:RuleEngine/CellMotionDetector/Motion"), Not(HasSubstr("PtzPreset"))));
    const std::string modules = ask("GetSupportedAnalyticsModules");
    EXPECT_THAT(modules, AllOf(HasSubstr("<tt:AnalyticsModuleDescription Name=\"vca:MotionRegionEngine\" "
                                         "maxInstances=\"3\"><tt:Parameters><tt:SimpleItemDescription "
                                         "Name=\"PresetToken\" Type=\"tt:ReferenceToken\"/>"),
                               HasSubstr("tt:PlainModule"), Not(HasSubstr("RuleDescription"))));
    _moves = false;
    EXPECT_THAT(ask("GetSupportedAnalyticsModules"),
                AllOf(HasSubstr("maxInstances=\"1\""), Not(HasSubstr("PresetToken"))));
}

TEST_F(AnalyticsServiceTest, tellsWhatParametersCanBe)
{
    const std::string all = ask("GetRuleOptions");
    EXPECT_THAT(all, AllOf(HasSubstr("<tan:RuleOptions RuleType=\"tt:PlainRule\" Name=\"PresetToken\" minOccurs=\"0\">"
                                     "<tt:StringItems><tt:Item>Gate</tt:Item><tt:Item>Door</tt:Item></tt:StringItems>"
                                     "</tan:RuleOptions>"),
                           HasSubstr("Name=\"MinCount\""), HasSubstr("Name=\"MotionRegion\""),
                           Not(HasSubstr("AnalyticsModule="))));
    const std::string one = ask("GetRuleOptions", "<tan:RuleType>tt:CellMotionDetector</tan:RuleType>");
    EXPECT_THAT(one, AllOf(HasSubstr("Name=\"MinCount\""), Not(HasSubstr("MotionRegion"))));
    const std::string modules = ask("GetAnalyticsModuleOptions", "<tan:Type>tt:CellMotionEngine</tan:Type>");
    EXPECT_THAT(modules, AllOf(HasSubstr("<tan:Options AnalyticsModule=\"tt:CellMotionEngine\" Name=\"Sensitivity\""),
                               Not(HasSubstr("MinSize")), Not(HasSubstr("RuleType="))));
    EXPECT_THAT(ask("GetAnalyticsModuleOptions"), AllOf(HasSubstr("MinSize"), HasSubstr("Sensitivity")));
    _presets.clear();
    EXPECT_THAT(ask("GetRuleOptions"), Not(HasSubstr("PresetToken")));
}

TEST_F(AnalyticsServiceTest, showsAFrameOfEachTypeThatHasOne)
{
    EXPECT_THAT(ask("GetSupportedMetadata"),
                AllOf(HasSubstr("<tan:AnalyticsModule Type=\"vca:MotionRegionEngine\"><tan:SampleFrame"),
                      HasSubstr("Type=\"tt:CellMotionEngine\"")));
    EXPECT_THAT(ask("GetSupportedMetadata", "<tan:Type>tt:CellMotionEngine</tan:Type>"),
                AllOf(HasSubstr("MotionInCells"), Not(HasSubstr("MotionRegionEngine"))));
    EXPECT_EQ("<tan:GetSupportedMetadataResponse/>",
              ask("GetSupportedMetadata", "<tan:Type>tt:PlainModule</tan:Type>"));
}

TEST_F(AnalyticsServiceTest, takesBackWhatWasDoneBeforeARefusal)
{
    givenRule("A", item("PtzPreset", "Gate"));
    const auto before = _kept.alive;
    _refuseAt = 2;
    EXPECT_THAT(ask("CreateRules", rule("B", item("PresetToken", "Gate")) + rule("C", item("PresetToken", "Door"))),
                StartsWith("Sender ter:InvalidArgVal/ter:InvalidRule: "));
    EXPECT_THAT(_events, ElementsAre("set", "set", "delete"));
    EXPECT_THAT(now(), ElementsAre("A at Motion/Gate"));
    EXPECT_TRUE(_kept.isStored());
    EXPECT_TRUE(_intended.value().keys.empty());
    EXPECT_EQ(2, _intended.changes);
    EXPECT_THAT(ask("GetRules"), Not(HasSubstr("\"B\"")));
    EXPECT_THAT(_events, testing::SizeIs(3));
}

TEST_F(AnalyticsServiceTest, writesDownNothingForOneStep)
{
    EXPECT_EQ("<tan:CreateRulesResponse/>", ask("CreateRules", rule("A") + rule("B")));
    EXPECT_EQ("<tan:DeleteRulesResponse/>", ask("DeleteRules", names("RuleName", {"A"})));
    EXPECT_EQ(0, _intended.changes);
}

TEST_F(AnalyticsServiceTest, doesNothingThatItCannotWriteDown)
{
    _intended.failure = "the disk is full";
    EXPECT_EQ("Receiver ter:Action: the disk is full",
              ask("CreateRules", rule("B") + rule("C", item("PresetToken", "Gate"))));
    EXPECT_THAT(_events, IsEmpty());
    _intended.failure.clear();
    EXPECT_EQ("<tan:CreateRulesResponse/>", ask("CreateRules", rule("B") + rule("C", item("PresetToken", "Gate"))));
    EXPECT_THAT(now(), testing::SizeIs(2));
}

/// The service does not answer in time: what it does later is taken back as soon as it answers, or before anything
/// else.
TEST_F(AnalyticsServiceTest, takesBackWhatIsDoneAfterTheTime)
{
    for (const bool does : {false, true}) {
        for (const bool stays : {false, true}) {
            _silentAt = 1;
            _silentDoes = does;
            _silentStays = stays;
            EXPECT_EQ("Receiver ter:Action: no answer within 2 s", ask("CreateRules", rule("A")));
            EXPECT_EQ(does && stays ? 1U : 0U, now().size());
            _away = false;
            EXPECT_EQ("<tan:GetRulesResponse/>", ask("GetRules"));
            EXPECT_THAT(now(), IsEmpty());
        }
    }
}

/// The end of this process in the middle: a new start undoes what it finds written down.
TEST_F(AnalyticsServiceTest, undoesAtItsStartWhatWasHalfDone)
{
    for (int silentAt = 1; silentAt <= 2; ++silentAt) {
        for (const bool does : {false, true}) {
            _kept = FakeAnalyticsService(engines());
            givenRule("A", item("PtzPreset", "Gate") + item("x", "1"));
            const std::vector<std::string> before = now();
            _silentAt = silentAt;
            _silentDoes = does;
            _silentTells = false;
            EXPECT_EQ("nothing", ask("ModifyRules", rule("A", item("PresetToken", "Door") + item("x", "2"))));
            EXPECT_FALSE(_intended.value().keys.empty());
            // It is read from where it was written.
            KeptInMemory<IntendedChange> read(*parseIntendedChange(format(_intended.value())));
            EXPECT_EQ(_intended.value().keys, read.value().keys);
            start();
            EXPECT_THAT(ask("GetRules"), HasSubstr(item("PresetToken", "Gate") + item("x", "1"))) << silentAt << does;
            EXPECT_EQ(before, now());
            EXPECT_TRUE(_kept.isStored());
            EXPECT_TRUE(_intended.value().keys.empty());
        }
    }
}

TEST_F(AnalyticsServiceTest, goesOnWhereWhatWasThereIsRefusedNow)
{
    givenRule("A", item("PtzPreset", "Gate"));
    _silentAt = 2;
    _silentTells = false;
    EXPECT_EQ("nothing", ask("CreateRules", rule("B", item("PresetToken", "Gate")) + rule("C")));
    start();
    _refuseAt = 1;
    EXPECT_THAT(ask("GetRules"), HasSubstr("\"A\""));
    EXPECT_THAT(_log, ElementsAre(StartsWith("A half-done change of the analytics configuration cannot be undone: ")));
    EXPECT_TRUE(_intended.value().keys.empty());
    EXPECT_EQ("<tan:CreateRulesResponse/>", ask("CreateRules", rule("D")));
}

TEST_F(AnalyticsServiceTest, answersReadsThatWaitTogetherAtOnce)
{
    _readsLater = true;
    EXPECT_EQ("nothing", ask("GetRules"));
    EXPECT_EQ("nothing", ask("GetAnalyticsModules"));
    EXPECT_EQ("nothing", ask("CreateRules", rule("A")));
    EXPECT_EQ("nothing", ask("GetRules"));
    ASSERT_EQ(1u, _waiting.size());
    _waiting.front()();
    EXPECT_EQ(3, _reads);
    EXPECT_THAT(now(), testing::SizeIs(1));
}

TEST_F(AnalyticsServiceTest, failsAllThatWaitsWhenNobodyAnswers)
{
    _readsLater = true;
    EXPECT_EQ("nothing", ask("GetRules"));
    int failed = 0;
    _service->content([&failed](const Outcome<AnalyticsContent>& outcome) {
        failed += std::holds_alternative<Fault>(outcome) ? 1 : 0;
    });
    EXPECT_EQ(0, failed);
    _waiting.front()();
    EXPECT_EQ(0, failed);
    _away = true;
    _service->content([&failed](const Outcome<AnalyticsContent>& outcome) {
        failed += std::holds_alternative<Fault>(outcome) ? 1 : 0;
    });
    EXPECT_EQ(1, failed);
}

std::string contentNow(AnalyticsService& service)
{
    std::string text = "nothing";
    service.content([&text](const Outcome<AnalyticsContent>& outcome) {
        pugi::xml_document document;
        std::get<AnalyticsContent>(outcome)(document.append_child("tt:Configuration"));
        text = printed(document.document_element());
    });
    return text;
}

TEST_F(AnalyticsServiceTest, isTheContentOfAConfiguration)
{
    given(config("tt:AnalyticsModule", "M", "vca:MotionRegionEngine", item("PtzPreset", "Gate")) +
          config("tt:Rule", "A", "tt:MotionRegionDetector", item("PtzPreset", "Gate")));
    EXPECT_EQ("<tt:Configuration><tt:AnalyticsEngineConfiguration>" +
                  config("tt:AnalyticsModule", "M", "vca:MotionRegionEngine", item("PresetToken", "Gate")) +
                  "</tt:AnalyticsEngineConfiguration><tt:RuleEngineConfiguration>" +
                  config("tt:Rule", "A", "tt:MotionRegionDetector", item("PresetToken", "Gate")) +
                  "</tt:RuleEngineConfiguration></tt:Configuration>",
              contentNow(*_service));
}

TEST_F(AnalyticsServiceTest, canBeReplacedAsAWhole)
{
    givenRule("A", item("PtzPreset", "Gate"));
    givenRule("A");
    givenRule("B", "", "tt:PlainRule");
    const auto replace = [this](const std::string& rules) {
        pugi::xml_document document;
        const std::string text = "<c><tt:RuleEngineConfiguration>" + rules + "</tt:RuleEngineConfiguration></c>";
        document.load_string(text.c_str());
        std::string outcome = "nothing";
        _service->replace(document.document_element(), [&outcome](const std::optional<Fault>& failure) {
            outcome = failure ? failure->subcodes.back() + ": " + failure->what() : "";
        });
        return outcome;
    };
    EXPECT_THAT(replace(config("tt:Rule", "X@Y", "tt:PlainRule", "")), StartsWith("ter:ConfigModify: a name has"));
    EXPECT_THAT(replace(config("tt:Rule", "X", "tt:None", "")), StartsWith("ter:ConfigModify: no engine knows"));
    EXPECT_THAT(now(), testing::SizeIs(3));
    EXPECT_EQ("", replace(config("tt:Rule", "A@Gate", "tt:MotionRegionDetector", item("PresetToken", "Gate")) +
                          config("tt:Rule", "C", "tt:CellMotionDetector", "")));
    EXPECT_THAT(now(), UnorderedElementsAre("A at Motion/Gate", "C at Simple/"));
    EXPECT_TRUE(_kept.isStored());
    EXPECT_EQ("", replace(""));
    EXPECT_THAT(now(), IsEmpty());
}

/// Lists of creations, changes and deletions at random, of which some have a bad item, are refused on their way, get no
/// answer, or are cut short by the end of this process or of the one below: a list that was not answered with success
/// has changed nothing, and what it did not name is as it was.
TEST_F(AnalyticsServiceTest, doesAllOfAListOrNothing)
{
    std::mt19937 random(20260711);
    const auto below = [&random](unsigned count) { return static_cast<unsigned>(random() % count); };
    _presets = {"P1", "P2", "P3", "P4", "P5"};
    int done = 0;
    int undone = 0;
    const auto texts = [this] {
        std::multiset<std::string> all;
        for (const PlacedComponent& each : _kept.components()) {
            all.insert(each.xml);
        }
        return all;
    };
    for (int round = 0; round < 5000; ++round) {
        const bool rules = below(2) == 0;
        const char* const verb = std::array{"Create", "Modify", "Delete"}[below(3)];
        std::string content;
        std::set<std::string> touched;
        for (unsigned i = below(3) + 1; i != 0; --i) {
            const bool simple = below(2) == 0;
            const std::string name = (rules ? "R" : "M") + std::to_string(below(12));
            touched.insert("Name=\"" + name + "\"");
            std::string items = item("x", std::to_string(below(1000)));
            if (below(3) != 0) {
                items += item("PresetToken", below(30) == 0 ? "None" : "P" + std::to_string(below(5) + 1));
            }
            content += std::string(verb) == "Delete" ? names(rules ? "RuleName" : "AnalyticsModuleName", {name})
                       : rules ? rule(name, items, simple ? "tt:CellMotionDetector" : "tt:MotionRegionDetector")
                               : module(name, items, simple ? "tt:CellMotionEngine" : "vca:MotionRegionEngine");
        }
        const auto before = texts();
        const unsigned fate = below(6);
        _refuseAt = fate == 0 ? static_cast<int>(below(3)) + 1 : 0;
        _silentAt = fate == 1 || fate == 2 ? static_cast<int>(below(3)) + 1 : 0;
        _silentDoes = below(2) == 0;
        _silentTells = fate == 1;
        _silentStays = below(2) == 0;
        const std::string answer = ask(verb + std::string(rules ? "Rules" : "AnalyticsModules"), content);
        // What is one step may have been done before the end: then it is done as a whole.
        const bool oneStep = answer == "nothing" && _intended.value().keys.empty();
        if (answer == "nothing") { // the end of this process, or of the one below
            if (below(2) == 0) {
                _kept.restart();
            }
            start();
        }
        _refuseAt = _silentAt = 0;
        _away = false;
        ask("GetRules");
        const auto after = texts();
        if (answer.find("Response/>") != std::string::npos) {
            ++done;
            for (const std::string& text : before) {
                const bool named = std::any_of(touched.begin(), touched.end(), [&](const std::string& name) {
                    return text.find(name) != std::string::npos;
                });
                ASSERT_TRUE(named || after.count(text) == before.count(text)) << round << text;
            }
        } else if (!oneStep) {
            ++undone;
            ASSERT_EQ(before, after) << round << verb << content << answer;
        }
        ASSERT_TRUE(_kept.isStored()) << round;
        ASSERT_TRUE(_intended.value().keys.empty()) << round;
    }
    EXPECT_GT(done, 500);
    EXPECT_GT(undone, 500);
}

TEST(IntendedChangeTest, isNotReadOfWhatIsNoneOfItsDocuments)
{
    for (const char* const document :
         {"", "[]", "{}", "{\"keys\":[],\"before\":{}}", "{\"keys\":[{\"engine\":1,\"preset\":\"\"}],\"before\":[]}",
          "{\"keys\":[],\"before\":[{\"engine\":\"Motion\",\"xml\":\"<\"}]}"}) {
        EXPECT_FALSE(parseIntendedChange(document)) << document;
    }
    EXPECT_TRUE(parseIntendedChange("{\"keys\":[],\"before\":[]}"));
}

} // namespace
} // namespace camera::onvif
