#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace camera::base {

/// Wrong arguments: one sentence; the program exits with 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/**
 * The options of one command: read from arguments, and printed as help, from the same table.
 *
 * Accepted: --name VALUE, --name=VALUE, and flags; "--" ends the options. A value may begin with a dash only
 * in the second form.
 */
class OptionTable {
public:
    using SetValue = std::function<void(const std::string&)>;

    /// @param command for sentences and help, "camera run" for instance.
    explicit OptionTable(std::string command) : command(std::move(command)) {}

    /// A refusal of set, a UsageError, is passed on as it is.
    void value(const std::string& name, const std::string& takes, const std::string& help, SetValue set);

    /// As value(), any number of times.
    void repeated(const std::string& name, const std::string& takes, const std::string& help, SetValue set);
    void text(const std::string& name, const std::string& takes, const std::string& help, std::string& out);
    void list(const std::string& name, const std::string& takes, const std::string& help,
              std::vector<std::string>& out);
    void flag(const std::string& name, const std::string& help, std::function<void()> set);

    /// From now on what begins like a negative number ("-3") is no option.
    void numbersAreWords() { numbers = true; }

    /// What is left over when the options are taken out, in order.
    /// @throws UsageError for an unknown option, a missing or superfluous value, or an option given twice
    ///         that takes one value.
    std::vector<std::string> parse(const std::vector<std::string>& arguments) const;

    std::string help() const;

private:
    struct Option {
        std::string name;
        std::string takes; ///< empty: a flag
        std::string help;
        bool repeatable = false;
        SetValue set;
    };

    const Option& find(const std::string& name) const;
    bool isOption(const std::string& argument) const;

    std::string command;
    std::vector<Option> options;
    bool numbers = false;
};

/// A whole number in a range. @throws UsageError naming option, range and text.
long long wholeNumber(const std::string& option, const std::string& text, long long lowest, long long highest);

} // namespace camera::base
