#include "camera/store/SettingsStore.h"

#include "camera/base/Log.h"

#include <algorithm>
#include <utility>

namespace camera::store {

namespace {

constexpr std::chrono::minutes kRetryInterval{1};
constexpr char kInForce[] =
    "; what was changed is in force and is stored with the next change that can be stored, or in a minute";

std::int64_t now()
{
    return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

} // namespace

SettingsStore::SettingsStore(std::filesystem::path folder, std::chrono::milliseconds copyInterval)
    : _folder(std::move(folder)),
      _copyInterval(copyInterval),
      _file(_folder / "settings.db"),
      _copy(_folder / "settings.last"),
      _queue([this](const Work& /*item*/) { work(); })
{
    open();
}

SettingsStore::~SettingsStore()
{
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        ++_hurries;
        _wake.notify_all();
    }
    _queue.stop();
}

// What fails of the operation is told with what it was.
template <class Operation>
auto SettingsStore::told(const std::string& what, const Operation& operation, const std::string& after) const
{
    try {
        return operation();
    } catch (const DatabaseError& error) {
        throw DatabaseError(error.kind(), what + _file.string() + ": " + error.what() + after);
    }
}

void SettingsStore::setDefault(const std::string& key, const std::string& document)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _defaults[key] = document;
}

std::optional<std::string> SettingsStore::read(const std::string& key)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto found = _defaults.find(key);
    std::optional<std::string> document = found == _defaults.end() ? std::nullopt : std::make_optional(found->second);
    told("the settings \"" + key + "\" could not be read from ", [&] {
        forEachRow(Statement(*_database, kSelect + kOfKey + "LIMIT 1", key), [&document](const Row& row) {
            if (!row.good) {
                throw DatabaseError(DatabaseError::Kind::damaged, "its checksum does not fit");
            }
            document = row.document;
        });
    });
    return document;
}

void SettingsStore::write(const std::string& key, const std::string& document, Unstored unstored)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    const auto stored = [&] {
        try {
            store(key, document);
        } catch (const DatabaseError&) {
            if (unstored == Unstored::triedAgain) {
                _unstored[key] = document;
                workAt(Clock::now() + kRetryInterval);
            }
            throw;
        }
    };
    told("the settings \"" + key + "\" could not be stored in ", stored,
         unstored == Unstored::forgotten ? "" : kInForce);
    _unstored.erase(key);
    tryAgain();
}

std::vector<std::string> SettingsStore::keys()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return told("the settings could not be listed from ", [this] {
        std::vector<std::string> keys;
        Statement rows(*_database, "SELECT DISTINCT key FROM documents ORDER BY key");
        while (rows.step()) {
            keys.push_back(rows.bytes(0));
        }
        return keys;
    });
}

void SettingsStore::forEachVersion(const std::string& key, const OnRow& onRow)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    told("the history of \"" + key + "\" could not be read from ",
         [&] { forEachRow(Statement(*_database, kSelect + kOfKey, key), onRow); });
}

std::vector<SettingsStore::Version> SettingsStore::history(const std::string& key)
{
    std::vector<Version> versions;
    forEachVersion(key, [&versions](const Row& row) {
        versions.push_back({row.sequence, row.storedAt, row.document.size(), row.good});
    });
    return versions;
}

std::optional<std::string> SettingsStore::fromHistory(const std::string& key, std::int64_t sequence)
{
    std::optional<std::string> document;
    forEachVersion(key, [&](const Row& row) {
        if (row.good && row.sequence == sequence) {
            document = row.document;
        }
    });
    return document;
}

bool SettingsStore::restore(const std::string& key, std::int64_t sequence)
{
    const auto document = fromHistory(key, sequence);
    if (document) {
        write(key, *document);
    }
    return document.has_value();
}

void SettingsStore::drain()
{
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        ++_hurries;
        _wake.notify_all();
    }
    _queue.push({});
    _queue.drain();
    const std::lock_guard<std::mutex> lock(_mutex);
    --_hurries;
}

void SettingsStore::store(const std::string& key, const std::string& document)
{
    uninterrupted([&] {
        if (_database->hasMoved()) {
            replaceMoved();
        }
        bool changed = false;
        _database->transaction([&] { changed = add(*_database, {key, 0, now(), document}); });
        if (changed) {
            _copyIsOlder = true;
            workAt(std::max(Clock::now(), _lastCopy + _copyInterval));
        }
    });
}

void SettingsStore::tryAgain()
{
    try {
        while (!_unstored.empty()) {
            const auto& [key, document] = *_unstored.begin();
            store(key, document);
            base::Log::instance().write(base::LogLevel::info, "settings",
                                        "the settings \"" + key + "\" that could not be stored are stored now");
            _unstored.erase(_unstored.begin());
        }
    } catch (const DatabaseError&) {
        workAt(Clock::now() + kRetryInterval);
    }
}

void SettingsStore::workAt(Clock::time_point time)
{
    _due = std::min(_due, time);
    _queue.push({});
    _wake.notify_all();
}

// One item of the queue, at least, is in it or runs as long as anything is due. It waits for that, unless somebody is
// in a hurry.
void SettingsStore::work()
{
    std::unique_lock<std::mutex> lock(_mutex);
    while (_hurries == 0 && _due != kNever && Clock::now() < _due) {
        _wake.wait_until(lock, _due);
    }
    if (std::exchange(_due, kNever) == kNever) {
        return;
    }
    tryAgain();
    if (std::exchange(_copyIsOlder, false)) {
        _lastCopy = Clock::now();
        lock.unlock();
        copy();
    }
}

// The store takes changes while the copy is written.
void SettingsStore::copy()
{
    std::string failure;
    try {
        Rows newest;
        {
            const std::lock_guard<std::mutex> lock(_mutex);
            newest = readNewest(*_database);
        }
        writeCopy(newest);
    } catch (const std::exception& error) {
        failure = error.what();
    }
    const std::lock_guard<std::mutex> lock(_mutex);
    if (!failure.empty()) {
        _copyIsOlder = true;
        workAt(Clock::now() + kRetryInterval);
        if (failure != _copyFailure) { // one line for all copies that fail alike
            base::Log::instance().write(base::LogLevel::error, "settings",
                                        "no copy of the settings could be made in " + _folder.string() + ": " +
                                            failure);
        }
    }
    _copyFailure = failure;
}

} // namespace camera::store
