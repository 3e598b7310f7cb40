#pragma once

#include "camera/store/Database.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace camera::store {

/**
 * The device's settings: one document per key, kept in the file settings.db of the state folder.
 *
 * A write is durable when it returns. The last kHistory documents of each key are kept in the same
 * transaction. Every document carries a checksum; a document whose checksum is wrong is set aside inside
 * the file, and the last good one takes its place. A file that cannot be read at all is renamed to
 * settings.db.damaged-..., never deleted; its documents are then
 * taken from what can still be read of it and from the copy of the last start, settings.last-good.db. The caller of
 * the constructor holds the folder's StateLock.
 *
 * Operations throw DatabaseError with a text for people. Thread-safe.
 */
class SettingsStore {
public:
    static constexpr std::size_t kHistory = 10;

    struct Version {
        std::int64_t sequence = 0; ///< counts every write of the store, over all keys
        std::int64_t storedAt = 0; ///< seconds since 1970
        std::size_t sizeBytes = 0;
        bool good = false; ///< its checksum fits
    };

    /// @param maxBytes  how large the file may grow; 0: as large as the disk.
    /// @throws std::runtime_error with one sentence when the file cannot be opened or created.
    explicit SettingsStore(std::filesystem::path folder, std::int64_t maxBytes = 0);
    ~SettingsStore();
    SettingsStore(const SettingsStore&) = delete;
    SettingsStore& operator=(const SettingsStore&) = delete;

    /// What read() yields for a key while nothing is stored under it. Not durable.
    void setDefault(const std::string& key, const std::string& document);

    /// The stored document, else the default, else nothing.
    std::optional<std::string> read(const std::string& key);
    void write(const std::string& key, const std::string& document);

    std::vector<std::string> keys();

    /// Newest first; the first is the document that read() yields.
    std::vector<Version> history(const std::string& key);

    /// One earlier document, when it is still kept and good.
    std::optional<std::string> fromHistory(const std::string& key, std::int64_t sequence);

    /// Makes an earlier document the newest one. False when it is not kept or damaged.
    bool restore(const std::string& key, std::int64_t sequence);

    /// What opening found and repaired, one sentence each; empty when nothing was damaged.
    const std::vector<std::string>& notices() const { return _notices; }

    const std::filesystem::path& file() const { return _file; }

private:
    void open();
    [[noreturn]] void refuse(const std::string& reason);
    void openWhatIsThere();
    void openChecked();
    void repairDocuments();
    void repairDocument(const std::string& key);
    void keepCopy();
    void startAnew(const std::string& reason);
    std::filesystem::path takeReplacement();
    void store(const std::string& key, const std::string& document);
    static void put(const Database& database, const std::string& key, const std::string& document);
    void notice(const std::string& text);
    [[noreturn]] void fail(const std::string& what, const DatabaseError& error) const;

    const std::filesystem::path _folder;
    const std::int64_t _maxBytes;
    const std::filesystem::path _file;
    const std::filesystem::path _copy;        ///< of the last start
    const std::filesystem::path _replacement; ///< for a damaged file: once it has this name it is complete
    std::mutex _mutex;
    std::unique_ptr<Database> _database;
    std::map<std::string, std::string> _defaults;
    std::vector<std::string> _notices;
};

} // namespace camera::store
