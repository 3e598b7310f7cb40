#include "camera/cli/Command.h"

#include "camera/base/Log.h"
#include "camera/base/OptionTable.h"
#include "camera/base/Utf8.h"
#include "camera/cli/CommandShape.h"
#include "camera/cli/ConfigOptions.h"
#include "camera/cli/RunningConfig.h"
#include "camera/cli/SuperviseCommand.h"
#include "camera/pipeline/RunOptions.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <utility>

namespace camera::cli {

namespace {

constexpr std::size_t kHelpColumn = 44;

int printText(const std::string& text)
{
    std::fputs(text.c_str(), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}

Command runCommand()
{
    Command command{"run", "INPUT [OPTION]...", "run a camera on a video; camera run --help", {}, false, {}, {}};
    command.raw = [](const std::vector<std::string>& words, base::Console& console) {
        const pipeline::RunOptions options = pipeline::parseRun(words);
        return options.help ? printText(pipeline::runHelp()) : superviseCamera(options, words, console);
    };
    return command;
}

Command configCommand()
{
    Command command{
        "config", "ACTION [OPTION]...", "look at and change its analytics; camera config --help", {}, false, {}, {}};
    command.raw = [](const std::vector<std::string>& words, base::Console& console) {
        const ConfigOptions options = parseConfig(words);
        return options.help ? printText(configHelp()) : performConfig(options, console);
    };
    return command;
}

Command completionCommand()
{
    return {"completion",
            "bash|zsh",
            "print a script that completes these commands",
            [](CommandContext& context) { return printText(completionScript(context.arguments.words[0])); },
            false,
            {},
            {}};
}

void append(std::vector<Command>& all, std::vector<Command> some)
{
    std::move(some.begin(), some.end(), std::back_inserter(all));
}

base::OptionTable makeTable(const Command& command, CommandArguments& arguments, bool& help)
{
    const std::string spoken = "camera " + command.name;
    base::OptionTable table(spoken);
    table.numbersAreWords();
    for (const CommandOption& option : command.options) {
        const auto set = [&arguments, name = option.name](const std::string& text) { arguments.options[name] = text; };
        if (option.takes.empty()) {
            table.flag(option.name, option.help, [set] { set("given"); });
        } else {
            table.value(option.name, option.takes, option.help, set);
        }
    }
    if (command.listing) {
        table.flag("--json", "for programs", [&arguments] { arguments.json = true; });
    }
    table.text("--camera", "DIR", "the camera with this state folder, if not the only one", arguments.camera);
    table.value("--timeout", "S", "wait so many seconds for an answer", [&arguments](const std::string& text) {
        arguments.patience = std::chrono::seconds(base::wholeNumber("--timeout", text, 1, 86400));
    });
    table.flag("-h", "this text", [&help] { help = true; });
    table.flag("--help", "this text", [&help] { help = true; });
    return table;
}

std::string firstWord(const std::string& name)
{
    return name.substr(0, name.find(' '));
}

[[noreturn]] void refuseUnknown(const std::vector<std::string>& words)
{
    std::string next;
    bool known = false;
    for (const Command& command : commands()) {
        known = known || firstWord(command.name) == words[0];
        if (firstWord(command.name) == words[0] && command.name.size() > words[0].size()) {
            next += (next.empty() ? "" : ", ") + command.name.substr(words[0].size() + 1);
        }
    }
    if (!known) {
        throw base::UsageError("there is no command '" + words[0] + "'; see camera --help.");
    }
    if (words.size() == 1) {
        throw base::UsageError("camera " + words[0] + ": what to do is missing: one of " + next + ".");
    }
    throw base::UsageError("camera " + words[0] + ": '" + words[1] + "' is none of " + next + ".");
}

// How many words of a command's name begin what was typed; 0: another command.
std::size_t matchedWords(const Command& command, const std::vector<std::string>& words)
{
    std::istringstream name(command.name);
    std::size_t count = 0;
    for (std::string word; name >> word; ++count) {
        if (count >= words.size() || words[count] != word) {
            return 0;
        }
    }
    return count;
}

} // namespace

const std::vector<Command>& commands()
{
    static const std::vector<Command> all = [] {
        std::vector<Command> list = {runCommand()};
        append(list, statusCommands());
        append(list, positioningCommands());
        append(list, analyticsCommands());
        list.push_back(configCommand());
        append(list, followCommands());
        append(list, serviceCommands());
        list.push_back(completionCommand());
        return list;
    }();
    return all;
}

std::optional<CommandArguments> parseCommand(const Command& command, const std::vector<std::string>& words)
{
    CommandArguments arguments;
    bool help = false;
    arguments.words = makeTable(command, arguments, help).parse(words);
    if (help) {
        return std::nullopt;
    }
    checkWords(command, arguments.words);
    return arguments;
}

std::string commandHelp(const Command& command)
{
    CommandArguments arguments;
    bool help = false;
    return "usage: camera " + command.name + (command.takes.empty() ? "" : " " + command.takes) + " [OPTION]...\n\n" +
           command.help + "\n\n" + makeTable(command, arguments, help).help();
}

std::string programHelp()
{
    std::string text = "usage: camera COMMAND [ARGUMENT]...\n\n"
                       "A virtual camera: it loads the detection plug-in as a network camera does, on real video.\n\n";
    for (const Command& command : commands()) {
        std::string left = "  " + command.name + (command.takes.empty() ? "" : " " + command.takes);
        left.resize(std::max(left.size() + 2, kHelpColumn), ' ');
        text += left + command.help + "\n";
    }
    return text +
           "\ncamera COMMAND --help says more. All but run and config talk to a camera that runs: the only one,\n"
           "or the one with the state folder that --camera DIR names.\n"
           "Exit codes: 0 done, 1 failed, 2 wrong arguments.\n";
}

int performCommand(const std::vector<std::string>& words, base::Console& console)
{
    if (words.empty()) {
        throw base::UsageError("a command is missing; see camera --help.");
    }
    if (words[0] == "--help" || words[0] == "-h" || words[0] == "help") {
        return printText(programHelp());
    }
    for (const Command& command : commands()) {
        const std::size_t matched = matchedWords(command, words);
        if (matched == 0) {
            continue;
        }
        const std::vector<std::string> rest(words.begin() + static_cast<std::ptrdiff_t>(matched), words.end());
        if (command.raw) {
            return command.raw(rest, console);
        }
        const std::optional<CommandArguments> arguments = parseCommand(command, rest);
        if (!arguments) {
            return printText(commandHelp(command));
        }
        // A camera that goes is told in a sentence; the connection's own lines would only stand beside it.
        base::Log::instance().setWriter([](const std::string&) {});
        CommandContext context(*arguments, console);
        return command.perform(context);
    }
    refuseUnknown(words);
}

double decimalNumber(const std::string& what, const std::string& text, double lowest, double highest)
{
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    double number = 0;
    // Digits only: the stream would also read hexadecimal numbers.
    const bool plain = text.find_first_not_of("+-.0123456789") == std::string::npos;
    if (!plain || !(in >> number) || in.peek() != std::istringstream::traits_type::eof() || number < lowest ||
        number > highest) {
        std::ostringstream range;
        range << lowest << " to " << highest;
        throw base::UsageError(what + " takes a number from " + range.str() + ", not '" + text + "'.");
    }
    return number;
}

const std::string& sendableWord(const std::string& what, const std::string& text)
{
    if (!base::isSendable(text)) {
        throw base::UsageError(what + " is not UTF-8 text; write it in UTF-8.");
    }
    return text;
}

} // namespace camera::cli
