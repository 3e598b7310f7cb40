#include "camera/ravel/SettingsStore.h"

#include "camera/ravel/Log.h"
#include "camera/ravel/Salvage.h"
#include "camera/ravel/Status.h"

#include "ravel/RavelApiException.h"

#include <chrono>
#include <ctime>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace camera::ravel {

namespace {

constexpr int kLayoutVersion = 1;
constexpr std::int64_t kPageBytes = 4096;

std::int64_t now()
{
    return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

std::int64_t nextSequence(const Database& database)
{
    Statement newest(database, "SELECT max(sequence) FROM history");
    return newest.step() ? newest.integer(0) + 1 : 1;
}

bool isNewestOfItsKey(const Database& database, const std::string& key, const std::string& document)
{
    Statement newest(database, "SELECT document = ?2 FROM history WHERE key = ?1 ORDER BY sequence DESC LIMIT 1");
    newest.bind(1, key).bind(2, document);
    return newest.step() && newest.integer(0) != 0;
}

ravel_core_status statusOf(DatabaseError::Kind kind)
{
    switch (kind) {
    case DatabaseError::Kind::full:
        return kStorageFull;
    case DatabaseError::Kind::readOnly:
        return kStorageReadOnly;
    case DatabaseError::Kind::damaged:
        return kStorageDamaged;
    case DatabaseError::Kind::failed:
        break;
    }
    return kStorageFailed;
}

} // namespace

SettingsStore::SettingsStore(Options options) : _options(std::move(options)), _file(_options.folder / "settings.db")
{
    open();
}

SettingsStore::~SettingsStore() = default;

void SettingsStore::setDefault(const std::string& key, const std::string& document)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _defaults[key] = document;
}

std::optional<std::string> SettingsStore::read(const std::string& key)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    try {
        Statement row(*_database, "SELECT document, checksum FROM settings WHERE key = ?");
        row.bind(1, key);
        if (row.step()) {
            std::string document = row.bytes(0);
            if (row.integer(1) != documentChecksum(key, document)) {
                throw DatabaseError(DatabaseError::Kind::damaged, "its checksum does not fit");
            }
            return document;
        }
    } catch (const DatabaseError& error) {
        fail("the settings \"" + key + "\" could not be read from ", error);
    }
    const auto found = _defaults.find(key);
    return found == _defaults.end() ? std::nullopt : std::make_optional(found->second);
}

void SettingsStore::write(const std::string& key, const std::string& document)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    try {
        store(key, document);
    } catch (const DatabaseError& error) {
        fail("the settings \"" + key + "\" could not be stored in ", error);
    }
}

std::vector<std::string> SettingsStore::keys()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    std::vector<std::string> keys;
    try {
        Statement rows(*_database, "SELECT key FROM settings ORDER BY key");
        while (rows.step()) {
            keys.push_back(rows.bytes(0));
        }
    } catch (const DatabaseError& error) {
        fail("the settings could not be listed from ", error);
    }
    return keys;
}

std::vector<SettingsStore::Version> SettingsStore::history(const std::string& key)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    std::vector<Version> versions;
    try {
        Statement rows(*_database, "SELECT sequence, stored_at, document, checksum FROM history WHERE key = ? "
                                   "ORDER BY sequence DESC");
        rows.bind(1, key);
        while (rows.step()) {
            const std::string document = rows.bytes(2);
            versions.push_back({rows.integer(0), rows.integer(1), document.size(),
                                rows.integer(3) == documentChecksum(key, document)});
        }
    } catch (const DatabaseError& error) {
        fail("the history of \"" + key + "\" could not be read from ", error);
    }
    return versions;
}

std::optional<std::string> SettingsStore::fromHistory(const std::string& key, std::int64_t sequence)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    try {
        Statement row(*_database, "SELECT document, checksum FROM history WHERE key = ? AND sequence = ?");
        row.bind(1, key).bind(2, sequence);
        if (row.step()) {
            std::string document = row.bytes(0);
            if (row.integer(1) == documentChecksum(key, document)) {
                return document;
            }
        }
    } catch (const DatabaseError& error) {
        fail("the history of \"" + key + "\" could not be read from ", error);
    }
    return std::nullopt;
}

