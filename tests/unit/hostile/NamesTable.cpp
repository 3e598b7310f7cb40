#include "NamesTable.h"

#include "kit/TemporaryFolder.h"

#include <sstream>
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

/// A title and three cells between backticks, as in "| title | `a` | `b` | `c` |".
std::vector<std::string> cellsOf(const std::string& line)
{
    std::vector<std::string> pieces;
    std::istringstream text(line);
    for (std::string piece; std::getline(text, piece, '`');) {
        pieces.push_back(piece);
    }
    const std::string between = " | ";
    if (pieces.size() != 7 || pieces[0].size() < 6 || pieces[2] != between || pieces[4] != between ||
        pieces[6] != " |") {
        return {};
    }
    return {pieces[0].substr(2, pieces[0].size() - 5), pieces[1], pieces[3], pieces[5]};
}

} // namespace

std::vector<NameRow> readNames(const std::string& path)
{
    std::vector<NameRow> rows;
    bool inTable = false;
    for (const std::string& line : kit::linesOf(path)) {
        if (line.compare(0, 4, "|---") == 0) {
            inTable = true;
        } else if (inTable) {
            const std::vector<std::string> cells = cellsOf(line);
            if (cells.empty()) {
                throw std::runtime_error(path + ": no row: " + line);
            }
            rows.push_back({cells[0], resolved(cells[1]), resolved(cells[2]), resolved(cells[3])});
        }
    }
    return rows;
}

} // namespace hostile
