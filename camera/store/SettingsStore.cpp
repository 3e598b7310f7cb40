#include "camera/store/SettingsStore.h"

#include "camera/store/Salvage.h"

#include <chrono>
#include <utility>

namespace camera::store {

namespace {

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

} // namespace

SettingsStore::SettingsStore(std::filesystem::path folder, std::int64_t maxBytes)
    : _folder(std::move(folder)),
      _maxBytes(maxBytes),
      _file(_folder / "settings.db"),
      _copy(_folder / "settings.last-good.db"),
      _replacement(_folder / "settings.repaired.db")
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
    Transaction transaction(*_database);
    put(*_database, key, document);
    transaction.commit();
}

void SettingsStore::put(const Database& database, const std::string& key, const std::string& document)
{
    const std::int64_t checksum = documentChecksum(key, document);
    const std::int64_t storedAt = now();
    const std::int64_t sequence = nextSequence(database);
    // Storing the same document again makes no new version, which would remove the oldest one.
    const bool isNew = !isNewestOfItsKey(database, key, document);
    const auto insert = [&](const char* sql) {
        Statement row(database, sql);
        row.bind(1, key).bind(2, sequence).bind(3, storedAt).bind(4, document).bind(5, checksum).step();
    };
    insert("INSERT OR REPLACE INTO settings (key, sequence, stored_at, document, checksum) VALUES (?, ?, ?, ?, ?)");
    if (isNew) {
        insert("INSERT INTO history (key, sequence, stored_at, document, checksum) VALUES (?, ?, ?, ?, ?)");
        Statement prune(database, "DELETE FROM history WHERE key = ?1 AND sequence NOT IN "
                                  "(SELECT sequence FROM history WHERE key = ?1 ORDER BY sequence DESC LIMIT ?2)");
        prune.bind(1, key).bind(2, static_cast<std::int64_t>(kHistory)).step();
    }
}

void SettingsStore::fail(const std::string& what, const DatabaseError& error) const
{
    throw DatabaseError(error.kind(), what + _file.string() + ": " + error.what());
}

} // namespace camera::store
