#include "camera/base/CommandLine.h"

#include "camera/base/Text.h"
#include "camera/base/Utf8.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <sstream>

namespace camera::base {

namespace {

using Count = Argument::Count;
using Words = std::vector<std::string>;

/// Parses the words of one command.
class Parser {
public:
    Parser(const Program& program, const Command& command, const Words& words)
        : _command(command), _name(fullName(program, command)), _words(words)
    {
    }

    std::optional<Arguments> parse()
    {
        Words rest;
        bool optionsEnded = false;
        while (_next < _words.size()) {
            const std::string& word = _words[_next++];
            if (optionsEnded || !isOption(word)) {
                rest.push_back(word);
            } else if (word == "--") {
                optionsEnded = true;
            } else if (word == "-h" || word == "--help") {
                return std::nullopt;
            } else {
                readOption(word);
            }
        }
        assign(rest);
        for (const Option& option : _command.options) {
            if (option.count == Option::Count::required && !_arguments.has(option.name)) {
                refuseAndPointToHelp(option.name + " " + shownValue(*option.value) + " is missing");
            }
        }
        return std::move(_arguments);
    }

private:
    [[noreturn]] void refuse(const std::string& what) const { throw UsageError(_name + ": " + what); }
    [[noreturn]] void refuseAndPointToHelp(const std::string& what) const
    {
        refuse(what + "; see " + _name + " --help.");
    }

    void readOption(const std::string& word)
    {
        const std::size_t equals = word.compare(0, 2, "--") == 0 ? word.find('=') : std::string::npos;
        const std::string name = word.substr(0, equals);
        const Option* found = optionNamed(_command, name);
        // "-vv" is "-v" twice.
        if (found == nullptr && name.size() > 2 && name.find_first_not_of(name[1], 1) == std::string::npos) {
            found = optionNamed(_command, name.substr(0, 2));
            for (std::size_t more = 2; found != nullptr && !found->value && more < name.size(); ++more) {
                _arguments.add(found->name, "");
            }
        }
        if (found == nullptr || (found->value && found->name != name)) {
            refuseAndPointToHelp("there is no option " + name);
        }
        const Option& option = *found;
        if (option.count != Option::Count::repeatable && _arguments.has(option.name)) {
            refuse(option.name + " is given twice; once is enough.");
        }
        if (!option.value) {
            if (equals != std::string::npos) {
                refuse(option.name + " takes no value.");
            }
            _arguments.add(option.name, "");
            return;
        }
        if (equals == std::string::npos && (_next == _words.size() || isOption(_words[_next]))) {
            refuse(option.name + " needs " + shownValue(*option.value) + " after it.");
        }
        const std::string text = equals == std::string::npos ? _words[_next++] : word.substr(equals + 1);
        if (option.value->check) {
            option.value->check(option.name, text);
        } else if (text.empty()) {
            refuseAndPointToHelp(option.name + " is given an empty value");
        }
        _arguments.add(option.name, text);
    }

    // Gives the words that are left to the arguments, in order.
    void assign(const Words& rest)
    {
        auto word = rest.begin();
        for (const Argument& argument : _command.arguments) {
            if (word == rest.end() && argument.count != Count::optional) {
                refuseAndPointToHelp(shownValue(argument.value) + " is missing");
            }
            const auto end = argument.count == Count::oneOrMore ? rest.end() : std::min(word + 1, rest.end());
            for (; word < end; ++word) {
                check(argument.value, *word);
                _arguments.add(argument.value.name, *word);
            }
        }
        if (word < rest.end()) {
            refuseAndPointToHelp("'" + *word + "' is too much");
        }
    }

    void check(const Value& value, const std::string& word) const
    {
        if (word.empty()) {
            refuseAndPointToHelp(shownValue(value) + " is empty");
        }
        if (value.check) {
            value.check(value.choices.empty() ? _name + ": " + value.name : _name, word);
        }
    }

