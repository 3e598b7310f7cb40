#pragma once

#include <string>
#include <vector>

namespace hostile {

/// One row of the page on awkward names, its escapes resolved.
struct NameRow {
    std::string title;
    std::string sent;
    std::string kept;
    std::string given;
};

/// The rows of the page's table. @throws std::runtime_error naming the line that is no row.
std::vector<NameRow> readNames(const std::string& path);

} // namespace hostile
