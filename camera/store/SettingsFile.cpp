#include "camera/store/SettingsFile.h"

#include "camera/base/Text.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace camera::store {

namespace {

constexpr std::int64_t kLayout = 2;
const std::string kTable = "CREATE TABLE documents (key BLOB NOT NULL, sequence INTEGER NOT NULL, "
                           "stored_at INTEGER NOT NULL, document BLOB NOT NULL, checksum INTEGER NOT NULL, "
                           "PRIMARY KEY (key, sequence)) WITHOUT ROWID";
const std::string kColumns = "key, sequence, stored_at, document, checksum";

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
std::int64_t olderChecksum(const Row& row)
{
    return static_cast<std::int64_t>(mixBytes(mixBytes(0, row.key), row.document));
}

std::int64_t checksumOf(const Row& row)
{
    const auto text = static_cast<std::uint64_t>(olderChecksum(row));
    return static_cast<std::int64_t>(
        mix(mix(text, static_cast<std::uint64_t>(row.sequence)), static_cast<std::uint64_t>(row.storedAt)));
}

// Sequences begin with 1; a row of nothing but zeros would have a checksum that fits.
bool fits(const Row& row, std::int64_t stored, std::int64_t checksum)
{
    return row.sequence > 0 && stored == checksum;
}

bool isDamage(const DatabaseError& error)
{
    return error.kind() == DatabaseError::Kind::damaged || error.kind() == DatabaseError::Kind::rejected;
}

[[noreturn]] void damaged(const std::string& reason)
{
    throw DatabaseError(DatabaseError::Kind::damaged, reason);
}

std::string valueOf(const Database& database, const std::string& sql)
{
    Statement row(database, sql);
    return row.step() ? row.bytes(0) : std::string();
}

std::int64_t numberOf(const Database& database, const std::string& sql)
{
    Statement row(database, sql);
    return row.step() ? row.integer(0) : 0;
}

Contents::Layout layoutOf(const Database& database)
{
    if (valueOf(database, "PRAGMA integrity_check(1)") != "ok") {
        damaged("its structure is broken");
    }
    if (numberOf(database, "SELECT count(*) FROM sqlite_master") == 0) {
        return Contents::Layout::empty;
    }
    if (valueOf(database, "SELECT sql FROM sqlite_master WHERE name = 'documents'") == kTable) {
        return Contents::Layout::present;
    }
    if (numberOf(database, "SELECT count(*) FROM sqlite_master WHERE name IN ('settings', 'history')") == 2) {
        return Contents::Layout::older;
    }
    if (numberOf(database, "PRAGMA user_version") > kLayout) {
        throw DatabaseError(DatabaseError::Kind::failed, "it was written by a newer version of this program");
    }
    damaged("its tables are broken");
}

Row rowOf(const Statement& statement)
{
    return {statement.bytes(0), statement.integer(1), statement.integer(2), statement.bytes(3)};
}

using OnRow = std::function<void(const Row& row, bool good)>;

// The rows of one table up to the first damage, which is returned.
std::string scanTable(const Database& database, const std::string& table, const OnRow& onRow)
{
    try {
        Statement rows(database, "SELECT " + kColumns + " FROM " + table);
        while (rows.step()) {
            const Row row = rowOf(rows);
            const std::int64_t checksum = rows.integer(4);
            onRow(row, fits(row, checksum, table == "documents" ? checksumOf(row) : olderChecksum(row)));
        }
    } catch (const DatabaseError& error) {
        if (!isDamage(error)) {
            throw;
        }
        return error.kind() == DatabaseError::Kind::damaged ? error.what() : ""; // else there is no such table
    }
    return "";
}

std::string scan(const Database& database, const OnRow& onRow)
{
    std::string damage;
    for (const char* table : {"documents", "history", "settings"}) { // history of a key, older rows first
        const std::string found = scanTable(database, table, onRow);
        damage = damage.empty() ? found : damage;
    }
    return damage;
}

void insert(const Database& database, const Row& row)
{
    Statement(database, "INSERT OR IGNORE INTO documents (" + kColumns + ") VALUES (?, ?, ?, ?, ?)")
        .bind(1, row.key)
        .bind(2, row.sequence)
        .bind(3, row.storedAt)
        .bind(4, row.document)
        .bind(5, checksumOf(row))
        .step();
}

bool isNewest(const Database& database, const Row& row)
{
    Statement newest(database, "SELECT document = ?2 FROM documents WHERE key = ?1 ORDER BY sequence DESC LIMIT 1");
    newest.bind(1, row.key).bind(2, row.document);
    return newest.step() && newest.integer(0) != 0;
}

void forgetTheOldest(const Database& database)
{
    Statement(database,
              "DELETE FROM documents WHERE (key, sequence) IN (SELECT key, sequence FROM (SELECT key, sequence, "
              "row_number() OVER (PARTITION BY key ORDER BY sequence DESC) AS place FROM documents) WHERE place > ?)")
        .bind(1, static_cast<std::int64_t>(kHistory))
        .step();
}

} // namespace

