#include "camera/onvif/AnalyticsService.h"

#include "camera/onvif/AnalyticsDescriptions.h"
#include "camera/onvif/ConfigurationFile.h"
#include "camera/onvif/Requests.h"

#include <algorithm>
#include <utility>

namespace camera::onvif {

namespace {

/// How the operations of rules and those of modules are called, and what is in them.
struct KindNames {
    bool rules;
    const char* plural;    ///< "GetRules"
    const char* element;   ///< of a request or answer, one each
    const char* name;      ///< of a request that deletes, one each
    const char* supported; ///< of an answer
    const char* getOptions;
    const char* optionsType; ///< of a request
    const char* options;     ///< of an answer, one each
    const char* unknownType;
    const char* invalid;
};

constexpr KindNames kOfRules{
    true,
    "Rules",
    "tan:Rule",
    "tan:RuleName",
    "tan:SupportedRules",
    "tan:GetRuleOptions",
    "tan:RuleType",
    "tan:RuleOptions",
    "ter:RuleNotExistent",
    "ter:InvalidRule",
};
constexpr KindNames kOfModules{
    false,
    "AnalyticsModules",
    "tan:AnalyticsModule",
    "tan:AnalyticsModuleName",
    "tan:SupportedAnalyticsModules",
    "tan:GetAnalyticsModuleOptions",
    "tan:Type",
    "tan:Options",
    "ter:TypeNotExistent",
    "ter:InvalidModule",
};

const KindNames& namesOf(bool rules)
{
    return rules ? kOfRules : kOfModules;
}

void checkConfiguration(const Call& call)
{
    if (requiredText(call.request(), "tan:ConfigurationToken") != kAnalyticsConfiguration) {
        throw Fault::invalid("ter:NoConfig", "there is no such video analytics configuration");
    }
}

/// The elements of a request, at least one. They live as long as the call.
std::vector<pugi::xml_node> elementsOf(const Call& call, const KindNames& names)
{
    const auto found = call.request().children(names.element);
    std::vector<pugi::xml_node> elements(found.begin(), found.end());
    if (elements.empty()) {
        throw Fault::invalid(names.invalid, std::string("the request has no ") + names.element);
    }
    for (const pugi::xml_node& element : elements) {
        if (!element.attribute("Name") || !element.attribute("Type")) {
            throw Fault::invalid(names.invalid, std::string("a ") + names.element + " has a Name and a Type");
        }
    }
    return elements;
}

std::string reasonOf(const std::vector<std::string>& lines)
{
    const std::string text = refusalText(lines);
    return text.empty() ? "the camera refuses it and does not say why" : text;
}

/// The names of the rules or modules that a request creates or modifies.
std::vector<std::string> givenNames(const Call& call, const KindNames& names)
{
    std::vector<std::string> given;
    for (const pugi::xml_node& element : call.request().children(names.element)) {
        given.push_back(element.attribute("Name").value());
    }
    return given;
}

/// Whether reasons are about what stands beside the given ones. A request that deletes gives none.
bool blamesOthers(const std::vector<std::string>& reasons, const std::vector<std::string>& given,
                  const std::vector<std::string>& others)
{
    const std::string text = reasonOf(reasons);
    const auto isNamed = [&text](const std::string& name) { return text.find("'" + name + "'") != std::string::npos; };
    return given.empty() ||
           (std::none_of(given.begin(), given.end(), isNamed) && std::any_of(others.begin(), others.end(), isNamed));
}

/// Adds all rules or all modules as elements of that name.
void putAll(pugi::xml_node parent, const char* element, const AnalyticsView& view, bool rules)
{
    const std::vector<std::string> names = publicNames(view.components);
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (view.components[i].isRule == rules) {
            putComponent(parent, element, view.components[i], names[i]);
        }
    }
}

AnalyticsDescriptions descriptionsOf(const AnalyticsView& view)
{
    return {view.engines, view.presets, view.moves};
}

} // namespace

AnalyticsService::AnalyticsService(AnalyticsActions actions, Kept<IntendedChange>& intended)
    : _transactions(std::move(actions), intended)
{
}

void AnalyticsService::addTo(Operations& operations, ServiceDirectory& directory)
{
    const auto capabilities = [](pugi::xml_node node) {
        for (const char* const supported : {"RuleSupport", "AnalyticsModuleSupport"}) {
            putAttribute(node, supported, true);
        }
        putAttribute(node, "CellBasedSceneDescriptionSupported", true);
        for (const char* const supported :
             {"RuleOptionsSupported", "AnalyticsModuleOptionsSupported", "SupportedMetadata"}) {
            putAttribute(node, supported, true);
        }
    };
    const auto old = [](pugi::xml_node node) {
        put(node, "tt:RuleSupport", true);
        put(node, "tt:AnalyticsModuleSupport", true);
    };
    directory.add({"tan", "/onvif/analytics_service", 24, 6, capabilities, "Analytics", old}, operations);
    for (const bool rules : {true, false}) {
        addReading(operations, rules);
        addChanging(operations, rules);
    }
    addMetadata(operations);
}

