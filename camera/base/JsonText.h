#pragma once

#include <json/value.h>

#include <cstddef>
#include <string>

namespace camera::base {

/**
 * Reads one JSON document: no repeated key, no extra comma, no text after it, at most 16 levels deep. Comments are
 * skipped. Strings may hold any bytes.
 * @throws std::invalid_argument with one line that says what is wrong and where.
 */
Json::Value readStrictJson(const std::string& document, std::size_t mostBytes);

/// A JSON document in one line without blanks. Bytes of texts stay as they are, also where they are not UTF-8.
std::string oneLineJson(const Json::Value& value);

/// How every program prints an object for programs: one flat object in one line that is UTF-8. Time, part, topic, rule,
/// module, preset and state come first, the other fields by their names; a number has as many digits as it needs.
std::string jsonLine(const Json::Value& object);

} // namespace camera::base
