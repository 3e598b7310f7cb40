#include "json/Reader.h"

#include "json/Limits.h"
#include "json/TokenCheck.h"
#include "json/UnknownElement.h"

#include <json/reader.h>
#include <json/value.h>

#include <memory>
#include <sstream>
#include <string>
#include <utility>

namespace json {

namespace {

std::unique_ptr<Json::CharReader> createParser()
{
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["rejectDupKeys"] = false;
    builder["allowSpecialFloats"] = true; // those that TokenCheck wrote; it refuses all others
    builder["stackLimit"] = static_cast<Json::UInt64>(kMaxDepth);
    return std::unique_ptr<Json::CharReader>(builder.newCharReader());
}

/// The parser lists its complaints, each over several lines; a log line holds the first.
std::string firstComplaint(const std::string& complaints)
{
    std::istringstream words(complaints);
    std::string line;
    std::string word;
    while (words >> word && (word != "*" || line.empty())) {
        if (word != "*") {
            line += (line.empty() ? "" : " ") + word;
        }
    }
    return line;
}

Json::Value parse(std::string_view text)
{
    Json::Value root;
    std::string complaints;
    try {
        if (!createParser()->parse(text.data(), text.data() + text.size(), &root, &complaints)) {
            throw Reader::ParseException(firstComplaint(complaints));
        }
    } catch (const Json::Exception& error) { // nested too deeply
        throw Reader::ParseException(error.what());
    }
    return root;
}

UnknownElement convert(const Json::Value& value);

Array convertArray(const Json::Value& value)
{
    Array array;
    array.Reserve(value.size());
    for (const Json::Value& element : value) {
        array.Append(convert(element));
    }
    return array;
}

Object convertObject(const Json::Value& value)
{
    Object object;
    object.Reserve(value.size());
    for (auto member = value.begin(); member != value.end(); ++member) {
        object.Append(member.name(), convert(*member));
    }
    return object;
}

UnknownElement convert(const Json::Value& value)
{
    switch (value.type()) {
    case Json::nullValue:
        return Null();
    case Json::booleanValue:
        return value.asBool();
    case Json::intValue:
    case Json::uintValue:
    case Json::realValue:
        return value.asDouble();
    case Json::stringValue:
        return value.asString();
    case Json::arrayValue:
        return convertArray(value);
    case Json::objectValue:
        return convertObject(value);
    }
    return Null();
}

} // namespace

Array Reader::Read(std::string_view text)
{
    TokenCheck check(text);
    check.Run();
    return convertArray(check.HasInfinities() ? parse(check.WithInfinities()) : parse(text));
}

} // namespace json
