#include "camera/base/JsonText.h"

#include <json/reader.h>
#include <json/writer.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

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
    } catch (const std::exception&) { // nested too deep
        messages.clear();
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

} // namespace camera::base
