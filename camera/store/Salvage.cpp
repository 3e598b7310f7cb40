#include "camera/store/Salvage.h"

#include "camera/store/Database.h"
#include "camera/store/SettingsLayout.h"

#include <cstring>
#include <fstream>
#include <system_error>
#include <utility>

namespace camera::store {

namespace {

namespace fs = std::filesystem;

// Each step is invertible, so two texts that differ in a single word never have the same checksum.
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

using Documents = std::map<std::string, SalvagedDocument>;

Documents collect(const Database& database, const std::string& table)
{
    Documents found;
    // From both ends: a damaged page ends a scan, and the scan from the other end reaches the rows after it.
    for (const char* order : {"ASC", "DESC"}) {
        try {
            const std::string sql =
                "SELECT key, sequence, document, checksum FROM " + table + " ORDER BY rowid " + order;
            Statement rows(database, sql.c_str());
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
        } catch (const DatabaseError&) { // the rows before the damaged page are kept
        }
    }
    return found;
}

// The history counts only for a key without a good current document, because its order numbers have no checksum.
Documents collect(const fs::path& file)
{
    try {
        const Database database(file, Database::Access::readOnly);
        Documents found = collect(database, "settings");
        found.merge(collect(database, "history"));
        return found;
    } catch (const DatabaseError&) { // not a database any more
        return {};
    }
}

// A temporary file, removed together with the files that the database puts next to it.
struct Working {
    explicit Working(fs::path path) : path(std::move(path)) { clear(); }
    ~Working() { clear(); }
    Working(const Working&) = delete;
    Working& operator=(const Working&) = delete;

    const fs::path path;

    void clear() const
    {
        for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
            std::error_code ignored;
            fs::remove(path.string() + suffix, ignored);
        }
    }
};

// The first page tells where the tables begin. It is the same in all files, so a new one can replace a damaged one.
Documents collectWithoutFirstPage(const fs::path& file)
{
    const Working working(file.string() + ".salvage");
    std::error_code error;
    fs::copy_file(file, working.path, error);
    const auto size = error ? 0 : fs::file_size(working.path, error);
    if (error || size <= kPageBytes) {
        return {};
    }
    fs::resize_file(working.path, (size + kPageBytes - 1) / kPageBytes * kPageBytes, error);
    const std::string page = emptyFirstPage();
    std::fstream(working.path, std::ios::in | std::ios::out | std::ios::binary)
        .write(page.data(), static_cast<std::streamsize>(page.size()));
    return collect(working.path);
}

} // namespace

std::int64_t documentChecksum(const std::string& key, const std::string& document)
{
    return static_cast<std::int64_t>(mixBytes(mixBytes(0, key), document));
}

std::map<std::string, SalvagedDocument> salvage(const std::filesystem::path& file)
{
    Documents found = collect(file);
    found.merge(collectWithoutFirstPage(file));
    return found;
}

} // namespace camera::store
