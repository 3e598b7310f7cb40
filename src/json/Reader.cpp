#include "json/Reader.h"

#include "json/Limits.h"
#include "json/TokenCheck.h"
#include "json/UnknownElement.h"

#include <json/reader.h>
#include <json/value.h>

#include <memory>
#include <string>
#include <utility>

namespace json {

namespace {

std::unique_ptr<Json::CharReader> createParser()
{
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["rejectDupKeys"] = false;
    builder["skipBom"] = false;
    builder["stackLimit"] = static_cast<Json::UInt64>(kMaxDepth);
    return std::unique_ptr<Json::CharReader>(builder.newCharReader());
}

/// The parser spreads its complaints over several lines; a log line is one.
std::string onOneLine(const std::string& complaint)
{
    std::string line;
    for (const char byte : complaint) {
        const bool blank = byte == ' ' || byte == '\n';
        if (!blank) {
            line += byte;
        } else if (!line.empty() && line.back() != ' ') {
            line += ' ';
        }
    }
    while (!line.empty() && line.back() == ' ') {
        line.pop_back();
    }
    return line;
}

Json::Value parse(std::string_view text)
{
    Json::Value root;
    std::string complaint;
    try {
        if (!createParser()->parse(text.data(), text.data() + text.size(), &root, &complaint)) {
            throw Reader::ParseException(onOneLine(complaint));
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
    TokenCheck(text).Run();
    return convertArray(parse(text));
}

} // namespace json
