#pragma once

#include "camera/cli/Command.h"

#include <array>
#include <json/value.h>
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

} // namespace camera::cli
