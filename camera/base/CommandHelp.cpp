// The help of programs and commands, and the man page.

#include "camera/base/CommandLine.h"
#include "camera/base/Text.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <ctime>
#include <sstream>

namespace camera::base {

namespace {

using Count = Argument::Count;

constexpr std::size_t kOptionColumn = 30;
constexpr std::size_t kCommandColumn = 44;

const Option kHelpOption = {"-h, --help", std::nullopt, "print this text"};

std::string row(const std::string& left, std::size_t column, const std::string& right)
{
    std::string text = "  " + left;
    text.resize(std::max(text.size() + 2, column), ' ');
    return text + right + "\n";
}

std::string shownOption(const Option& option)
{
    return option.name + (option.value ? " " + shownValue(*option.value) : "");
}

std::string helpOf(const Option& option)
{
    return option.help + (option.count == Option::Count::repeatable && option.value ? " (may be repeated)" : "");
}

// What follows the name of a command: its arguments.
std::string shownArguments(const Command& command)
{
    std::string text;
    for (const Option& option : command.options) {
        text += option.count == Option::Count::required ? " " + shownOption(option) : "";
    }
    for (const Argument& argument : command.arguments) {
        text += " " + shownArgument(argument);
    }
    return text;
}

std::string usage(const Program& program, const Command& command)
{
    return fullName(program, command) + shownArguments(command) + " [OPTION]...";
}

const char* exitCodes()
{
    return "0 done, 1 failed, 2 wrong arguments";
}

// Escapes a text for roff, so that no character of it is a request, a quote or an escape. A dash stays an ASCII dash,
// which can be copied to a shell.
std::string roff(const std::string& text)
{
    std::string escaped;
    for (const char letter : text) {
        const bool begins = escaped.empty() || escaped.back() == '\n';
        if (begins && (letter == '.' || letter == '\'')) {
            escaped += "\\&";
        }
        escaped += letter == '\\' ? "\\e" : letter == '-' ? "\\-" : std::string(1, letter);
    }
    return escaped;
}

// Text whose lines the reader's program fills: short lines, as in other man pages.
std::string roffText(const std::string& text)
{
    constexpr std::size_t kLine = 70;
    std::istringstream words(text);
    std::string lines;
    std::string line;
    for (std::string word; words >> word;) {
        if (!line.empty() && line.size() + word.size() > kLine) {
            lines += roff(line) + "\n";
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    return lines + roff(line) + "\n";
}

// Today's date. SOURCE_DATE_EPOCH replaces it, so that a build can be repeated exactly.
std::string today()
{
    const char* fixed = std::getenv("SOURCE_DATE_EPOCH");
    return utcText(fixed != nullptr ? std::strtoll(fixed, nullptr, 10) : std::time(nullptr), "%Y-%m-%d");
}

std::string roffItem(const std::string& left, const std::string& right)
{
    return ".TP\n.B " + roff(left) + "\n" + roffText(right);
}

// Lines that are not filled.
std::string roffLines(const std::string& lines)
{
    return lines.empty() ? "" : ".PP\n.nf\n" + roff(lines) + (lines.back() == '\n' ? "" : "\n") + ".fi\n";
}

std::string manSection(const Program& program, const Command& command)
{
    std::string text;
    if (!command.name.empty()) {
        text =
            ".SS \"" + roff(fullName(program, command) + shownArguments(command)) + "\"\n" + roffText(command.summary);
    }
    for (const Argument& argument : command.arguments) {
        text += roffItem(shownArgument(argument), argument.help);
    }
    for (const Option& option : command.options) {
        text += roffItem(shownOption(option), helpOf(option));
    }
    return text + roffLines(command.details);
}

} // namespace

std::string shownValue(const Value& value)
{
    std::string text;
    for (const std::string& choice : value.choices) {
        text += (text.empty() ? "" : "|") + choice;
    }
    return text.empty() ? value.name : text;
}

std::string shownArgument(const Argument& argument)
{
    const std::string shown = shownValue(argument.value);
    switch (argument.count) {
    case Count::one:
        return shown;
    case Count::optional:
        return "[" + shown + "]";
    case Count::oneOrMore:
        break;
    }
    return shown + "...";
}

std::string fullName(const Program& program, const Command& command)
{
    return program.name + (command.name.empty() ? "" : " " + command.name);
}

std::string commandHelp(const Program& program, const Command& command)
{
    std::string text = "usage: " + usage(program, command) + "\n\n" + command.summary + "\n\n";
    for (const Argument& argument : command.arguments) {
        text += row(shownArgument(argument), kOptionColumn, argument.help);
    }
    for (const Option& option : command.options) {
        text += row(shownOption(option), kOptionColumn, helpOf(option));
    }
    text += row(kHelpOption.name, kOptionColumn, kHelpOption.help);
    return text + (command.details.empty() ? "" : "\n" + command.details) + "\nExit codes: " + exitCodes() + ".\n";
}

std::string programHelp(const Program& program, const std::string& firstWord)
{
    const std::string begin = firstWord.empty() ? "" : firstWord + " ";
    std::string text = "usage: " + program.name + " " + begin + "COMMAND [ARGUMENT]...\n\n";
    if (firstWord.empty()) {
        text += program.summary + "\n\n";
    }
    for (const Command& command : program.commands) {
        if (command.name.compare(0, begin.size(), begin) == 0) {
            text += row(command.name + shownArguments(command), kCommandColumn, command.summary);
        }
    }
    text += "\n" + program.name + " " + begin + "COMMAND --help tells more about a command.\n";
    text += firstWord.empty() ? program.name + " --version prints the version.\n" : "";
    return text + (firstWord.empty() ? program.details : "") + "Exit codes: " + exitCodes() + ".\n";
}

std::string manPage(const Program& program)
{
    std::string title = program.name;
    std::transform(title.begin(), title.end(), title.begin(), [](unsigned char c) { return std::toupper(c); });
    const bool single = program.commands.front().name.empty();
    std::string text = ".TH " + roff(title) + " 1 " + today() + " \"\" \"Virtual camera\"\n.SH NAME\n" +
                       roff(program.name) + " \\- " + roffText(program.summary) + ".SH SYNOPSIS\n";
    for (const Command& command : program.commands) {
        text += (&command == &program.commands.front() ? "" : ".br\n") + roff(usage(program, command)) + "\n";
    }
    text += ".SH DESCRIPTION\n" + roffText(single ? program.commands.front().summary : program.summary) +
            roffLines(program.details) + (single ? ".SH OPTIONS\n" : ".SH COMMANDS\n");
    for (const Command& command : program.commands) {
        text += manSection(program, command);
    }
    return text + ".SH EXIT STATUS\n" + exitCodes() + ".\n";
}

} // namespace camera::base
