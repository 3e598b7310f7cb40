#pragma once

#include "camera/base/Console.h"

#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace camera::base {

// The command line of a program is one table: Program, with a Command for each thing that it does, with the
// arguments and options of each. Parsing, refusals, help, completion and man pages all come from this table.

/// The help of --json, which is the same everywhere.
inline constexpr char kJsonHelp[] = "print JSON for programs, one flat object a line";

/// Wrong arguments: one sentence; the program exits with 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What completion offers for a value.
enum class Offer { nothing, files, folders, presets, tours, rules, modules, engines, services, models };

/// What one argument, or the value of an option, may be.
struct Value {
    /// Throws UsageError when the text is not such a value. The sentence begins with the parameter what, "--frames" for
    /// instance.
    using Check = std::function<void(const std::string& what, const std::string& text)>;

    std::string name; ///< as help shows it, "FILE.xml" for instance; an argument is also read by this name
    Offer offer = Offer::nothing;
    std::vector<std::string> choices = {}; ///< not empty: one of these words
    Check check = {};                      ///< absent: any text that is not empty
};

/// UTF-8 text without NUL bytes, as a message on the bus can carry it.
Value nameValue(const std::string& name, Offer offer = Offer::nothing);
Value choiceValue(const std::string& name, const std::vector<std::string>& choices);
Value wholeValue(const std::string& name, long long lowest, long long highest);
/// A file to be written, whose name ends in one of these, ".png" for instance.
Value outputValue(const std::string& name, const std::vector<std::string>& endings);
Value decimalValue(const std::string& name, double lowest, double highest);

/// What the arguments of one command said, all of it checked.
class Arguments {
public:
    void add(const std::string& name, const std::string& text) { _values[name].push_back(text); }

    /// How often it was given. The name is that of an option, "--json", or of an argument, "NAME".
    std::size_t count(const std::string& name) const { return all(name).size(); }
    bool has(const std::string& name) const { return count(name) != 0; }

    const std::vector<std::string>& all(const std::string& name) const;

    /// The value, or the other one when it was not given.
    std::string text(const std::string& name, const std::string& otherwise = "") const;
    long long whole(const std::string& name, long long otherwise = 0) const;
    double decimal(const std::string& name, double otherwise = 0) const;

private:
    std::map<std::string, std::vector<std::string>> _values;
};

struct Argument {
    enum class Count { one, optional, oneOrMore };

    Value value;
    std::string help;
    Count count = Count::one;
};

struct Option {
    enum class Count { optional, required, repeatable };

    std::string name;           ///< with its dashes
    std::optional<Value> value; ///< absent: a flag
    std::string help;
    Count count = Count::optional;
};

/// One thing that a program does. A row of the table is written as a chain:
/// Command("preset go", "Moves the camera to a preset.").takes(...).option(...).does(...)
struct Command {
    using Perform = std::function<int(const Arguments&, Console&)>;

    Command(std::string name, std::string summary) : name(std::move(name)), summary(std::move(summary)) {}

    Command& takes(const Value& value, const std::string& help, Argument::Count count = Argument::Count::one);
    Command& option(const std::string& option, const Value& value, const std::string& help,
                    Option::Count count = Option::Count::optional);
    Command& flag(const std::string& option, const std::string& help);
    Command& does(Perform function);

    std::string name;         ///< its words, "preset go" for instance; empty where the program does only one thing
    std::string summary;      ///< one sentence
    std::string details = {}; ///< more lines for its help
    std::vector<Argument> arguments = {};
    std::vector<Option> options = {};
    Perform perform = {}; ///< returns the exit code
};

struct Program {
    std::string name;
    std::string summary;
    std::string details; ///< more lines for the help and the man page
    std::vector<Command> commands;

    /// The names that completion offers, where they are not in the table; empty when they are not known.
    /// Arguments: what was typed so far.
    std::function<std::vector<std::string>(Offer, const Arguments&)> namesFor = {};
};

/// Reads a command's arguments: "--name VALUE", "--name=VALUE" and flags, in any order with the other arguments;
/// "--" ends the options. A value may begin with a dash only in the second form. What begins like a negative
/// number ("-3", "-.5") is an argument. @return nothing when help is asked for. @throws UsageError
std::optional<Arguments> parseArguments(const Program& program, const Command& command,
                                        const std::vector<std::string>& words);

/// Finds the command that the words name and performs it. --help prints help at every level: of the program, of the
/// commands that begin with one word, of one command. @return the exit code @throws UsageError, and what the command
/// throws.
int performProgram(const Program& program, const std::vector<std::string>& words, Console& console);

std::string commandHelp(const Program& program, const Command& command);

/// The help of all commands whose names begin with a word; of the program, when the word is empty.
std::string programHelp(const Program& program, const std::string& firstWord = "");

/// The man page as roff text.
std::string manPage(const Program& program);

/// The words that may replace the last word, of which perhaps only the beginning is typed. The first line says whether
/// files or folders may, too: "files", "folders" or "words".
std::vector<std::string> completions(const Program& program, const std::vector<std::string>& words);

/// The script by which "bash" or "zsh" completes the programs of the virtual camera.
std::string completionScript(const std::string& shell);

/// How help shows an argument: "NAME", "[NAME]", "NAME...", "on|off".
std::string shownValue(const Value& value);
std::string shownArgument(const Argument& argument);

/// The option of a command; null when there is none of that name.
const Option* optionNamed(const Command& command, const std::string& name);

/// "camera preset go", as refusals and help name a command.
std::string fullName(const Program& program, const Command& command);

/// Whether a word is written like an option.
bool isOption(const std::string& word);

/// A number in a range. @throws UsageError naming what, range and text.
long long wholeNumber(const std::string& what, const std::string& text, long long lowest, long long highest);
double decimalNumber(const std::string& what, const std::string& text, double lowest, double highest);

} // namespace camera::base
