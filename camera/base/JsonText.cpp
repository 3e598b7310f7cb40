#include "camera/base/JsonText.h"

#include "camera/base/Utf8.h"

#include <json/reader.h>
#include <json/writer.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <memory>
#include <stdexcept>
#include <vector>

namespace camera::base {

namespace {

constexpr int kDeepest = 16;
constexpr std::size_t kLongestReason = 200; // it may hold a piece of the document

// The parser's first message has two lines: the place and the reason.
std::string firstProblem(const std::string& messages)
{
    const std::size_t place = messages.find_first_not_of("* ");
    const std::size_t placeEnd = messages.find('\n', place);
    const std::size_t reason = messages.find_first_not_of(" \n", placeEnd);
    if (place == std::string::npos || reason == std::string::npos) {
        return "it is no JSON document";
    }
    return "it is no JSON document: " + messages.substr(place, placeEnd - place) + ": " +
           messages.substr(reason, std::min(messages.find('\n', reason) - reason, kLongestReason));
}

constexpr std::array<const char*, 7> kFirstFields = {"time", "part", "topic", "rule", "module", "preset", "state"};

std::string fieldText(const Json::Value& value)
{
    if (value.isString()) {
        return oneLineJson(sendable(value.asString()));
    }
    if (value.type() != Json::realValue) {
        return oneLineJson(value);
    }
    std::array<char, 32> text{};
    return {text.data(), std::to_chars(text.begin(), text.end(), value.asDouble()).ptr};
}

} // namespace

Json::Value readStrictJson(const std::string& document, std::size_t mostBytes)
{
    if (document.size() > mostBytes) {
        throw std::invalid_argument("it is larger than " + std::to_string(mostBytes) + " bytes");
    }
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["allowComments"] = true; // otherwise the parser skips some of them and refuses others
    builder["stackLimit"] = kDeepest;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value root;
    std::string messages;
    try {
        if (reader->parse(document.data(), document.data() + document.size(), &root, &messages)) {
            return root;
        }
    } catch (const std::exception&) { // nested too deep: there is no message
    }
    throw std::invalid_argument(firstProblem(messages));
}

std::string oneLineJson(const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["emitUTF8"] = true;
    return Json::writeString(builder, value);
}

std::string jsonLine(const Json::Value& object)
{
    std::vector<std::string> names(kFirstFields.begin(), kFirstFields.end());
    for (const std::string& name : object.getMemberNames()) {
        if (std::find(kFirstFields.begin(), kFirstFields.end(), name) == kFirstFields.end()) {
            names.push_back(name);
        }
    }
    std::string line;
    for (const std::string& name : names) {
        if (object.isMember(name)) {
            line += (line.empty() ? "{" : ",") + fieldText(name) + ":" + fieldText(object[name]);
        }
    }
    return line.empty() ? "{}" : line + "}";
}

} // namespace camera::base