    const Command& _command;
    const std::string _name;
    const Words& _words;
    std::size_t _next = 0;
    Arguments _arguments;
};

std::string firstWord(const std::string& name)
{
    return name.substr(0, name.find(' '));
}

// The number of words in the command's name when the typed words begin with it; nothing when they do not.
std::optional<std::size_t> matchedWords(const Command& command, const Words& words)
{
    std::istringstream name(command.name);
    std::size_t count = 0;
    for (std::string word; name >> word; ++count) {
        if (count >= words.size() || words[count] != word) {
            return std::nullopt;
        }
    }
    return count;
}

[[noreturn]] void refuseUnknown(const Program& program, const Words& words)
{
    Words following;
    for (const Command& command : program.commands) {
        if (firstWord(command.name) == words[0]) {
            following.push_back(command.name.substr(words[0].size() + 1));
        }
    }
    if (following.empty()) {
        throw UsageError("there is no command '" + words[0] + "'; see " + program.name + " --help.");
    }
    const std::string begin = program.name + " " + words[0] + ": ";
    if (words.size() == 1) {
        throw UsageError(begin + "what to do is missing: one of " + joined(following) + ".");
    }
    throw UsageError(begin + "'" + words[1] + "' is none of " + joined(following) + ".");
}

int printText(const std::string& text)
{
    std::fputs(text.c_str(), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}

bool asksForHelp(const std::string& word)
{
    return word == "--help" || word == "-h" || word == "help";
}

// The text to print when the words are not a command: help above the level of commands, and the options for scripts.
std::optional<std::string> textAskedFor(const Program& program, const Words& words)
{
    if (words.empty()) {
        return std::nullopt;
    }
    if (words[0] == "--man" && words.size() == 1) {
        return manPage(program);
    }
    if (words[0] == "--version" && words.size() == 1) {
        return program.name + " " DETECTION_VERSION "\n";
    }
    if (words[0] == "--complete") {
        std::string lines;
        for (const std::string& line : completions(program, Words(words.begin() + 1, words.end()))) {
            lines += line + "\n";
        }
        return lines;
    }
    if (program.commands.front().name.empty()) {
        return std::nullopt;
    }
    if (asksForHelp(words[0])) {
        return programHelp(program);
    }
    const bool isGroup =
        std::any_of(program.commands.begin(), program.commands.end(), [&words](const Command& command) {
            return command.name.compare(0, words[0].size() + 1, words[0] + " ") == 0;
        });
    if (isGroup && words.size() > 1 && asksForHelp(words[1])) {
        return programHelp(program, words[0]);
    }
    return std::nullopt;
}

std::string rangeText(const std::string& what, const std::string& kind, const std::string& range,
                      const std::string& text)
{
    return what + " takes a " + kind + " from " + range + ", not '" + text + "'.";
}

} // namespace

Value nameValue(const std::string& name, Offer offer)
{
    return {name, offer, {}, [](const std::string& what, const std::string& text) {
                if (text.empty()) {
                    throw UsageError(what + " is given an empty value; write a text after it.");
                }
                if (!isSendable(text)) {
                    throw UsageError(what + ": '" + text + "' is not UTF-8 text; write it in UTF-8.");
                }
            }};
}

Value choiceValue(const std::string& name, const Words& choices)
{
    return {name, Offer::nothing, choices, [choices](const std::string& what, const std::string& text) {
                if (std::find(choices.begin(), choices.end(), text) != choices.end()) {
                    return;
                }
                throw UsageError(what + " takes " + joined(choices, " or ") + ", not '" + text + "'.");
            }};
}

Value outputValue(const std::string& name, const Words& endings)
{
    return {name, Offer::files, {}, [endings](const std::string& what, const std::string& text) {
                if (!endsIn(text, endings)) {
                    throw UsageError(what + " takes a file whose name ends in " + joined(endings, " or ") + ", not '" +
                                     text + "'.");
                }
            }};
}

Value wholeValue(const std::string& name, long long lowest, long long highest)
{
    return {name, Offer::nothing, {}, [=](const std::string& what, const std::string& text) {
                wholeNumber(what, text, lowest, highest);
            }};
}

Value decimalValue(const std::string& name, double lowest, double highest)
{
    return {name, Offer::nothing, {}, [=](const std::string& what, const std::string& text) {
                decimalNumber(what, text, lowest, highest);
            }};
}

const std::vector<std::string>& Arguments::all(const std::string& name) const
{
    static const std::vector<std::string> none;
    const auto found = _values.find(name);
    return found == _values.end() ? none : found->second;
}

std::string Arguments::text(const std::string& name, const std::string& otherwise) const
{
    return has(name) ? all(name).back() : otherwise;
}

long long Arguments::whole(const std::string& name, long long otherwise) const
{
    return has(name) ? std::stoll(text(name)) : otherwise;
}

double Arguments::decimal(const std::string& name, double otherwise) const
{
    return has(name) ? decimalNumber(name, text(name), -HUGE_VAL, HUGE_VAL) : otherwise;
}

Command& Command::takes(const Value& value, const std::string& help, Argument::Count count)
{
    arguments.push_back({value, help, count});
    return *this;
}

Command& Command::option(const std::string& option, const Value& value, const std::string& help, Option::Count count)
{
    options.push_back({option, value, help, count});
    return *this;
}

Command& Command::flag(const std::string& option, const std::string& help)
{
    options.push_back({option, std::nullopt, help, Option::Count::repeatable});
    return *this;
}

Command& Command::does(Perform function)
{
    perform = std::move(function);
    return *this;
}

std::optional<Arguments> parseArguments(const Program& program, const Command& command, const Words& words)
{
    return Parser(program, command, words).parse();
}

int performProgram(const Program& program, const Words& words, Console& console)
{
    if (const std::optional<std::string> text = textAskedFor(program, words)) {
        return printText(*text);
    }
    for (const Command& command : program.commands) {
        if (const std::optional<std::size_t> matched = matchedWords(command, words)) {
            const Words rest(words.begin() + static_cast<std::ptrdiff_t>(*matched), words.end());
            const std::optional<Arguments> arguments = parseArguments(program, command, rest);
            return arguments ? command.perform(*arguments, console) : printText(commandHelp(program, command));
        }
    }
    if (words.empty()) {
        throw UsageError("a command is missing; see " + program.name + " --help.");
    }
    refuseUnknown(program, words);
}

const Option* optionNamed(const Command& command, const std::string& name)
{
    const auto found = std::find_if(command.options.begin(), command.options.end(),
                                    [&name](const Option& option) { return option.name == name; });
    return found == command.options.end() ? nullptr : &*found;
}

bool isOption(const std::string& word)
{
    return word.size() >= 2 && word[0] == '-' && word.find_first_of(".0123456789") != 1;
}

long long wholeNumber(const std::string& what, const std::string& text, long long lowest, long long highest)
{
    long long number = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end || number < lowest || number > highest) {
        throw UsageError(
            rangeText(what, "whole number", std::to_string(lowest) + " to " + std::to_string(highest), text));
    }
    return number;
}

double decimalNumber(const std::string& what, const std::string& text, double lowest, double highest)
{
    double number = 0;
    const char* begin = text.data() + (text.size() > 1 && text[0] == '+' && text[1] != '-' ? 1 : 0);
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(begin, end, number, std::chars_format::fixed);
    // Written so that a NaN is outside of every range.
    if (result.ec != std::errc() || result.ptr != end || !(number >= lowest && number <= highest)) {
        throw UsageError(rangeText(what, "number", shortNumber(lowest) + " to " + shortNumber(highest), text));
    }
    return number;
}

} // namespace camera::base
