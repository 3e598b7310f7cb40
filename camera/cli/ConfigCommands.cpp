#include "camera/base/Text.h"
#include "camera/cli/AnalyticsCalls.h"
#include "camera/cli/JsonOutput.h"
#include "camera/onvif/ConfigurationFile.h"

#include <algorithm>
#include <limits>
#include <set>

namespace camera::cli {

namespace {

using Context = CommandContext;

using Target = bus::OnvifAnalyticServiceClient;

std::string currentConfiguration(CameraClient& client)
{
    return client.ask(&Target::getCurrentConfiguration);
}

int get(Context& context)
{
    const std::string preset = context.arguments.text("--preset");
    const std::string xml = preset.empty() ? currentConfiguration(context.client())
                                           : context.client().ask(&Target::getPtzPresetConfiguration, preset);
    if (!context.json()) {
        context.console.line(xml);
        return 0;
    }
    for (const Json::Value& object : onvif::componentObjects(xml)) {
        context.print(object);
    }
    return 0;
}

void setConfiguration(Context& context, CameraClient& client, const std::string& xml, const std::string& file)
{
    const auto [result, failed, refusal] =
        client.askWithin(context.patience(kWritePatience), &bus::AnalyticsClient::setConfiguration, xml);
    if (result != 0 || failed != 0) {
        throw CameraError("the camera refuses the configuration '" + file +
                          "': " + refusalReason(client, {xml}, refusal));
    }
    const std::vector<onvif::ComponentName> components = onvif::componentsOf(xml);
    const std::vector<onvif::ComponentName> active = onvif::componentsOf(currentConfiguration(client));
    const bool all =
        std::all_of(components.begin(), components.end(), [&active](const onvif::ComponentName& component) {
            return std::find(active.begin(), active.end(), component) != active.end();
        });
    context.console.line(
        "'" + base::printable(file) +
        (all ? "' is stored and active." : "' is stored; it is not active where the camera stands now."));
}

int set(Context& context)
{
    const std::vector<std::string>& files = context.arguments.all("FILE.xml");
    std::vector<std::string> documents;
    for (const std::string& file : files) {
        documents.push_back(sendableText(onvif::readConfiguration(file), file));
    }
    return change(context, [&](CameraClient& client) {
        for (std::size_t i = 0; i < documents.size(); ++i) {
            setConfiguration(context, client, documents[i], files[i]);
        }
    });
}

int history(Context& context)
{
    const std::vector<StoredVersion> versions = storedVersions(context.client());
    for (const StoredVersion& version : versions) {
        const auto& [number, storedAt, bytes, good] = columns(version);
        context.print(jsonObject({"document", "time", "bytes", "good"}, number, base::utcText(storedAt, base::kIsoTime),
                                 bytes, good),
                      std::to_string(number) + "  " + base::utcText(storedAt) + "  " + base::sizeText(bytes) +
                          (good ? "" : "  damaged"));
    }
    if (versions.empty() && !context.json()) {
        context.console.line("Nothing was ever stored.");
    }
    return 0;
}

int restore(Context& context)
{
    const std::int64_t number = context.arguments.whole("N");
    CameraClient& client = context.client();
    client.askWithin(context.patience(kWritePatience), &bus::PipelineClient::restore, onvif::kAnalyticsKey, number);
    if (!context.startedForCommand()) {
        client.ask(&bus::SupervisorClient::restartPipeline);
    }
    context.console.line(
        "Document " + std::to_string(number) + " is the newest again; " +
        (context.startedForCommand() ? "the next start uses it." : "the camera's pipeline starts again with it."));
    return 0;
}

int reset(Context& context)
{
    return change(context, [&](CameraClient& client) {
        if (client.askWithin(context.patience(kWritePatience), &Target::restoreDefaultSettings) != 0) {
            throw CameraError("the camera cannot restore its defaults; its log names the reason");
        }
        context.console.line("The engines have no rules now; what is stored comes back when the camera starts again.");
    });
}

// A rule or module names the preset for which it is stored.
int presets(Context& context)
{
    std::set<std::string> names;
    StoredComponents stored = storedComponents(context.client());
    stored.ofLoaded.insert(stored.ofLoaded.end(), stored.ofOthers.begin(), stored.ofOthers.end());
    for (const onvif::ComponentName& component : stored.ofLoaded) {
        if (!component.preset.empty()) {
            names.insert(component.preset);
        }
    }
    return printTexts(context, "preset", {names.begin(), names.end()});
}

} // namespace

std::vector<base::Command> configCommands()
{
    using base::Command;
    using base::Offer;
    return {
        listing("config get", "Prints the active configuration; with --json its rules and modules.", get,
                FolderUse::look)
            .option("--preset", base::nameValue("NAME", Offer::presets),
                    "the configuration that is stored for this preset"),
        onFolder(Command("config set", "Stores whole configurations.")
                     .takes({"FILE.xml", Offer::files}, "a configuration", base::Argument::Count::oneOrMore),
                 FolderUse::change, set),
        listing("config presets", "Lists the presets that have a configuration.", presets, FolderUse::look),
        listing("config history", "Lists the stored documents, newest first.", history, FolderUse::look),
        onFolder(Command("config restore", "Makes an earlier document the newest one; the pipeline starts again.")
                     .takes(base::wholeValue("N", 1, std::numeric_limits<std::int64_t>::max()),
                            "the number of the document, as camera config history lists it"),
                 FolderUse::change, restore),
        onFolder(Command("config reset", "Removes all rules and modules until the camera starts again."),
                 FolderUse::change, reset),
    };
}

} // namespace camera::cli
