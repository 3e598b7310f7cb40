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
using Analytics = bus::OnvifAnalyticServiceClient;
using Change = decltype(&Analytics::createRules);

using Count = base::Argument::Count;

int listComponents(Context& context, bool rules)
{
    for (const std::string& element : componentsNow(context.client(), rules)) {
        if (!context.json()) {
            context.console.line(base::printable(element));
            continue;
        }
        for (Json::Value& object : onvif::componentObjects(element)) {
            object["loaded"] = true;
            object["xml"] = element;
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

std::string outcomeText(std::uint32_t status)
{
    switch (status) {
    case 0:
        return "the camera failed";
    case 1:
        return "interrupted: what was stored before stays";
    case 4:
        return "refused: one of the rules or modules is not valid";
    case 5:
        return "not found: one of the names is unknown";
    default:
        return "unknown outcome " + std::to_string(status);
    }
}

int changeComponents(Context& context, Change method, const std::vector<std::string>& items, const std::string& what,
                     const std::string& done, const std::string& advice)
{
    return change(context, [&](CameraClient& client) {
        const auto [result, status] = client.askWithin(context.patience(kWritePatience), method, items);
        if (result != 0 || status != 0) {
            throw CameraError("cannot " + what + ": " + outcomeText(status) + "; " + advice);
        }
        context.console.line(done);
    });
}

int storeComponents(Context& context, bool rules, Change method)
{
    std::vector<std::string> items;
    for (const std::string& file : context.arguments.all("FILE.xml")) {
        for (const std::string& item : onvif::readComponents(file, rules)) {
            items.push_back(sendableText(item, file));
        }
    }
    const std::string count = countOf(items.size(), rules);
    return changeComponents(context, method, items, "store " + count, count + " stored.",
                            "the camera's log names the reason");
}

int deleteComponents(Context& context, bool rules)
{
    const std::vector<std::string>& names = context.arguments.all("NAME");
    const std::string count = countOf(names.size(), rules);
    return changeComponents(context, rules ? &Analytics::deleteRules : &Analytics::deleteEngines, names,
                            "delete " + count, count + " deleted.",
                            std::string("camera ") + (rules ? "rules" : "modules") + " list shows the names");
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
    return printTexts(context, "topic", context.client().ask(&Analytics::getEventTopics));
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
    succeed(context.client().ask(&Analytics::writeFramesToFile, engine, file, count), "record frames");
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
    succeed(context.client().ask(&Analytics::readFramesFromFile, engine, file, context.arguments.has("--forget")),
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
