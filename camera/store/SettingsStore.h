#pragma once

#include "camera/base/SerialQueue.h"
#include "camera/store/SettingsFile.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace camera::store {

/**
 * The device's settings: one document per key, the last kHistory of each, in the file settings.db of the state folder.
 *
 * A write is durable when it returns. Every row has a checksum over all of it. Beside the file stands a copy,
 * settings.last, a small database of the same layout with the newest row of each key. It is made again at most a
 * second after a change, not more than once a second, on a thread of its own: written beside, synced, read back and
 * renamed, and only when every row that it takes is good and none is older than what the copy has.
 *
 * Opening reads both. Of each key the row with the highest sequence that is good wins. When settings.db is damaged in
 * any way, the copy is brought up to date first, then the damaged file is moved aside under another name, then a new
 * one is made of its good rows and the copy: a power cut between two of these steps leaves the newest documents in
 * the copy. A damaged copy is moved aside too and made again. A file that is missing or older than its copy is
 * completed from it. Each of these is one sentence in notices(). A file that is removed or replaced while it is open
 * is noticed at the next write and written again from the one that is still open.
 *
 * The caller of the constructor holds the folder's StateLock. Operations throw DatabaseError with a text for people.
 * Thread-safe.
 */
class SettingsStore {
public:
    /// What becomes of a document that cannot be stored.
    enum class Unstored {
        forgotten, ///< the caller leaves everything as it was
        triedAgain ///< the caller uses it nevertheless: it is stored with the next change that succeeds, or in a minute
    };

    struct Version {
        std::int64_t sequence = 0; ///< counts every write of the store, over all keys
        std::int64_t storedAt = 0; ///< seconds since 1970
        std::size_t sizeBytes = 0;
        bool good = false; ///< its checksum fits
    };

    static constexpr std::chrono::milliseconds kCopyInterval{1000};

    /// @param copyInterval  the shortest time between two copies.
    /// @throws std::runtime_error with one sentence when the file cannot be opened or created.
    explicit SettingsStore(std::filesystem::path folder, std::chrono::milliseconds copyInterval = kCopyInterval);

    /// Does first what drain() does.
    ~SettingsStore();
    SettingsStore(const SettingsStore&) = delete;
    SettingsStore& operator=(const SettingsStore&) = delete;

    /// What read() yields for a key while nothing is stored under it. Not durable.
    void setDefault(const std::string& key, const std::string& document);

    /// The stored document, else the default, else nothing.
    std::optional<std::string> read(const std::string& key);
    void write(const std::string& key, const std::string& document, Unstored unstored = Unstored::forgotten);

    std::vector<std::string> keys();

    /// Newest first; the first is the document that read() yields.
    std::vector<Version> history(const std::string& key);

    /// One earlier document, when it is still kept and good.
    std::optional<std::string> fromHistory(const std::string& key, std::int64_t sequence);

    /// Makes an earlier document the newest one. False when it is not kept or damaged.
    bool restore(const std::string& key, std::int64_t sequence);

    /// Makes at once the copy that is due, and tries again what could not be stored. Returns when that is done.
    void drain();

    /// What opening found and repaired, one sentence each; empty when nothing was damaged.
    const std::vector<std::string>& notices() const { return _notices; }

    const std::filesystem::path& file() const { return _file; }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr auto kNever = Clock::time_point::max();
    struct Work {};

    // Opening, in SettingsStoreOpening.cpp.
    void open();
    void openBoth();
    Contents openFile();
    std::unique_ptr<Database> create(const Rows& rows) const;
    void replaceDamaged(const Rows& rows, const std::string& damage, const std::string& taken);
    void replaceMoved();
    void refreshCopy();
    void writeCopy(const Rows& newest) const;
    void notice(const std::string& text);

    void forEachVersion(const std::string& key, const OnRow& onRow);
    template <class Operation>
    auto told(const std::string& what, const Operation& operation, const std::string& after = "") const;

    // With the mutex held.
    void store(const std::string& key, const std::string& document);
    void tryAgain();
    void workAt(Clock::time_point time);

    void work();
    void copy();

    const std::filesystem::path _folder;
    const std::chrono::milliseconds _copyInterval;
    const std::filesystem::path _file;
    const std::filesystem::path _copy;
    std::vector<std::string> _notices;

    std::mutex _mutex;
    std::unique_ptr<Database> _database;
    std::map<std::string, std::string> _defaults;
    std::map<std::string, std::string> _unstored; ///< newest document of each key that is to be tried again
    Clock::time_point _lastCopy = Clock::now();
    Clock::time_point _due = kNever; ///< of a copy, or of the next try of what could not be stored
    bool _copyIsOlder = false;
    std::string _copyFailure; ///< of the last copy
    int _hurries = 0;         ///< somebody waits for what is due
    std::condition_variable _wake;
    base::SerialQueue<Work> _queue; // its thread uses everything above
};

} // namespace camera::store
