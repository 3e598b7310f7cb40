#include "camera/ravel/Salvage.h"

#include "camera/ravel/Database.h"

#include <cstring>

namespace camera::ravel {

namespace {

// Every step maps the state one to one, so a change of a single word never cancels out.
std::uint64_t mix(std::uint64_t state, std::uint64_t word)
{
    state = (state ^ word) * 0x9e3779b97f4a7c15ULL;
    return state ^ (state >> 29);
}

std::uint64_t mixBytes(std::uint64_t state, const std::string& bytes)
{
    std::size_t at = 0;
    for (; at + sizeof(std::uint64_t) <= bytes.size(); at += sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data() + at, sizeof word);
        state = mix(state, word);
    }
    std::uint64_t rest = 0;
    std::memcpy(&rest, bytes.data() + at, bytes.size() - at);
    return mix(mix(state, rest), bytes.size());
}

void collect(const Database& database, const char* sql, std::map<std::string, SalvagedDocument>& found)
{
    try {
        Statement rows(database, sql);
        while (rows.step()) {
            const std::string key = rows.bytes(0);
            const std::int64_t sequence = rows.integer(1);
            std::string document = rows.bytes(2);
            if (rows.integer(3) != documentChecksum(key, document)) {
                continue;
            }
            auto& best = found[key];
            if (sequence >= best.sequence) {
                best = {sequence, std::move(document)};
            }
        }
    } catch (const DatabaseError&) { // NOLINT(bugprone-empty-catch): the rows before the damage are what there is
    }
}

} // namespace

std::int64_t documentChecksum(const std::string& key, const std::string& document)
{
    return static_cast<std::int64_t>(mixBytes(mixBytes(0, key), document));
}

std::map<std::string, SalvagedDocument> salvage(const std::filesystem::path& file)
{
    std::map<std::string, SalvagedDocument> found;
    try {
        const Database database(file, Database::Access::readOnly);
        // From both ends: a damaged page stops a scan, and what lies behind it is reached the other way round.
        collect(database, "SELECT key, sequence, document, checksum FROM settings ORDER BY rowid", found);
        collect(database, "SELECT key, sequence, document, checksum FROM settings ORDER BY rowid DESC", found);
        collect(database, "SELECT key, sequence, document, checksum FROM history ORDER BY rowid", found);
        collect(database, "SELECT key, sequence, document, checksum FROM history ORDER BY rowid DESC", found);
    } catch (const DatabaseError&) { // NOLINT(bugprone-empty-catch): not a database any more
    }
    return found;
}

} // namespace camera::ravel
