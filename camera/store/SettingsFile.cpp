#include "camera/store/SettingsFile.h"

#include "camera/base/Text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace camera::store {

namespace {

constexpr std::int64_t kLayout = 2;
constexpr const char* kTables[] = {"documents", "history", "settings"}; ///< the last two of the older layout
const std::string kTable = "CREATE TABLE documents (key BLOB NOT NULL, sequence INTEGER NOT NULL, "
                           "stored_at INTEGER NOT NULL, document BLOB NOT NULL, checksum INTEGER NOT NULL, "
                           "PRIMARY KEY (key, sequence)) WITHOUT ROWID";

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

// In the older layout, of the tables history and settings, it covered key and document only.
std::int64_t olderChecksumOf(const Row& row)
{
    return static_cast<std::int64_t>(mixBytes(mixBytes(0, row.key), row.document));
}

std::int64_t checksumOf(const Row& row)
{
    const auto text = static_cast<std::uint64_t>(olderChecksumOf(row));
    return static_cast<std::int64_t>(
        mix(mix(text, static_cast<std::uint64_t>(row.sequence)), static_cast<std::uint64_t>(row.storedAt)));
}

[[noreturn]] void damaged(const std::string& reason)
{
    throw DatabaseError(DatabaseError::Kind::damaged, reason);
}

[[noreturn]] void damagedRow(const std::string& key)
{
    damaged("a checksum of \"" + base::printable(key) + "\" does not fit");
}

using Checksum = std::int64_t (*)(const Row&);

void forEachRow(Statement&& rows, Checksum checksum, const OnRow& onRow)
{
    while (rows.step()) {
        Row row{rows.bytes(0), rows.integer(1), rows.integer(2), rows.bytes(3)};
        // Sequences begin with 1; a row of nothing but zeros would have a checksum that fits.
        row.good = row.sequence > 0 && rows.integer(4) == checksum(row);
        onRow(row);
    }
}

std::string valueOf(const Database& database, const std::string& sql)
{
    Statement row(database, sql);
    return row.step() ? row.bytes(0) : std::string();
}

bool hasPresentLayout(const Database& database)
{
    if (valueOf(database, "PRAGMA integrity_check(1)") != "ok") {
        damaged("its structure is broken");
    }
    const std::string tables = valueOf(database, "SELECT group_concat(name) FROM sqlite_master");
    if (valueOf(database, "SELECT sql FROM sqlite_master WHERE name = 'documents'") == kTable) {
        return true;
    }
    const auto has = [&tables](const char* table) { return tables.find(table) != std::string::npos; };
    if (tables.empty() || (has(kTables[1]) && has(kTables[2]))) {
        return false;
    }
    if (std::atol(valueOf(database, "PRAGMA user_version").c_str()) > kLayout) {
        throw DatabaseError(DatabaseError::Kind::failed, "it was written by a newer version of this program");
    }
    damaged("its tables are broken");
}

void insert(const Database& database, const Row& row)
{
    Statement(database, "INSERT OR IGNORE INTO documents VALUES (?, ?, ?, ?, ?)", row.key, row.sequence, row.storedAt,
              row.document, checksumOf(row))
        .step();
}

void forgetTheOldest(const Database& database)
{
    database.execute(
        "DELETE FROM documents WHERE (key, sequence) IN (SELECT key, sequence FROM (SELECT key, sequence, row_number() "
        "OVER (PARTITION BY key ORDER BY sequence DESC) AS place FROM documents) WHERE place > " +
        std::to_string(kHistory) + ")");
}

// Adds what can be read of one part of the file. What is wrong with it is its damage, unless that is known already.
void readPart(Contents& contents, bool mayBeAbsent, const std::function<void()>& operation)
{
    try {
        operation();
    } catch (const DatabaseError& error) {
        const bool rejected = error.kind() == DatabaseError::Kind::rejected;
        if (!rejected && error.kind() != DatabaseError::Kind::damaged) {
            throw;
        }
        if (!(rejected && mayBeAbsent) && contents.damage.empty()) {
            contents.damage = error.what();
        }
    }
}

void take(Contents& contents, const Row& row, bool ofOlder)
{
    auto& rows = contents.rows[row.key];
    const bool twice = ofOlder && !rows.empty() && rows.rbegin()->second.document == row.document;
    if (!twice) { // the older layout had the newest document in both tables
        rows.emplace(row.sequence, row);
    }
}

} // namespace

Rows newerThan(const Rows& rows, const Rows& others)
{
    Rows newer;
    for (const auto& [key, versions] : rows) {
        const auto found = others.find(key);
        if (found == others.end() || found->second.rbegin()->first < versions.rbegin()->first) {
            newer[key].insert(*versions.rbegin());
        }
    }
    return newer;
}

Contents readContents(const Database& database)
{
    Contents contents;
    readPart(contents, false, [&] { contents.present = hasPresentLayout(database); });
    for (const std::string table : kTables) { // history of a key, older rows first
        readPart(contents, true, [&] {
            const Checksum checksum = table == kTables[0] ? checksumOf : olderChecksumOf;
            forEachRow(Statement(database, kSelect + table), checksum, [&](const Row& row) {
                if (row.good) {
                    take(contents, row, table != kTables[0]);
                } else {
                    contents.wrong[row.key] = std::max(contents.wrong[row.key], row.sequence);
                }
            });
        });
    }
    if (!contents.wrong.empty()) {
        readPart(contents, false, [&] { damagedRow(contents.wrong.begin()->first); });
    }
    return contents;
}

Rows readNewest(const Database& database)
{
    Rows newest;
    const std::string all = kSelect + "documents AS one WHERE sequence = (SELECT max(sequence) FROM documents WHERE ";
    forEachRow(Statement(database, all + "key = one.key)"), [&newest](const Row& row) {
        if (!row.good) {
            damagedRow(row.key);
        }
        newest[row.key].emplace(row.sequence, row);
    });
    return newest;
}

void forEachRow(Statement&& rows, const OnRow& onRow)
{
    forEachRow(std::move(rows), checksumOf, onRow);
}

void fill(const Database& database, const Rows& rows)
{
    database.transaction([&] {
        if (valueOf(database, "SELECT name FROM sqlite_master WHERE name = 'documents'").empty()) {
            database.execute(kTable);
        }
        for (const auto& [key, versions] : rows) {
            for (const auto& [sequence, row] : versions) {
                insert(database, row);
            }
        }
        forgetTheOldest(database);
        database.execute("DROP TABLE IF EXISTS settings; DROP TABLE IF EXISTS history; PRAGMA user_version = " +
                         std::to_string(kLayout));
    });
}

bool add(const Database& database, Row row)
{
    bool isNewest = false;
    forEachRow(Statement(database, kSelect + kOfKey + "LIMIT 1", row.key),
               [&](const Row& newest) { isNewest = newest.document == row.document; });
    if (isNewest) {
        return false;
    }
    Statement last(database, "SELECT max(sequence) FROM documents");
    last.step();
    row.sequence = last.integer(0) + 1;
    insert(database, row);
    forgetTheOldest(database);
    return true;
}

} // namespace camera::store