StoredRows::StoredRows(const Database& database, const std::string& which, const std::string& key)
    : _key(key), _statement(database, "SELECT " + kColumns + " FROM documents AS one " + which)
{
    if (which.find('?') != std::string::npos) {
        _statement.bind(1, _key);
    }
}

bool StoredRows::next()
{
    if (!_statement.step()) {
        return false;
    }
    _row = rowOf(_statement);
    _good = fits(_row, _statement.integer(4), checksumOf(_row));
    return true;
}

Contents readContents(const Database& database)
{
    Contents contents;
    try {
        contents.layout = layoutOf(database);
    } catch (const DatabaseError& error) {
        if (!isDamage(error)) {
            throw;
        }
        contents.damage = error.what();
    }
    const std::string damage = scan(database, [&contents](const Row& row, bool good) {
        if (good) {
            Row& newest = contents.newest[row.key];
            newest = row.sequence >= newest.sequence ? row : newest;
        } else {
            contents.wrong[row.key] = std::max(contents.wrong[row.key], row.sequence);
        }
    });
    if (contents.damage.empty() && !contents.wrong.empty()) {
        contents.damage = "a checksum of \"" + base::printable(contents.wrong.begin()->first) + "\" does not fit";
    }
    contents.damage = contents.damage.empty() ? damage : contents.damage;
    return contents;
}

NewestRows readNewest(const Database& database)
{
    NewestRows newest;
    StoredRows rows(database, "WHERE sequence = (SELECT max(sequence) FROM documents WHERE key = one.key)");
    while (rows.next()) {
        if (!rows.good()) {
            damaged("a checksum of \"" + base::printable(rows.row().key) + "\" does not fit");
        }
        newest.emplace(rows.row().key, rows.row());
    }
    return newest;
}

void fill(Database& database, const Database* from, const NewestRows& rows)
{
    Transaction transaction(database);
    if (valueOf(database, "SELECT name FROM sqlite_master WHERE name = 'documents'").empty()) {
        database.execute(kTable);
    }
    if (from != nullptr) {
        scan(*from, [&database](const Row& row, bool good) {
            if (good && !isNewest(database, row)) { // the older layout had the newest document twice
                insert(database, row);
            }
        });
    }
    for (const auto& [key, row] : rows) {
        insert(database, row);
    }
    forgetTheOldest(database);
    database.execute("DROP TABLE IF EXISTS settings; DROP TABLE IF EXISTS history");
    database.execute("PRAGMA user_version = " + std::to_string(kLayout));
    transaction.commit();
}

bool add(const Database& database, Row row)
{
    if (isNewest(database, row)) {
        return false;
    }
    row.sequence = numberOf(database, "SELECT max(sequence) FROM documents") + 1;
    insert(database, row);
    forgetTheOldest(database);
    return true;
}

} // namespace camera::store
