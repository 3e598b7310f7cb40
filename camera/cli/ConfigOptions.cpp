#include "camera/cli/ConfigOptions.h"

#include "camera/base/OptionTable.h"
#include "camera/pipeline/CameraOptions.h"

#include <map>

namespace camera::cli {

namespace {

const std::string kCommand = "camera config";

base::OptionTable makeTable(ConfigOptions& options)
{
    base::OptionTable table(kCommand);
    pipeline::addCameraOptions(table, options.camera, options.help);
    table.text("--camera", "DIR", "ask the camera that runs on this state folder", options.runningCamera);
    table.value("--timeout", "S", "wait so many seconds for a running camera", [&options](const std::string& text) {
        options.timeoutSeconds = base::wholeNumber("--timeout", text, 1, 86400);
    });
    return table;
}

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

ConfigOptions parseConfig(const std::vector<std::string>& arguments)
{
    ConfigOptions options;
    std::vector<std::string> rest = makeTable(options).parse(arguments);
    if (options.help) {
        return options;
    }
    if (rest.empty()) {
        refuse("what to do is missing: set, get, rules, modules, history, restore or reset");
    }
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
    if (!options.camera.stateDir.empty() && !options.runningCamera.empty()) {
        refuse("--state and --camera are given both; one names the camera");
    }
    pipeline::settle(options.camera);
    return options;
}

std::string configHelp()
{
    ConfigOptions options;
    return "usage: camera config set FILE.xml... --state DIR       store whole configurations\n"
           "       camera config get --state DIR [--preset NAME]   print what is active, or stored for a preset\n"
           "       camera config rules --state DIR                 list every stored rule\n"
           "       camera config rules types --state DIR           list the types that there can be\n"
           "       camera config rules add FILE.xml... --state DIR\n"
           "       camera config rules modify FILE.xml... --state DIR\n"
           "       camera config rules delete NAME... --state DIR\n"
           "       camera config modules ...                       the same for analytics modules\n"
           "       camera config history --state DIR               list the stored documents, newest first\n"
           "       camera config restore N --state DIR             go back to one of them\n"
           "       camera config reset --state DIR                 forget all rules and modules (also: default)\n\n"
           "Talks to the analytics service of the camera that keeps its settings in DIR: to the running one, or, "
           "where\n"
           "none runs, to one of its own, and says then what will be true after a restart where that differs.\n"
           "Without --state it is the camera that runs, or the one that --camera DIR names. restore needs one that\n"
           "does not run.\n\n" +
           makeTable(options).help();
}

} // namespace camera::cli
