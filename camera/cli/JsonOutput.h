#pragma once

#include "camera/cli/Command.h"

#include <array>
#include <json/value.h>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace camera::cli {

/// A JSON object with one member for each value.
template <class... Values>
Json::Value jsonObject(const std::array<const char*, sizeof...(Values)>& names, const Values&... values)
{
    Json::Value object(Json::objectValue);
    auto name = names.begin();
    ((object[*name++] = values), ...);
    return object;
}

/// A row of the bus as a tuple, which a structured binding can take apart.
template <class... Values>
const std::tuple<Values...>& columns(const std::tuple<Values...>& row)
{
    return row;
}

/// A JSON object of one row of the bus, with one member for each column.
template <class... Values>
Json::Value jsonRow(const std::array<const char*, sizeof...(Values)>& names, const std::tuple<Values...>& row)
{
    return std::apply([&names](const Values&... values) { return jsonObject<Values...>(names, values...); }, row);
}

template <class... Values>
Json::Value jsonRows(const std::array<const char*, sizeof...(Values)>& names,
                     const std::vector<sdbus::Struct<Values...>>& rows)
{
    Json::Value array(Json::arrayValue);
    for (const std::tuple<Values...>& row : rows) {
        array.append(jsonRow(names, row));
    }
    return array;
}

/// A JSON object of a dictionary of the bus.
template <class Value>
Json::Value jsonMap(const std::map<std::string, Value>& dictionary)
{
    Json::Value object(Json::objectValue);
    for (const auto& [name, value] : dictionary) {
        object[name] = value;
    }
    return object;
}

/// The output of a command that lists something: a line an item, or with --json one array.
class ListOutput {
public:
    explicit ListOutput(CommandContext& context) : _context(context) {}

    /// @param line  printable.
    void add(const Json::Value& item, const std::string& line)
    {
        _items.append(item);
        if (!_context.json()) {
            _context.console.line(line);
        }
    }

    bool empty() const { return _items.empty(); }

    /// Prints the array. @return the exit code 0.
    int end()
    {
        if (_context.json()) {
            _context.print(_items);
        }
        return 0;
    }

private:
    CommandContext& _context;
    Json::Value _items{Json::arrayValue};
};

} // namespace camera::cli
