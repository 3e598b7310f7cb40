#pragma once

#include <json/json.h>

#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace bench {

/// What a command of a shell prints for programs: one JSON object a line.
inline std::vector<Json::Value> jsonLinesOf(const std::string& command)
{
    const std::unique_ptr<FILE, int (*)(FILE*)> output(popen(command.c_str(), "r"), &pclose);
    std::string text;
    for (int character = 0; output && (character = std::fgetc(output.get())) != EOF;) {
        text += static_cast<char>(character);
    }
    std::vector<Json::Value> objects;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream(line) >> objects.emplace_back();
    }
    return objects;
}

} // namespace bench
