#include "camera/cli/AnalyticsCalls.h"

#include "camera/base/MessageLimit.h"
#include "camera/base/Text.h"
#include "camera/base/Utf8.h"
#include "camera/cli/JsonOutput.h"
#include "camera/cli/RestartReport.h"

#include <algorithm>
#include <exception>

namespace camera::cli {

namespace {

using Analytics = bus::OnvifAnalyticServiceClient;
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

} // namespace

std::vector<std::string> componentsNow(CameraClient& client, bool rules)
{
    return client.ask(rules ? &Analytics::getCurrentRules : &Analytics::getCurrentEngines);
}

std::vector<std::string> componentTypes(CameraClient& client, bool rules)
{
    return client.ask(rules ? &Analytics::getSupportedRules : &Analytics::getSupportedEngines);
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
