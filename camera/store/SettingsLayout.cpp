#include "camera/store/SettingsLayout.h"

#include <memory>
#include <sqlite3.h>

namespace camera::store {

namespace {

constexpr std::int64_t kVersion = 1;
constexpr std::int64_t kMark = 0x52617600; // the other form of the version is this plus the version

const std::string& columns()
{
    static const std::string text = " (key BLOB NOT NULL, sequence INTEGER NOT NULL, stored_at INTEGER NOT NULL, "
                                    "document BLOB NOT NULL, checksum INTEGER NOT NULL, PRIMARY KEY ";
    return text;
}

struct Table {
    const char* name;
    const char* primaryKey;

    std::string definition() const { return name + columns() + primaryKey + ")"; }
};

constexpr Table kTables[] = {{"settings", "(key)"}, {"history", "(key, sequence)"}, {"set_aside", "(key, sequence)"}};

std::int64_t pragma(const Database& database, const char* sql)
{
    Statement value(database, sql);
    return value.step() ? value.integer(0) : 0;
}

[[noreturn]] void damaged(const char* reason)
{
    throw DatabaseError(DatabaseError::Kind::damaged, reason);
}

void checkVersion(std::int64_t version, std::int64_t mark)
{
    const bool markedLater = mark == 0 && version <= kVersion; // the first versions of the program wrote no mark
    if (!markedLater && mark != kMark + version) {
        damaged("its layout number is broken");
    }
    if (version > kVersion) {
        throw DatabaseError(DatabaseError::Kind::failed, "it was written by a newer version of this program");
    }
}

void checkTables(const Database& database)
{
    for (const Table& table : kTables) {
        Statement row(database, "SELECT sql FROM sqlite_master WHERE type = 'table' AND name = ?");
        if (!row.bindText(1, table.name).step() || row.bytes(0) != "CREATE TABLE " + table.definition()) {
            damaged("its tables are broken");
        }
    }
}

} // namespace

void checkLayout(const Database& database)
{
    {
        // Not quick_check: it does not check the indexes, by which documents are found.
        Statement check(database, "PRAGMA integrity_check(1)");
        if (!check.step() || check.bytes(0) != "ok") {
            damaged("its structure is broken");
        }
    }
    const std::int64_t version = pragma(database, "PRAGMA user_version");
    checkVersion(version, pragma(database, "PRAGMA application_id"));
    if (version == kVersion) {
        checkTables(database);
    }
}

void createLayout(Database& database)
{
    Transaction transaction(database);
    for (const Table& table : kTables) {
        database.execute("CREATE TABLE IF NOT EXISTS " + table.definition());
    }
    database.execute("PRAGMA user_version = " + std::to_string(kVersion));
    database.execute("PRAGMA application_id = " + std::to_string(kMark + kVersion));
    transaction.commit();
}

std::string emptyFirstPage()
{
    Database database(":memory:", Database::Access::readWrite);
    createLayout(database);
    sqlite3_int64 size = 0;
    const std::unique_ptr<unsigned char, void (*)(void*)> image(sqlite3_serialize(database.handle(), "main", &size, 0),
                                                                sqlite3_free);
    if (!image || size < static_cast<sqlite3_int64>(kPageBytes)) {
        throw DatabaseError(DatabaseError::Kind::failed, "out of memory");
    }
    std::string page(reinterpret_cast<const char*>(image.get()), kPageBytes);
    // With a wrong stamp the database ignores the page count in the header and uses the size of the file.
    constexpr std::size_t kStampOfTheCount = 92;
    page[kStampOfTheCount] = static_cast<char>(~page[kStampOfTheCount]);
    return page;
}

} // namespace camera::store
