#include "camera/base/OptionTable.h"
#include "camera/cli/AnalyticsCalls.h"
#include "camera/cli/Command.h"
#include "camera/cli/FramesFile.h"
#include "camera/onvif/ConfigurationFile.h"

#include <cstdint>
#include <json/value.h>

namespace camera::cli {

namespace {

using Context = CommandContext;

constexpr std::chrono::seconds kWritePatience(120);

int printTexts(Context& context, const std::vector<std::string>& texts)
{
    Json::Value list(Json::arrayValue);
    for (const std::string& text : texts) {
        list.append(text);
        if (!context.arguments.json) {
            context.console.line(base::printable(text));
        }
    }
    if (context.arguments.json) {
        context.print(list);
    }
    return 0;
}

int listComponents(Context& context, bool rules)
{
    const std::vector<std::string> elements = componentsNow(context.client(), rules);
    if (!context.arguments.json) {
        return printTexts(context, elements);
    }
    Json::Value list(Json::arrayValue);
    for (const std::string& element : elements) {
        const std::vector<onvif::ComponentName> names = onvif::componentsOf(element);
        Json::Value component;
        component["name"] = names.empty() ? "" : names[0].name;
        component["type"] = names.empty() ? "" : names[0].type;
        component["preset"] = names.empty() ? "" : names[0].preset;
        component["xml"] = element;
        list.append(component);
    }
    context.print(list);
    return 0;
}

std::vector<Command> componentCommands(const std::string& kind, bool rules)
{
    const auto store = [rules](bool modify) {
        return [rules, modify](Context& context) {
            storeComponents(context.client(), rules, modify, context.arguments.words, context.patience(kWritePatience),
                            context.console);
            return 0;
        };
    };
    return {
        {kind + " list",
         "",
         "list every stored one, an element a line",
         [rules](Context& context) { return listComponents(context, rules); },
         true,
         {},
         {}},
        {kind + " types",
         "",
         "list the types that there can be",
         [rules](Context& context) { return printTexts(context, componentTypes(context.client(), rules)); },
         true,
         {},
         {}},
        {kind + " create", "FILE...", "add those of XML files", store(false), false, {}, {}},
        {kind + " modify", "FILE...", "replace those of the same names", store(true), false, {}, {}},
        {kind + " delete",
         "NAME...",
         "remove some by name",
         [rules](Context& context) {
             deleteComponents(context.client(), rules, context.arguments.words, context.patience(kWritePatience),
                              context.console);
             return 0;
         },
         false,
         {},
         {}},
    };
}

Command texts(const std::string& name, const std::string& help, const std::string& method)
{
    return {name,
            "",
            help,
            [method](Context& context) {
                return printTexts(context, std::get<0>(context.client().call<std::vector<std::string>>(
                                               bus::service::kAnalytics, method)));
            },
            true,
            {},
            {}};
}

const CommandOption kFramesDir = {"--frames-dir", "DIR", "FILE lies below DIR, not in the state folder's frames"};

void succeed(std::int32_t result, const std::string& what)
{
    if (result != 0) {
        throw CameraError("the camera cannot " + what + "; its log names the reason");
    }
}

int record(Context& context)
{
    const std::vector<std::string>& words = context.arguments.words;
    const auto count = static_cast<std::uint32_t>(
        words.size() > 2 ? base::wholeNumber("camera frames record: N", words[2], 0, 4294967295LL) : 100);
    const std::string file = framesFile(context.stateDir(), context.arguments.option("--frames-dir"), words[1]);
    const auto [result] =
        context.client().call<std::int32_t>(bus::service::kAnalytics, "writeFramesToFile", words[0], file, count);
    succeed(result, "record frames");
    context.console.line(count == 0 ? "Engine '" + base::printable(words[0]) + "' records no longer."
                                    : "Engine '" + base::printable(words[0]) + "' records " + std::to_string(count) +
                                          " frames into '" + base::printable(file) + "'.");
    return 0;
}

int replay(Context& context)
{
    const std::vector<std::string>& words = context.arguments.words;
    const bool forget = !context.arguments.option("--forget").empty();
    const std::string file = framesFile(context.stateDir(), context.arguments.option("--frames-dir"), words[1]);
    const auto [result] =
        context.client().call<std::int32_t>(bus::service::kAnalytics, "readFramesFromFile", words[0], file, forget);
    succeed(result, "replay frames");
    context.console.line("Engine '" + base::printable(words[0]) + "' sees the frames of '" + base::printable(file) +
                         "'.");
    return 0;
}

} // namespace

std::vector<Command> analyticsCommands()
{
    std::vector<Command> all = componentCommands("rules", true);
    for (Command& command : componentCommands("modules", false)) {
        all.push_back(std::move(command));
    }
    all.push_back(texts("presets-used", "list the presets that have a configuration", "getUsedPtzPresets"));
    all.push_back(texts("topics", "list the topics of the events that there can be", "getEventTopics"));
    all.push_back({"frames record",
                   "ENGINE FILE [N]",
                   "have an engine keep its next N frames (100)",
                   record,
                   false,
                   {kFramesDir},
                   {}});
    all.push_back({"frames replay",
                   "ENGINE FILE",
                   "have an engine see kept frames instead of the picture",
                   replay,
                   false,
                   {{"--forget", "", "the engine forgets what it has learned first"}, kFramesDir},
                   {}});
    return all;
}

} // namespace camera::cli
