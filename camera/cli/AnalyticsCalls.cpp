#include "camera/cli/AnalyticsCalls.h"

#include "camera/base/MessageLimit.h"
#include "camera/base/Text.h"
#include "camera/base/Utf8.h"
#include "camera/cli/JsonOutput.h"
#include "camera/cli/RestartReport.h"
#include "camera/onvif/AnalyticsTransactions.h"
#include "camera/onvif/Fault.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <tuple>

namespace camera::cli {

namespace {

using Target = bus::OnvifAnalyticServiceClient;
using Texts = std::vector<std::string>;
using Components = std::vector<onvif::ComponentName>;

void append(Components& all, const std::string& xml)
{
    const Components found = onvif::componentsOf(xml);
    all.insert(all.end(), found.begin(), found.end());
}

Components componentsOfDocument(const std::string& document)
{
    Components all;
    for (const onvif::StoredConfiguration& stored : onvif::storedConfigurations(document)) {
        append(all, stored.xml);
    }
    return all;
}

Components componentsNow(CameraClient& client)
{
    Components all;
    for (const bool rules : {false, true}) {
        for (const std::string& element : componentsNow(client, rules)) {
            append(all, element);
        }
    }
    return all;
}

onvif::AnalyticsView viewOf(CameraClient& client)
{
    onvif::AnalyticsView view;
    for (const auto& engine : client.ask(&bus::AnalyticsClient::engines)) {
        view.engines.push_back({engine.get<0>(), engine.get<1>(), engine.get<2>(), engine.get<3>()});
    }
    const Texts rules = componentsNow(client, true);
    view.components = onvif::placedComponents(view.engines, rules, componentsNow(client, false));
    return view;
}

/// For changes that end with this command.
class KeptUntilTheEnd final : public onvif::Kept<onvif::IntendedChange> {
public:
    KeptUntilTheEnd() : Kept({}) {}

    void change(Edit edit, Done done) override
    {
        edit(_value);
        done(std::nullopt);
    }
};

onvif::AnalyticsActions actionsOf(CameraClient& client, std::chrono::milliseconds patience)
{
    const auto answer = [](std::int64_t result, std::int64_t status, const Texts& lines) {
        return onvif::StepAnswer{result == 0 && status == 0, lines};
    };
    onvif::AnalyticsActions actions;
    actions.view = [&client](const auto& done) { done(viewOf(client)); };
    actions.perform = [&client, patience, answer](const onvif::AnalyticsStep& step, const auto& done) {
        if (step.document.empty()) {
            done(std::apply(answer, client.askWithin(patience, &bus::AnalyticsClient::deleteRules, step.names)));
        } else {
            done(
                std::apply(answer, client.askWithin(patience, &bus::AnalyticsClient::setConfiguration, step.document)));
        }
    };
    actions.log = [](const std::string& /*line*/) {}; // the command itself says what failed
    return actions;
}

} // namespace

onvif::PlacedComponents publicComponents(CameraClient& client)
{
    const onvif::PlacedComponents components = viewOf(client).components;
    const std::vector<std::string> names = onvif::publicNames(components);
    onvif::PlacedComponents all;
    for (std::size_t i = 0; i < names.size(); ++i) {
        all.push_back(onvif::renamed(components[i], names[i]));
    }
    return all;
}

void deleteComponents(CameraClient& client, bool rules, const std::vector<std::string>& names, const std::string& what,
                      std::chrono::milliseconds patience)
{
    KeptUntilTheEnd intended;
    onvif::AnalyticsTransactions transactions(actionsOf(client, patience), intended);
    std::optional<onvif::Fault> failure;
    transactions.change([&](const onvif::AnalyticsView& now) { return onvif::deleted(now, rules, names); },
                        [](const Texts& lines) {
                            const std::string text = onvif::refusalText(lines);
                            return onvif::Fault::receiver({}, text.empty() ? "the camera failed" : text);
                        },
                        [&failure](const std::optional<onvif::Fault>& outcome) { failure = outcome; });
    if (failure) {
        const bool wrongNames = failure->code == onvif::Fault::Code::sender;
        throw CameraError(
            "cannot " + what + ": " + failure->what() +
            (wrongNames ? std::string("; camera ") + (rules ? "rules" : "modules") + " list shows the names" : ""));
    }
}

std::vector<std::string> componentsNow(CameraClient& client, bool rules)
{
    return client.ask(rules ? &Target::getCurrentRules : &Target::getCurrentEngines);
}

std::vector<std::string> componentTypes(CameraClient& client, bool rules)
{
    return client.ask(rules ? &Target::getSupportedRules : &Target::getSupportedEngines);
}

std::vector<StoredVersion> storedVersions(CameraClient& client)
{
    const Texts keys = client.ask(&bus::PipelineClient::storedKeys);
    if (std::find(keys.begin(), keys.end(), onvif::kAnalyticsKey) == keys.end()) {
        return {};
    }
    return client.ask(&bus::PipelineClient::history, onvif::kAnalyticsKey);
}

StoredComponents storedComponents(CameraClient& client)
{
    const std::vector<StoredVersion> versions = storedVersions(client);
    const auto newest =
        std::find_if(versions.begin(), versions.end(), [](const StoredVersion& version) { return version.get<3>(); });
    StoredComponents stored;
    if (newest == versions.end()) {
        return stored;
    }
    const std::string document = client.ask(&bus::PipelineClient::document, onvif::kAnalyticsKey, newest->get<0>());
    const Texts ruleTypes = componentTypes(client, true);
    const Texts moduleTypes = componentTypes(client, false);
    for (onvif::ComponentName& component : componentsOfDocument(document)) {
        const Texts& types = component.isRule ? ruleTypes : moduleTypes;
        const bool loaded = std::find(types.begin(), types.end(), component.type) != types.end();
        (loaded ? stored.ofLoaded : stored.ofOthers).push_back(std::move(component));
    }
    return stored;
}

std::string refusalReason(CameraClient& client, const Texts& texts, const Texts& lines)
{
    Components all;
    for (const std::string& text : texts) {
        append(all, text);
    }
    return onvif::refusalReason(all, componentTypes(client, true), componentTypes(client, false), lines);
}

const std::string& sendableText(const std::string& text, const std::string& file)
{
    if (!base::isSendable(text)) {
        throw CameraError("the configuration '" + file + "' is refused: it is not UTF-8 text; save it as UTF-8");
    }
    if (text.size() > base::kLargestMessage) {
        throw CameraError(base::tooLarge("the configuration '" + file + "'", text.size()) + "; make several of it");
    }
    return text;
}

// Stored and active components can differ for several reasons. Both are read and compared.
int change(CommandContext& context, const std::function<void(CameraClient&)>& perform)
{
    CameraClient& client = context.client();
    std::exception_ptr failure;
    try {
        perform(client);
    } catch (const CameraError&) {
        failure = std::current_exception();
    }
    for (const std::string& line : restartDifferences(componentsNow(client), storedComponents(client).ofLoaded)) {
        context.console.line(line);
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
    return 0;
}

int printTexts(CommandContext& context, const char* field, const std::vector<std::string>& texts)
{
    for (const std::string& text : texts) {
        context.print(jsonObject({field}, text), base::printable(text));
    }
    return 0;
}

} // namespace camera::cli