bool SettingsStore::restore(const std::string& key, std::int64_t sequence)
{
    const auto document = fromHistory(key, sequence);
    if (document) {
        write(key, *document);
    }
    return document.has_value();
}

void SettingsStore::store(const std::string& key, const std::string& document)
{
    const std::int64_t checksum = documentChecksum(key, document);
    const std::int64_t storedAt = now();
    Transaction transaction(*_database);
    const std::int64_t sequence = nextSequence(*_database);
    // The same document once more is no new version: it would push a different one out.
    const bool isNew = !isNewestOfItsKey(*_database, key, document);
    const auto insert = [&](const char* sql) {
        Statement row(*_database, sql);
        row.bind(1, key).bind(2, sequence).bind(3, storedAt).bind(4, document).bind(5, checksum).step();
    };
    insert("INSERT OR REPLACE INTO settings (key, sequence, stored_at, document, checksum) VALUES (?, ?, ?, ?, ?)");
    if (isNew) {
        insert("INSERT INTO history (key, sequence, stored_at, document, checksum) VALUES (?, ?, ?, ?, ?)");
        Statement prune(*_database, "DELETE FROM history WHERE key = ?1 AND sequence NOT IN "
                                    "(SELECT sequence FROM history WHERE key = ?1 ORDER BY sequence DESC LIMIT ?2)");
        prune.bind(1, key).bind(2, static_cast<std::int64_t>(kHistory)).step();
    }
    transaction.commit();
}

void SettingsStore::notice(const std::string& text)
{
    _notices.push_back(text);
    Log::instance().write(LogLevel::error, "settings", text);
}

void SettingsStore::fail(const std::string& what, const DatabaseError& error) const
{
    throw ::ravel::core::RavelApiException(what + _file.string() + ": " + error.what(), statusOf(error.kind()));
}

void SettingsStore::open()
{
    std::error_code ignored;
    const auto wal = std::filesystem::path(_file.string() + "-wal");
    const bool emptied = std::filesystem::exists(_file, ignored) && std::filesystem::file_size(_file, ignored) == 0 &&
                         (!std::filesystem::exists(wal, ignored) || std::filesystem::file_size(wal, ignored) == 0) &&
                         std::filesystem::exists(_options.folder / "settings.last-good.db", ignored);
    try {
        try {
            // The database would take a file cut to nothing for a new one, and every setting would silently be gone.
            if (emptied) {
                throw DatabaseError(DatabaseError::Kind::damaged, "the file is empty");
            }
            openChecked();
        } catch (const DatabaseError& error) {
            if (error.kind() != DatabaseError::Kind::damaged) {
                throw;
            }
            startAnew(error.what());
        }
        repairDocuments();
        keepCopy();
    } catch (const DatabaseError& error) {
        _database.reset();
        throw std::runtime_error("the settings file " + _file.string() + " cannot be used: " + error.what() +
                                 "; free or permit it, or name another state folder");
    } catch (const std::filesystem::filesystem_error& error) {
        _database.reset();
        throw std::runtime_error("the settings file " + _file.string() +
                                 " cannot be set aside: " + error.code().message() + "; name another state folder");
    }
}

