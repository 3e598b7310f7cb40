#include "camera/base/Text.h"
#include "camera/cli/AnalyticsCalls.h"
#include "camera/cli/FramesFile.h"
#include "camera/cli/JsonOutput.h"
#include "camera/onvif/ConfigurationFile.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>

namespace camera::cli {

namespace {

using base::Command;
using base::Offer;
using Context = CommandContext;
using Target = bus::OnvifAnalyticServiceClient;
using Analytics = bus::AnalyticsClient;
using Texts = std::vector<std::string>;
using Change = decltype(&Analytics::createRules);

using Count = base::Argument::Count;

int listComponents(Context& context, bool rules)
{
    for (const onvif::PlacedComponent& component : publicComponents(context.client())) {
        if (component.isRule != rules) {
            continue;
        }
        if (!context.json()) {
            context.console.line(base::printable(component.xml));
            continue;
        }
        for (Json::Value& object : onvif::componentObjects(component.xml)) {
            object["loaded"] = true;
            object["xml"] = component.xml;
            context.print(object);
        }
    }
    for (const onvif::ComponentName& component : storedComponents(context.client()).ofOthers) {
        if (component.isRule == rules) {
            Json::Value object = onvif::componentObject(component);
            object["loaded"] = false;
            context.print(object, base::printable(onvif::describe(component)) + ", of an engine that is not loaded");
        }
    }
    return 0;
}

std::string countOf(std::size_t count, bool rules)
{
    return std::to_string(count) + (rules ? " rule" : " module") + (count == 1 ? "" : "s");
}

constexpr std::uint32_t kRefused = 4; // of the status word

std::string outcomeText(std::uint32_t status)
{
    switch (status) {
    case 0:
        return "the camera failed";
    case 1:
        return "interrupted: what was stored before stays";
    default:
        return "unknown outcome " + std::to_string(status);
    }
}

int storeComponents(Context& context, bool rules, Change method)
{
    Texts items;
    for (const std::string& file : context.arguments.all("FILE.xml")) {
        for (const std::string& item : onvif::readComponents(file, rules)) {
            items.push_back(sendableText(item, file));
        }
    }
    const std::string count = countOf(items.size(), rules);
    return change(context, [&](CameraClient& client) {
        const auto [result, status, refusal] = client.askWithin(context.patience(kWritePatience), method, items);
        if (result != 0 || status != 0) {
            throw CameraError("cannot store " + count + ": " +
                              (status == kRefused ? refusalReason(client, items, refusal)
                                                  : outcomeText(status) + "; the camera's log names the reason"));
        }
        context.console.line(count + " stored.");
    });
}

int deleteComponents(Context& context, bool rules)
{
    Texts names = context.arguments.all("NAME");
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    const std::string count = countOf(names.size(), rules);
    return change(context, [&](CameraClient& client) {
        deleteComponents(client, rules, names, "delete " + count, context.patience(kWritePatience));
        context.console.line(count + " deleted.");
    });
}

std::vector<Command> componentCommands(const std::string& kind, bool rules)
{
    const auto storing = [&](const std::string& name, const std::string& summary, Change method) {
        return onFolder(Command(kind + name, summary)
                            .takes({"FILE.xml", Offer::files}, "a file with one or several of them", Count::oneOrMore),
                        FolderUse::change,
                        [rules, method](Context& context) { return storeComponents(context, rules, method); });
    };
    return {
        listing(
            kind + " list", "Lists the stored " + kind + ", an XML element a line.",
            [rules](Context& context) { return listComponents(context, rules); }, FolderUse::look),
        listing(
            kind + " types", "Lists the types of " + kind + " that the engines support.",
            [rules](Context& context) { return printTexts(context, "type", componentTypes(context.client(), rules)); },
            FolderUse::look),
        storing(" create", "Creates the " + kind + " of XML files.",
                rules ? &Analytics::createRules : &Analytics::createEngines),
        storing(" modify", "Replaces " + kind + " by those with the same names in XML files.",
                rules ? &Analytics::modifyRules : &Analytics::modifyEngines),
        onFolder(Command(kind + " delete", "Deletes " + kind + " by name.")
                     .takes(base::nameValue("NAME", rules ? Offer::rules : Offer::modules),
                            "the name of one of the " + kind, Count::oneOrMore),
                 FolderUse::change, [rules](Context& context) { return deleteComponents(context, rules); }),
    };
}

int listTopics(Context& context)
{
    return printTexts(context, "topic", context.client().ask(&Target::getEventTopics));
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

// The camera's answer to an engine that it does not have is that it cannot, and no more.
std::string loadedEngine(Context& context)
{
    const std::string engine = context.arguments.text("ENGINE");
    std::vector<std::string> loaded;
    for (const auto& row : context.client().ask(&bus::PipelineClient::engines)) {
        loaded.push_back(std::get<0>(row));
    }
    if (std::find(loaded.begin(), loaded.end(), engine) == loaded.end()) {
        throw CameraError("there is no engine '" + base::printable(engine) + "'; the camera has " +
                          base::printable(base::joined(loaded, " and ")));
    }
    return engine;
}

int record(Context& context)
{
    const std::string file = fileOf(context);
    const std::string engine = loadedEngine(context);
    const auto count = static_cast<std::uint32_t>(context.arguments.whole("N", 100));
    succeed(context.client().ask(&Target::writeFramesToFile, engine, file, count), "record frames");
    context.console.line(count == 0 ? "Engine '" + base::printable(engine) + "' records no longer."
                                    : "Engine '" + base::printable(engine) + "' records " + std::to_string(count) +
                                          " frames into '" + base::printable(file) + "'.");
    return 0;
}

int replay(Context& context)
{
    const std::string file = fileOf(context);
    const std::string engine = loadedEngine(context);
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) {
        throw CameraError("there is no file '" + base::printable(file) + "'; camera frames record makes one");
    }
    succeed(context.client().ask(&Target::readFramesFromFile, engine, file, context.arguments.has("--forget")),
            "replay frames");
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
    all.push_back(listing("topics", "Lists the topics of the events that the engines can send.", listTopics));
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
