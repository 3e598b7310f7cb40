#include "camera/store/SettingsStore.h"

#include "camera/base/Log.h"

#include <algorithm>
#include <utility>

namespace camera::store {

namespace {

constexpr std::chrono::minutes kRetryInterval{1};
constexpr char kInForce[] =
    "; what was changed is in force and is stored with the next change that can be stored, or in a minute";
constexpr auto kNever = std::chrono::steady_clock::time_point::max();

std::int64_t now()
{
    return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

} // namespace

SettingsStore::SettingsStore(std::filesystem::path folder, std::int64_t maxBytes,
                             std::chrono::milliseconds copyInterval)
    : _folder(std::move(folder)),
      _maxBytes(maxBytes),
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
        _ending = true;
        _wake.notify_all();
    }
    _queue.stop();
}

void SettingsStore::setDefault(const std::string& key, const std::string& document)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _defaults[key] = document;
}

std::optional<std::string> SettingsStore::read(const std::string& key)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    try {
        StoredRows rows(*_database, "WHERE key = ? ORDER BY sequence DESC LIMIT 1", key);
        if (rows.next()) {
            if (!rows.good()) {
                throw DatabaseError(DatabaseError::Kind::damaged, "its checksum does not fit");
            }
            return rows.row().document;
        }
    } catch (const DatabaseError& error) {
        fail("the settings \"" + key + "\" could not be read from ", error);
    }
    const auto found = _defaults.find(key);
    return found == _defaults.end() ? std::nullopt : std::make_optional(found->second);
}

void SettingsStore::write(const std::string& key, const std::string& document, Unstored unstored)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    try {
        store(key, document);
    } catch (const DatabaseError& error) {
        if (unstored == Unstored::triedAgain) {
            _unstored[key] = document;
            _retryDue = Clock::now() + kRetryInterval;
            schedule();
        }
        fail("the settings \"" + key + "\" could not be stored in ", error,
             unstored == Unstored::forgotten ? "" : kInForce);
    }
    _unstored.erase(key);
    tryAgain();
    schedule();
}

std::vector<std::string> SettingsStore::keys()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    std::vector<std::string> keys;
    try {
        Statement rows(*_database, "SELECT DISTINCT key FROM documents ORDER BY key");
        while (rows.step()) {
            keys.push_back(rows.bytes(0));
        }
    } catch (const DatabaseError& error) {
        fail("the settings could not be listed from ", error);
    }
    return keys;
}

void SettingsStore::forEachRow(const std::string& key, const std::function<void(const Row&, bool good)>& onRow)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    try {
        StoredRows rows(*_database, "WHERE key = ? ORDER BY sequence DESC", key);
        while (rows.next()) {
            onRow(rows.row(), rows.good());
        }
    } catch (const DatabaseError& error) {
        fail("the history of \"" + key + "\" could not be read from ", error);
    }
}

std::vector<SettingsStore::Version> SettingsStore::history(const std::string& key)
{
    std::vector<Version> versions;
    forEachRow(key, [&versions](const Row& row, bool good) {
        versions.push_back({row.sequence, row.storedAt, row.document.size(), good});
    });
    return versions;
}

std::optional<std::string> SettingsStore::fromHistory(const std::string& key, std::int64_t sequence)
{
    std::optional<std::string> document;
    forEachRow(
        key, [&](const Row& row, bool good) { document = good && row.sequence == sequence ? row.document : document; });
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
    std::unique_lock<std::mutex> lock(_mutex);
    const std::uint64_t mine = ++_drainsAsked;
    _wake.notify_all();
    _wake.wait(lock, [&] { return _drainsDone >= mine || !_scheduled; });
    _drainsDone = std::max(_drainsDone, mine);
}

void SettingsStore::store(const std::string& key, const std::string& document)
{
    if (_database->hasMoved()) {
        replaceMoved();
    }
    Transaction transaction(*_database);
    const bool changed = add(*_database, {key, 0, now(), document});
    transaction.commit();
    if (changed) {
        _copyDue = std::min(_copyDue, std::max(Clock::now(), _lastCopy + _copyInterval));
    }
}

void SettingsStore::tryAgain()
{
    _retryDue = kNever;
    try {
        while (!_unstored.empty()) {
            const auto& [key, document] = *_unstored.begin();
            store(key, document);
            base::Log::instance().write(base::LogLevel::info, "settings",
                                        "the settings \"" + key + "\" that could not be stored are stored now");
            _unstored.erase(_unstored.begin());
        }
    } catch (const DatabaseError&) {
        _retryDue = Clock::now() + kRetryInterval;
    }
}

void SettingsStore::schedule()
{
    if (!_scheduled && due() != kNever) {
        _scheduled = _queue.push({});
    }
    _wake.notify_all();
}

// One item of the queue is in it or runs as long as anything is due. It waits for that, unless somebody is in a hurry.
void SettingsStore::work()
{
    std::unique_lock<std::mutex> lock(_mutex);
    const auto hurries = [this] { return _ending || _drainsAsked != _drainsDone; };
    while (!hurries() && Clock::now() < due()) {
        _wake.wait_until(lock, due());
    }
    const std::uint64_t drains = _drainsAsked; // a later one wants what is due then
    const bool hurry = hurries();
    const auto isDue = [hurry](Clock::time_point time) { return time != kNever && (hurry || time <= Clock::now()); };
    if (isDue(_retryDue)) {
        tryAgain();
    }
    const bool copies = isDue(_copyDue);
    lock.unlock();
    if (copies) {
        copy();
    }
    lock.lock();
    _drainsDone = std::max(_drainsDone, drains);
    _scheduled = false;
    schedule();
}

// The store takes changes while the copy is written.
void SettingsStore::copy()
{
    std::string failure;
    try {
        NewestRows newest;
        {
            const std::lock_guard<std::mutex> lock(_mutex);
            _copyDue = kNever;
            _lastCopy = Clock::now();
            newest = readNewest(*_database);
        }
        writeCopy(newest);
    } catch (const std::exception& error) {
        failure = error.what();
    }
    const std::lock_guard<std::mutex> lock(_mutex);
    if (!failure.empty()) {
        _copyDue = std::min(_copyDue, Clock::now() + kRetryInterval);
        if (failure != _copyFailure) { // one line for all copies that fail alike
            base::Log::instance().write(base::LogLevel::error, "settings",
                                        "no copy of the settings could be made in " + _folder.string() + ": " +
                                            failure);
        }
    }
    _copyFailure = failure;
}

void SettingsStore::fail(const std::string& what, const DatabaseError& error, const std::string& after) const
{
    throw DatabaseError(error.kind(), what + _file.string() + ": " + error.what() + after);
}

} // namespace camera::store