void SettingsStore::openChecked()
{
    _database = std::make_unique<Database>(_file, Database::Access::readWrite);
    _database->execute("PRAGMA journal_mode = WAL");
    _database->execute("PRAGMA synchronous = FULL");
    {
        Statement check(*_database, "PRAGMA quick_check(1)");
        if (!check.step() || check.bytes(0) != "ok") {
            throw DatabaseError(DatabaseError::Kind::damaged, "its structure is broken");
        }
        Statement layout(*_database, "PRAGMA user_version");
        if (layout.step() && layout.integer(0) > kLayoutVersion) {
            throw DatabaseError(DatabaseError::Kind::failed, "it was written by a newer version of this program");
        }
    }
    if (_options.maxBytes > 0) {
        _database->execute("PRAGMA max_page_count = " + std::to_string(_options.maxBytes / kPageBytes));
    }
    const std::string columns = " (key BLOB NOT NULL, sequence INTEGER NOT NULL, stored_at INTEGER NOT NULL, "
                                "document BLOB NOT NULL, checksum INTEGER NOT NULL, PRIMARY KEY ";
    Transaction transaction(*_database);
    _database->execute("CREATE TABLE IF NOT EXISTS settings" + columns + "(key))");
    _database->execute("CREATE TABLE IF NOT EXISTS history" + columns + "(key, sequence))");
    _database->execute("CREATE TABLE IF NOT EXISTS set_aside" + columns + "(key, sequence))");
    _database->execute("PRAGMA user_version = " + std::to_string(kLayoutVersion));
    transaction.commit();
}

void SettingsStore::repairDocuments()
{
    std::vector<std::string> damaged;
    {
        Statement rows(*_database, "SELECT key, document, checksum FROM settings");
        while (rows.step()) {
            if (rows.integer(2) != documentChecksum(rows.bytes(0), rows.bytes(1))) {
                damaged.push_back(rows.bytes(0));
            }
        }
    }
    for (const std::string& key : damaged) {
        std::optional<std::string> good;
        for (const Version& version : history(key)) {
            if (version.good) {
                good = fromHistory(key, version.sequence);
                break;
            }
        }
        Transaction transaction(*_database);
        Statement(*_database, "INSERT OR REPLACE INTO set_aside SELECT * FROM settings WHERE key = ?")
            .bind(1, key)
            .step();
        Statement(*_database, "DELETE FROM settings WHERE key = ?").bind(1, key).step();
        transaction.commit();
        if (good) {
            store(key, *good);
        }
        notice("the settings \"" + key + "\" in " + _file.string() + " are damaged and were set aside; " +
               (good ? "the last good document is used" : "no good document of them is left"));
    }
}

void SettingsStore::keepCopy()
{
    if (keys().empty()) {
        return;
    }
    const auto unfinished = _options.folder / "settings.last-good.new";
    std::error_code error;
    std::filesystem::remove(unfinished, error);
    try {
        const std::string name = unfinished.string();
        Statement into(*_database, "VACUUM INTO ?");
        into.bindText(1, name).step();
        std::filesystem::rename(unfinished, _options.folder / "settings.last-good.db");
    } catch (const std::exception& failure) {
        // The settings themselves are whole: only the next damage would lose more.
        std::filesystem::remove(unfinished, error);
        notice("no copy of the settings could be made in " + _options.folder.string() + ": " + failure.what());
    }
}

void SettingsStore::startAnew(const std::string& reason)
{
    _database.reset();
    char stamp[32];
    const std::time_t seconds = static_cast<std::time_t>(now());
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    std::strftime(stamp, sizeof stamp, "%Y%m%dT%H%M%SZ", &utc);
    std::string aside = _file.string() + ".damaged-" + stamp;
    for (int count = 2; std::filesystem::exists(aside); ++count) {
        aside = _file.string() + ".damaged-" + stamp + "-" + std::to_string(count);
    }
    for (const char* suffix : {"", "-wal", "-shm"}) {
        if (std::filesystem::exists(_file.string() + suffix)) {
            std::filesystem::rename(_file.string() + suffix, aside + suffix);
        }
    }
    const auto found = salvage(aside);
    const auto copied = salvage(_options.folder / "settings.last-good.db");
    openChecked();
    std::size_t fromCopy = 0;
    for (const auto& [key, entry] : found) {
        store(key, entry.document);
    }
    for (const auto& [key, entry] : copied) {
        if (found.count(key) == 0) {
            store(key, entry.document);
            ++fromCopy;
        }
    }
    notice("the settings file " + _file.string() + " is damaged (" + reason + ") and was set aside as " + aside + "; " +
           std::to_string(found.size()) + " of its documents were read back and " + std::to_string(fromCopy) +
           " taken from the copy of the last start");
}

} // namespace camera::ravel