void AnalyticsService::addReading(Operations& operations, bool rules)
{
    const KindNames& names = namesOf(rules);
    operations.addLater("tan:GetSupported" + std::string(names.plural), AccessClass::readMedia,
                        [this, &names](const Shared& call, const Reply& reply) {
                            checkConfiguration(*call);
                            answer(call, reply, [&names](pugi::xml_node node, const AnalyticsView& view) {
                                descriptionsOf(view).fillSupported(node.append_child(names.supported), names.rules);
                            });
                        });
    operations.addLater("tan:Get" + std::string(names.plural), AccessClass::readMedia,
                        [this, &names](const Shared& call, const Reply& reply) {
                            checkConfiguration(*call);
                            answer(call, reply, [&names](pugi::xml_node node, const AnalyticsView& view) {
                                putAll(node, names.element, view, names.rules);
                            });
                        });
    operations.addLater(names.getOptions, AccessClass::readMedia,
                        [this, &names](const Shared& call, const Reply& reply) {
                            checkConfiguration(*call);
                            const auto type = optionalText(call->request(), names.optionsType);
                            answer(call, reply, [&names, type](pugi::xml_node node, const AnalyticsView& view) {
                                const AnalyticsDescriptions descriptions = descriptionsOf(view);
                                if (type && !descriptions.has(names.rules, *type)) {
                                    throw Fault::invalid(names.unknownType, "no engine knows the type '" + *type + "'");
                                }
                                descriptions.putOptions(node, names.options, names.rules, type.value_or(""));
                            });
                        });
}

void AnalyticsService::addChanging(Operations& operations, bool rules)
{
    const KindNames& names = namesOf(rules);
    const auto add = [&](const char* verb, auto operation) {
        operations.addLater(std::string("tan:") + verb + names.plural, AccessClass::actuate,
                            [this, &names, operation](const Shared& call, const Reply& reply) {
                                checkConfiguration(*call);
                                change(call, reply, names.rules, operation(*call, names));
                            });
    };
    add("Create", [](const Call& call, const KindNames& names) -> Make {
        return [elements = elementsOf(call, names), &names](const AnalyticsView& view) {
            return created(view, names.rules, elements);
        };
    });
    add("Modify", [](const Call& call, const KindNames& names) -> Make {
        return [elements = elementsOf(call, names), &names](const AnalyticsView& view) {
            return modified(view, names.rules, elements);
        };
    });
    add("Delete", [](const Call& call, const KindNames& names) -> Make {
        requiredText(call.request(), names.name);
        return [wanted = textsOf(call.request(), names.name), &names](const AnalyticsView& view) {
            return deleted(view, names.rules, wanted);
        };
    });
}

void AnalyticsService::addMetadata(Operations& operations)
{
    operations.addLater(
        "tan:GetSupportedMetadata", AccessClass::readMedia, [this](const Shared& call, const Reply& reply) {
            const auto type = optionalText(call->request(), "tan:Type");
            answer(call, reply, [type](pugi::xml_node node, const AnalyticsView& view) {
                const AnalyticsDescriptions descriptions = descriptionsOf(view);
                if (type && !descriptions.has(false, *type)) {
                    throw Fault::invalid("ter:TypeNotExistent", "no engine knows the type '" + *type + "'");
                }
                descriptions.putMetadata(node, type.value_or(""));
            });
        });
}

void AnalyticsService::answer(const Shared& call, const Reply& reply, const Fill& fill)
{
    const Ask<AnalyticsView> ask = [this](auto done) { _transactions.read(std::move(done)); };
    askAndAnswer(ask, reply, [call, fill](const AnalyticsView& view) {
        Answer answer = call->answer();
        fill(answer.body(), view);
        return answer;
    });
}

/// Makes a change within the limits of the types' descriptions.
void AnalyticsService::change(const Shared& call, const Reply& reply, bool rules, const Make& make)
{
    const auto others = std::make_shared<std::vector<std::string>>();
    const auto limited = [make, others](const AnalyticsView& view) {
        AnalyticsView wanted = view;
        const AnalyticsDescriptions descriptions = descriptionsOf(view);
        wanted.limitsOf = [&descriptions](bool isRule, const std::string& type) {
            return descriptions.limitsOf(isRule, type);
        };
        for (const PlacedComponent& component : view.components) {
            others->push_back(component.name);
        }
        return make(wanted);
    };
    const auto refused = [call, rules, others](const std::vector<std::string>& reasons) {
        return blamesOthers(reasons, givenNames(*call, namesOf(rules)), *others)
                   ? Fault::receiver({"ter:Action", "ter:ConfigurationConflict"}, reasonOf(reasons))
                   : Fault::invalid(namesOf(rules).invalid, reasonOf(reasons));
    };
    _transactions.change(limited, refused, answerWhenDone(call, reply));
}

void AnalyticsService::content(std::function<void(Outcome<AnalyticsContent>)> done)
{
    _transactions.read([done = std::move(done)](const Outcome<AnalyticsView>& outcome) {
        if (const auto* const fault = std::get_if<Fault>(&outcome)) {
            done(*fault);
            return;
        }
        done(AnalyticsContent([view = std::get<AnalyticsView>(outcome)](pugi::xml_node configuration) {
            putAll(configuration.append_child("tt:AnalyticsEngineConfiguration"), "tt:AnalyticsModule", view, false);
            putAll(configuration.append_child("tt:RuleEngineConfiguration"), "tt:Rule", view, true);
        }));
    });
}

void AnalyticsService::replace(const pugi::xml_node& configuration, const Done& done)
{
    _transactions.change(
        [configuration](const AnalyticsView& view) { return replaced(view, configuration); },
        [](const std::vector<std::string>& reasons) { return Fault::invalid("ter:ConfigModify", reasonOf(reasons)); },
        done);
}

} // namespace camera::onvif
