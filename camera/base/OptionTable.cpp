#include "camera/base/OptionTable.h"

#include <algorithm>
#include <charconv>
#include <set>

namespace camera::base {

void OptionTable::value(const std::string& name, const std::string& takes, const std::string& help, SetValue set)
{
    options.push_back({name, takes, help, false, std::move(set)});
}

void OptionTable::repeated(const std::string& name, const std::string& takes, const std::string& help, SetValue set)
{
    options.push_back({name, takes, help, true, std::move(set)});
}

void OptionTable::text(const std::string& name, const std::string& takes, const std::string& help, std::string& out)
{
    value(name, takes, help, [this, name, &out](const std::string& given) {
        if (given.empty()) {
            throw UsageError(command + ": " + name + " is given an empty value; see " + command + " --help.");
        }
        out = given;
    });
}

void OptionTable::list(const std::string& name, const std::string& takes, const std::string& help,
                       std::vector<std::string>& out)
{
    repeated(name, takes, help, [&out](const std::string& given) { out.push_back(given); });
}

void OptionTable::flag(const std::string& name, const std::string& help, std::function<void()> set)
{
    options.push_back({name, "", help, true, [set = std::move(set)](const std::string&) { set(); }});
}

const OptionTable::Option& OptionTable::find(const std::string& name) const
{
    for (const Option& option : options) {
        if (option.name == name) {
            return option;
        }
    }
    throw UsageError(command + ": there is no option " + name + "; see " + command + " --help.");
}

bool OptionTable::isOption(const std::string& argument) const
{
    return argument.size() >= 2 && argument[0] == '-' && !(numbers && argument.find_first_of(".0123456789") == 1);
}

std::vector<std::string> OptionTable::parse(const std::vector<std::string>& arguments) const
{
    std::vector<std::string> rest;
    std::set<std::string> given;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--") {
            rest.insert(rest.end(), arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1, arguments.end());
            break;
        }
        if (!isOption(argument)) {
            rest.push_back(argument);
            continue;
        }
        const std::size_t equals = argument.compare(0, 2, "--") == 0 ? argument.find('=') : std::string::npos;
        const Option& option = find(argument.substr(0, equals));
        if (!given.insert(option.name).second && !option.repeatable) {
            throw UsageError(command + ": " + option.name + " is given twice; once is enough.");
        }
        if (option.takes.empty()) {
            if (equals != std::string::npos) {
                throw UsageError(command + ": " + option.name + " takes no value.");
            }
            option.set("");
        } else if (equals != std::string::npos) {
            option.set(argument.substr(equals + 1));
        } else if (i + 1 < arguments.size() && !isOption(arguments[i + 1])) {
            option.set(arguments[++i]);
        } else {
            throw UsageError(command + ": " + option.name + " needs " + option.takes + " after it.");
        }
    }
    return rest;
}

std::string OptionTable::help() const
{
    std::string text;
    for (const Option& option : options) {
        std::string left = "  " + option.name + (option.takes.empty() ? "" : " " + option.takes);
        left.resize(std::max<std::size_t>(left.size() + 2, 30), ' ');
        text += left + option.help + (option.repeatable && !option.takes.empty() ? " (may be repeated)" : "") + "\n";
    }
    return text;
}

long long wholeNumber(const std::string& option, const std::string& text, long long lowest, long long highest)
{
    long long number = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end || number < lowest || number > highest) {
        throw UsageError(option + " takes a whole number from " + std::to_string(lowest) + " to " +
                         std::to_string(highest) + ", not '" + text + "'.");
    }
    return number;
}

} // namespace camera::base
