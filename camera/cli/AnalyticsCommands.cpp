#include "camera/base/PrintableText.h"
#include "camera/cli/AnalyticsCalls.h"
#include "camera/cli/Command.h"
#include "camera/cli/FramesFile.h"
#include "camera/onvif/ConfigurationFile.h"

#include <cstdint>
#include <json/value.h>

namespace camera::cli {

namespace {

using base::Command;
using base::Offer;
using Context = CommandContext;

using Count = base::Argument::Count;

constexpr std::chrono::seconds kWritePatience(120);

int printTexts(Context& context, const std::vector<std::string>& texts)
{
    Json::Value list(Json::arrayValue);
    for (const std::string& text : texts) {
        list.append(text);
        if (!context.json()) {
            context.console.line(base::printable(text));
        }
    }
    if (context.json()) {
        context.print(list);
    }
    return 0;
}

int listComponents(Context& context, bool rules)
{
    const std::vector<std::string> elements = componentsNow(context.client(), rules);
    if (!context.json()) {
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
    const auto storing = [rules](bool modify) {
        return onCamera([rules, modify](Context& context) {
            storeComponents(context.client(), rules, modify, context.arguments.all("FILE.xml"),
                            context.patience(kWritePatience), context.console);
            return 0;
        });
    };
    const auto files = [](Command command) {
        return command.takes({"FILE.xml", Offer::files}, "a file with one or several of them", Count::oneOrMore);
    };
    return {
        listing(kind + " list", "Lists the stored " + kind + ", an XML element a line.",
                [rules](Context& context) { return listComponents(context, rules); }),
        listing(kind + " types", "Lists the types of " + kind + " that the engines support.",
                [rules](Context& context) { return printTexts(context, componentTypes(context.client(), rules)); }),
        files(Command(kind + " create", "Creates the " + kind + " of XML files.")).does(storing(false)),
        files(Command(kind + " modify", "Replaces " + kind + " by those with the same names in XML files."))
            .does(storing(true)),
        Command(kind + " delete", "Deletes " + kind + " by name.")
            .takes(base::nameValue("NAME", rules ? Offer::rules : Offer::modules), "the name of one of the " + kind,
                   Count::oneOrMore)
            .does(onCamera([rules](Context& context) {
                deleteComponents(context.client(), rules, context.arguments.all("NAME"),
                                 context.patience(kWritePatience), context.console);
                return 0;
            })),
    };
}

Command texts(const std::string& name, const std::string& summary, const std::string& method)
{
    return listing(name, summary, [method](Context& context) {
        return printTexts(
            context, std::get<0>(context.client().call<std::vector<std::string>>(bus::service::kAnalytics, method)));
    });
}

// A command about an engine and a file of frames.
Command frames(const std::string& name, const std::string& summary)
{
    return Command(name, summary)
        .takes(base::nameValue("ENGINE", Offer::engines), "the name of the engine")
        .takes(base::nameValue("FILE", Offer::files), "the file, in the folder frames of the state folder")
        .option("--frames-dir", {"DIR", Offer::folders}, "the file is in this folder instead");
}

void succeed(std::int32_t result, const std::string& what)
{
    if (result != 0) {
        throw CameraError("the camera cannot " + what + "; its log names the reason");
    }
}

std::string fileOf(Context& context)
{
    return framesFile(context.stateDir(), context.arguments.text("--frames-dir"), context.arguments.text("FILE"));
}

int record(Context& context)
{
    const std::string engine = context.arguments.text("ENGINE");
    const auto count = static_cast<std::uint32_t>(context.arguments.whole("N", 100));
    const std::string file = fileOf(context);
    const auto [result] =
        context.client().call<std::int32_t>(bus::service::kAnalytics, "writeFramesToFile", engine, file, count);
    succeed(result, "record frames");
    context.console.line(count == 0 ? "Engine '" + base::printable(engine) + "' records no longer."
                                    : "Engine '" + base::printable(engine) + "' records " + std::to_string(count) +
                                          " frames into '" + base::printable(file) + "'.");
    return 0;
}

int replay(Context& context)
{
    const std::string engine = context.arguments.text("ENGINE");
    const std::string file = fileOf(context);
    const auto [result] = context.client().call<std::int32_t>(bus::service::kAnalytics, "readFramesFromFile", engine,
                                                              file, context.arguments.has("--forget"));
    succeed(result, "replay frames");
    context.console.line("Engine '" + base::printable(engine) + "' sees the frames of '" + base::printable(file) +
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
    all.push_back(texts("presets-used", "Lists the presets that have a configuration.", "getUsedPtzPresets"));
    all.push_back(texts("topics", "Lists the topics of the events that the engines can send.", "getEventTopics"));
    all.push_back(frames("frames record", "Lets an engine record its next frames into a file.")
                      .takes(base::wholeValue("N", 0, 4294967295LL),
                             "how many frames; without it 100; 0 ends a recording", Count::optional)
                      .does(onCamera(record)));
    all.push_back(frames("frames replay", "Gives an engine recorded frames instead of the picture.")
                      .flag("--forget", "the engine first forgets what it has learned")
                      .does(onCamera(replay)));
    return all;
}

} // namespace camera::cli
