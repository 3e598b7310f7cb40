#pragma once

#include "camera/base/SerialQueue.h"
#include "camera/store/SettingsFile.h"

#include <algorithm>
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

    /// @param maxBytes      how large the file may grow; 0: as large as the disk.
    /// @param copyInterval  the shortest time between two copies.
    /// @throws std::runtime_error with one sentence when the file cannot be opened or created.
    explicit SettingsStore(std::filesystem::path folder, std::int64_t maxBytes = 0,
                           std::chrono::milliseconds copyInterval = kCopyInterval);

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
    struct Work {};

    // Opening, in SettingsStoreOpening.cpp.
    void open();
    void openBoth();
    Contents readCopies() const;
    Contents openFile();
    void setUp(Database& database) const;
    std::unique_ptr<Database> create(const Database* from, const NewestRows& rows) const;
    void replaceDamaged(const Contents& own, const NewestRows& newest, const std::string& taken);
    void replaceMoved();
    void writeCopy(const NewestRows& newest);
    void notice(const std::string& text);

    void forEachRow(const std::string& key, const std::function<void(const Row&, bool good)>& onRow);

    // With the mutex held.
    void store(const std::string& key, const std::string& document);
    void tryAgain();
    void schedule();
    Clock::time_point due() const { return std::min(_copyDue, _retryDue); }

    void work();
    void copy();
    [[noreturn]] void fail(const std::string& what, const DatabaseError& error, const std::string& after = "") const;

    const std::filesystem::path _folder;
    const std::int64_t _maxBytes;
    const std::chrono::milliseconds _copyInterval;
    const std::filesystem::path _file;
    const std::filesystem::path _copy;
    std::vector<std::string> _notices;
    std::map<std::string, std::int64_t> _copied; ///< the sequence of each key in the copy; of open() and the queue

    std::mutex _mutex;
    std::unique_ptr<Database> _database;
    std::map<std::string, std::string> _defaults;
    std::map<std::string, std::string> _unstored; ///< newest document of each key that is to be tried again
    Clock::time_point _lastCopy = Clock::now();
    Clock::time_point _copyDue = Clock::time_point::max(); ///< max: nothing has changed
    Clock::time_point _retryDue = Clock::time_point::max();
    std::string _copyFailure; ///< of the last copy
    bool _scheduled = false;  ///< an item is in the queue
    bool _ending = false;
    std::uint64_t _drainsAsked = 0;
    std::uint64_t _drainsDone = 0;
    std::condition_variable _wake;
    base::SerialQueue<Work> _queue; // its thread uses everything above
};

} // namespace camera::store
