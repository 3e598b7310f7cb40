// How the settings are opened, repaired and copied: the order of the steps is described in SettingsStore.h.
#include "camera/base/AtomicFile.h"
#include "camera/base/FileDescriptor.h"
#include "camera/base/Log.h"
#include "camera/base/Text.h"
#include "camera/store/PrivateFiles.h"
#include "camera/store/SettingsStore.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <system_error>

namespace camera::store {

namespace {

namespace fs = std::filesystem;

// What an earlier version kept as its copy, and a repaired file that it had not yet put in place.
constexpr std::array<const char*, 2> kOlderCopies = {"settings.last-good.db", "settings.repaired.db"};

constexpr std::int64_t kPageBytes = 4096;

bool isNewer(const Row& row, const NewestRows& rows)
{
    const auto found = rows.find(row.key);
    return found == rows.end() || found->second.sequence < row.sequence;
}

NewestRows newerThan(const NewestRows& rows, const NewestRows& others)
{
    NewestRows newer;
    std::copy_if(rows.begin(), rows.end(), std::inserter(newer, newer.end()),
                 [&others](const auto& entry) { return isNewer(entry.second, others); });
    return newer;
}

void takeNewer(NewestRows& rows, const NewestRows& others)
{
    for (auto& [key, row] : newerThan(others, rows)) {
        rows[key] = row;
    }
}

Contents readFile(const fs::path& file)
{
    if (!fs::exists(fs::symlink_status(file))) {
        return {};
    }
    takeFile(file);
    return readContents(Database(file));
}

// "A" of a time, "B" of a time from the copy
std::string listOf(const NewestRows& rows, const NewestRows& fromCopy)
{
    std::vector<std::string> words;
    for (const auto& [key, row] : rows) {
        words.push_back('"' + base::printable(key) + "\" of " + base::utcText(row.storedAt) +
                        (fromCopy.count(key) != 0 ? " from the copy" : ""));
    }
    return base::joined(words);
}

// Keys of which a row is damaged that may have been newer than what is left.
std::string lossOf(const Contents& own, const NewestRows& newest)
{
    std::string text;
    for (const auto& [key, sequence] : own.wrong) {
        const auto left = newest.find(key);
        if (left == newest.end()) {
            text += "; nothing is left of \"" + base::printable(key) + '"';
        } else if (left->second.sequence < sequence) {
            text += "; what was stored of \"" + base::printable(key) + "\" after that is lost";
        }
    }
    return text;
}

// The database opens a file for reading only when it does not know the number of its format.
bool hasUnknownFormat(const base::FileDescriptor& file)
{
    constexpr off_t kPlace = 18;
    char number = 0;
    return ::pread(file.get(), &number, 1, kPlace) == 1 && number != 1 && number != 2 && number != 0;
}

} // namespace

void SettingsStore::notice(const std::string& text)
{
    _notices.push_back(text);
    base::Log::instance().write(base::LogLevel::error, "settings", text);
}

void SettingsStore::open()
{
    std::string reason;
    try {
        return openBoth();
    } catch (const fs::filesystem_error& error) {
        reason = error.code().message();
    } catch (const std::runtime_error& error) {
        reason = error.what();
    }
    _database.reset();
    throw std::runtime_error("the settings file " + _file.string() + " cannot be used: " + reason +
                             "; free or permit it, or name another state folder");
}

void SettingsStore::openBoth()
{
    const Contents copy = readCopies();
    const bool missing = !fs::exists(fs::symlink_status(_file));
    const Contents own = missing ? Contents() : openFile();
    const NewestRows newer = newerThan(copy.newest, own.newest);
    NewestRows newest = own.newest;
    takeNewer(newest, newer);
    if (!copy.damage.empty()) {
        const fs::path aside = setAside(_copy);
        notice("the copy of the settings " + _copy.string() + " is damaged (" + copy.damage +
               ") and was set aside as " + aside.string() + "; it is made again");
    } else {
        for (const auto& [key, row] : copy.newest) {
            _copied[key] = row.sequence;
        }
    }
    const std::string taken = newest.empty() ? "; no copy has any: the camera starts without settings"
                                             : "; what is used is " + listOf(newest, newer) + lossOf(own, newest);
    if (!own.damage.empty()) {
        replaceDamaged(own, newest, taken);
    } else if (missing) {
        setAside(_file); // a log without its database
        _database = create(nullptr, newest);
        if (!newest.empty()) {
            notice("the settings file " + _file.string() + " is missing" + taken);
        }
    } else if (!newer.empty() || own.layout != Contents::Layout::present) {
        fill(*_database, own.layout == Contents::Layout::older ? _database.get() : nullptr, newer);
        if (!newer.empty()) {
            notice("the settings file " + _file.string() + " is older than its copy; what is used is " +
                   listOf(newer, newer));
        }
    }
    try {
        const NewestRows stored = readNewest(*_database);
        if (!newerThan(stored, copy.newest).empty() || !copy.damage.empty()) {
            writeCopy(stored);
        }
        for (const char* name : kOlderCopies) {
            fs::remove(_folder / name);
        }
    } catch (const std::exception& failure) {
        // The settings are complete. Without a new copy, later damage could lose more documents.
        notice("no copy of the settings could be made in " + _folder.string() + ": " + failure.what());
        _copyDue = _lastCopy + _copyInterval;
        schedule();
    }
}

Contents SettingsStore::readCopies() const
{
    Contents copy = readFile(_copy);
    for (const char* name : kOlderCopies) {
        takeNewer(copy.newest, readFile(_folder / name).newest);
    }
    return copy;
}

Contents SettingsStore::openFile()
{
    const bool unknownFormat = hasUnknownFormat(takeFile(_file));
    _database = std::make_unique<Database>(_file);
    Contents contents = readContents(*_database);
    if (contents.damage.empty() && unknownFormat) {
        contents.damage = "the number of its format is broken";
    }
    if (contents.damage.empty()) {
        setUp(*_database);
    }
    return contents;
}

void SettingsStore::setUp(Database& database) const
{
    database.execute("PRAGMA journal_mode = WAL");
    database.execute("PRAGMA synchronous = FULL");
    // Each document is moved from the log to the database at once. Damage to the log looks like a power cut: the
    // database then drops what only the log holds, without an error.
    database.execute("PRAGMA wal_autocheckpoint = 1");
    if (_maxBytes > 0) {
        database.execute("PRAGMA max_page_count = " + std::to_string(_maxBytes / kPageBytes));
    }
}

std::unique_ptr<Database> SettingsStore::create(const Database* from, const NewestRows& rows) const
{
    try {
        takeFile(_file);
        auto database = std::make_unique<Database>(_file);
        setUp(*database);
        fill(*database, from, rows);
        base::syncToDisk(_folder); // a power cut could remove the name of the new file, and so what it holds
        return database;
    } catch (...) {
        removeDatabase(_file);
        throw;
    }
}

void SettingsStore::replaceDamaged(const Contents& own, const NewestRows& newest, const std::string& taken)
{
    if (!newest.empty()) {
        writeCopy(newest);
    }
    _database->keepLog();
    _database.reset();
    const fs::path aside = setAside(_file);
    Database damaged(aside);
    damaged.keepLog();
    _database = create(&damaged, newest);
    notice("the settings file " + _file.string() + " is damaged (" + own.damage + ") and was set aside as " +
           aside.string() + taken);
}

// The file that is open has everything, also when its name is gone.
void SettingsStore::replaceMoved()
{
    try {
        _database->keepLog(); // it would remove the log of the new file
        const fs::path aside = setAside(_file);
        _database = create(_database.get(), {});
        base::Log::instance().write(base::LogLevel::error, "settings",
                                    "the settings file " + _file.string() +
                                        (aside.empty()
                                             ? " was removed while it was in use; "
                                             : " was replaced while it was in use; what stood there was set aside as " +
                                                   aside.string() + ", and ") +
                                        "everything that was stored is written to it again");
    } catch (const fs::filesystem_error& error) {
        throw DatabaseError(DatabaseError::Kind::failed, error.code().message());
    } catch (const DatabaseError&) {
        throw;
    } catch (const std::runtime_error& error) {
        throw DatabaseError(DatabaseError::Kind::failed, error.what());
    }
}

void SettingsStore::writeCopy(const NewestRows& newest)
{
    for (const auto& [key, sequence] : _copied) {
        const auto found = newest.find(key);
        if (found == newest.end() || found->second.sequence < sequence) {
            throw std::runtime_error("the copy has a newer \"" + base::printable(key) + "\" than " + _file.string());
        }
    }
    const fs::path unfinished = _copy.string() + ".new";
    removeDatabase(unfinished);
    takeFile(unfinished);
    {
        Database database(unfinished);
        database.execute("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF");
        fill(database, nullptr, newest);
    }
    base::syncToDisk(unfinished);
    if (!newerThan(newest, readNewest(Database(unfinished))).empty()) {
        throw std::runtime_error("what was written of it is not what is read back");
    }
    base::renameDurably(unfinished, _copy);
    _copied.clear();
    for (const auto& [key, row] : newest) {
        _copied[key] = row.sequence;
    }
}

} // namespace camera::store
