#include "camera/cli/CommandShape.h"

#include "camera/base/OptionTable.h"

#include <algorithm>
#include <sstream>

namespace camera::cli {

namespace {

std::string joined(const std::vector<std::string>& words)
{
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + words[i];
    }
    return text;
}

std::vector<std::string> choicesOf(const std::string& text)
{
    std::vector<std::string> choices;
    if (text.find('|') != std::string::npos) {
        std::istringstream parts(text);
        for (std::string part; std::getline(parts, part, '|');) {
            choices.push_back(part);
        }
    }
    return choices;
}

} // namespace

std::vector<CommandWord> shapeOf(const Command& command)
{
    std::vector<CommandWord> shape;
    std::istringstream words(command.takes);
    for (std::string text; words >> text;) {
        CommandWord word;
        if (text.size() > 3 && text.compare(text.size() - 3, 3, "...") == 0) {
            word.repeated = true;
            text.resize(text.size() - 3);
        }
        if (text.front() == '[' && text.back() == ']') {
            word.optional = true;
            text = text.substr(1, text.size() - 2);
        }
        word.text = text;
        word.choices = choicesOf(text);
        shape.push_back(std::move(word));
    }
    return shape;
}

void checkWords(const Command& command, const std::vector<std::string>& words)
{
    const std::string spoken = "camera " + command.name;
    std::size_t next = 0;
    for (const CommandWord& expected : shapeOf(command)) {
        if (next >= words.size() && !expected.optional) {
            throw base::UsageError(spoken + ": " + expected.text + " is missing; see " + spoken + " --help.");
        }
        const std::size_t end = expected.repeated ? words.size() : std::min(words.size(), next + 1);
        for (; next < end; ++next) {
            const std::string& word = sendableWord(spoken + ": '" + base::printable(words[next]) + "'", words[next]);
            if (!expected.choices.empty() &&
                std::find(expected.choices.begin(), expected.choices.end(), word) == expected.choices.end()) {
                throw base::UsageError(spoken + " takes " + joined(expected.choices) + ", not '" + word + "'.");
            }
            if (word.empty()) {
                throw base::UsageError(spoken + ": " + expected.text + " is empty; see " + spoken + " --help.");
            }
        }
    }
    if (next < words.size()) {
        throw base::UsageError(spoken + ": '" + words[next] + "' is too much; see " + spoken + " --help.");
    }
}

} // namespace camera::cli
