#include "camera/cli/ConfigOptions.h"

#include "camera/base/CommandLine.h"

#include <map>

namespace camera::cli {

namespace {

const std::string kCommand = "camera config";

[[noreturn]] void refuse(const std::string& what)
{
    throw base::UsageError(kCommand + ": " + what + "; see " + kCommand + " --help.");
}

ConfigAction componentAction(const std::string& word)
{
    static const std::map<std::string, ConfigAction> actions = {
        {"list", ConfigAction::list},     {"types", ConfigAction::types},   {"add", ConfigAction::add},
        {"modify", ConfigAction::modify}, {"delete", ConfigAction::remove},
    };
    const auto found = actions.find(word);
    if (found == actions.end()) {
        refuse("'" + word + "' is none of list, types, add, modify and delete");
    }
    return found->second;
}

ConfigAction action(const std::string& word)
{
    static const std::map<std::string, ConfigAction> actions = {
        {"set", ConfigAction::set},      {"get", ConfigAction::get},         {"rules", ConfigAction::list},
        {"modules", ConfigAction::list}, {"history", ConfigAction::history}, {"restore", ConfigAction::restore},
        {"reset", ConfigAction::reset},  {"default", ConfigAction::reset},
    };
    const auto found = actions.find(word);
    if (found == actions.end()) {
        refuse("'" + word + "' is none of set, get, rules, modules, history, restore and reset");
    }
    return found->second;
}

void checkArguments(ConfigOptions& options)
{
    const std::vector<std::string>& given = options.arguments;
    switch (options.action) {
    case ConfigAction::set:
    case ConfigAction::add:
    case ConfigAction::modify:
        if (given.empty()) {
            refuse("a file is missing");
        }
        break;
    case ConfigAction::remove:
        if (given.empty()) {
            refuse("the name of what to delete is missing");
        }
        break;
    case ConfigAction::restore:
        if (given.size() != 1) {
            refuse("restore takes one number, as camera config history lists them");
        }
        options.sequence = base::wholeNumber("restore", given[0], 1, 9223372036854775807LL);
        break;
    case ConfigAction::get:
    case ConfigAction::list:
    case ConfigAction::types:
    case ConfigAction::history:
    case ConfigAction::reset:
        if (!given.empty()) {
            refuse("'" + given[0] + "' is too much");
        }
        break;
    }
}

} // namespace

ConfigOptions configOptions(const base::Arguments& arguments)
{
    ConfigOptions options;
    pipeline::CameraOptions& camera = options.camera;
    camera.stateDir = arguments.text("--state");
    camera.plugin = arguments.text("--plugin");
    camera.engines = arguments.all("--engine");
    camera.model = arguments.text("--model");
    camera.preset = arguments.text("--preset");
    camera.verbosity = static_cast<int>(arguments.count("-v"));
    camera.ptz = arguments.has("--ptz") || arguments.has("--preset") || arguments.has("--model");
    std::vector<std::string> rest = arguments.all("ACTION");
    const std::string word = rest.front();
    rest.erase(rest.begin());
    options.action = action(word);
    options.rules = word != "modules";
    if (options.action == ConfigAction::list && !rest.empty()) {
        options.action = componentAction(rest.front());
        rest.erase(rest.begin());
    }
    options.arguments = std::move(rest);
    checkArguments(options);
    if (arguments.has("--state") && arguments.has("--camera")) {
        refuse("--state and --camera are given both; one names the camera");
    }
    return options;
}

base::Command configCommand()
{
    using base::Offer;
    base::Command command("config", "Reads and changes the configuration of the analytics.");
    command.takes({"ACTION"}, "what to do, with its files, names or number", base::Argument::Count::oneOrMore)
        .option("--state", {"DIR", Offer::folders}, "the camera that keeps its settings in this folder, running or not")
        .flag("--ptz", "a PTZ camera instead of a fixed one")
        .option("--model", {"NAME|FILE.json", Offer::models}, "the model of a PTZ camera")
        .option("--preset", base::nameValue("NAME", Offer::presets), "a PTZ camera that stands at this preset")
        .option("--plugin", {"PATH", Offer::files}, "the plug-in, if not the one beside the program")
        .repeatedOption("--engine", {"PATH.so", Offer::files},
                        "load an engine module; none: forget those that the state folder remembers")
        .flag("-v", "log more; given twice, log everything");
    command.details = "Actions:\n"
                      "  set FILE.xml...             store whole configurations\n"
                      "  get [--preset NAME]         print what is active, or what is stored for a preset\n"
                      "  rules                       list every stored rule\n"
                      "  rules types                 list the types that the engines support\n"
                      "  rules add FILE.xml...\n"
                      "  rules modify FILE.xml...\n"
                      "  rules delete NAME...\n"
                      "  modules ...                 the same for analytics modules\n"
                      "  history                     list the stored documents, newest first\n"
                      "  restore N                   make one of them the newest again\n"
                      "  reset                       remove all rules and modules (also: default)\n";
    return command;
}

} // namespace camera::cli
