#include "NamesTable.h"

#include <fstream>
#include <regex>
#include <stdexcept>

namespace hostile {

namespace {

std::string resolved(const std::string& cell)
{
    std::string text;
    for (std::size_t i = 0; i < cell.size(); ++i) {
        if (cell.compare(i, 2, "\\x") == 0 && i + 3 < cell.size()) {
            text += static_cast<char>(std::stoi(cell.substr(i + 2, 2), nullptr, 16));
            i += 3;
        } else {
            text += cell[i];
        }
    }
    return text;
}

} // namespace

std::vector<NameRow> readNames(const std::string& path)
{
    static const std::regex row("\\| ([^|]+) \\| `([^`|]+)` \\| `([^`|]+)` \\| `([^`|]+)` \\|");
    std::ifstream page(path);
    std::vector<NameRow> rows;
    bool inTable = false;
    for (std::string line; std::getline(page, line);) {
        if (line.compare(0, 4, "|---") == 0) {
            inTable = true;
        } else if (inTable) {
            std::smatch cells;
            if (!std::regex_match(line, cells, row)) {
                throw std::runtime_error(path + ": no row: " + line);
            }
            rows.push_back({cells[1], resolved(cells[2]), resolved(cells[3]), resolved(cells[4])});
        }
    }
    return rows;
}

} // namespace hostile
