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

Contents readFile(const fs::path& file)
{
    if (!fs::exists(fs::symlink_status(file))) {
        return {};
    }
    takeFile(file);
    return readContents(Database(file));
}

void takeNewer(Rows& rows, const Rows& others)
{
    for (const auto& [key, versions] : newerThan(others, rows)) {
        rows[key].insert(versions.begin(), versions.end());
    }
}

// "A" of a time, "B" of a time from the copy
std::string listOf(const Rows& rows, const Rows& fromCopy)
{
    std::vector<std::string> words;
    for (const auto& [key, versions] : rows) {
        words.push_back('"' + base::printable(key) + "\" of " + base::utcText(versions.rbegin()->second.storedAt) +
                        (fromCopy.count(key) != 0 ? " from the copy" : ""));
    }
    return base::joined(words);
}

// Keys of which a row is damaged that may have been newer than what is left.
std::string lossOf(const Contents& own, const Rows& rows)
{
    std::string text;
    for (const auto& [key, sequence] : own.wrong) {
        const auto left = rows.find(key);
        if (left == rows.end()) {
            text += "; nothing is left of \"" + base::printable(key) + '"';
        } else if (left->second.rbegin()->first < sequence) {
            text += "; what was stored of \"" + base::printable(key) + "\" after that is lost";
        }
    }
    return text;
}

std::string reasonOf(const std::exception& error)
{
    const auto* ofFiles = dynamic_cast<const fs::filesystem_error*>(&error);
    return ofFiles != nullptr ? ofFiles->code().message() : error.what();
}

// The database opens a file for reading only when it does not know the number of its format.
bool hasUnknownFormat(const base::FileDescriptor& file)
{
    constexpr off_t kPlace = 18;
    char number = 0;
    return ::pread(file.get(), &number, 1, kPlace) == 1 && number != 1 && number != 2 && number != 0;
}

void setUp(const Database& database)
{
    database.execute("PRAGMA journal_mode = WAL");
    database.execute("PRAGMA synchronous = FULL");
    // Each document is moved from the log to the database at once. Damage to the log looks like a power cut: the
    // database then drops what only the log holds, without an error.
    database.execute("PRAGMA wal_autocheckpoint = 1");
}

} // namespace

void SettingsStore::notice(const std::string& text)
{
    _notices.push_back(text);
    base::Log::instance().write(base::LogLevel::error, "settings", text);
}

void SettingsStore::open()
{
    try {
        uninterrupted([this] { openBoth(); });
    } catch (const std::runtime_error& error) {
        _database.reset();
        throw std::runtime_error("the settings file " + _file.string() + " cannot be used: " + reasonOf(error) +
                                 "; free or permit it, or name another state folder");
    }
}

void SettingsStore::openBoth()
{
    Contents copy = readFile(_copy);
    for (const char* name : kOlderCopies) {
        takeNewer(copy.rows, readFile(_folder / name).rows);
    }
    const bool missing = !fs::exists(fs::symlink_status(_file));
    const Contents own = missing ? Contents() : openFile();
    const Rows newer = newerThan(copy.rows, own.rows);
    Rows rows = own.rows;
    takeNewer(rows, newer);
    const std::string taken = rows.empty() ? "; no copy has any: the camera starts without settings"
                                           : "; what is used is " + listOf(rows, newer) + lossOf(own, rows);
    if (!copy.damage.empty()) {
        const fs::path aside = setAside(_copy);
        notice("the copy of the settings " + _copy.string() + " is damaged (" + copy.damage +
               ") and was set aside as " + aside.string() + "; it is made again");
    }
    if (!own.damage.empty()) {
        replaceDamaged(rows, own.damage, taken);
    } else if (missing) {
        setAside(_file); // a log without its database
        _database = create(rows);
        if (!rows.empty()) {
            notice("the settings file " + _file.string() + " is missing" + taken);
        }
    } else if (!newer.empty() || !own.present) {
        fill(*_database, rows);
        if (!newer.empty()) {
            notice("the settings file " + _file.string() + " is older than its copy; what is used is " +
                   listOf(newer, newer));
        }
    }
    refreshCopy();
}

// The settings are complete. Without a new copy, later damage could lose more documents.
void SettingsStore::refreshCopy()
{
    try {
        const Rows stored = readNewest(*_database);
        if (!newerThan(stored, readFile(_copy).rows).empty()) {
            writeCopy(stored);
        }
        for (const char* name : kOlderCopies) {
            fs::remove(_folder / name);
        }
    } catch (const std::exception& failure) {
        notice("no copy of the settings could be made in " + _folder.string() + ": " + reasonOf(failure));
        const std::lock_guard<std::mutex> lock(_mutex);
        _copyIsOlder = true;
        workAt(_lastCopy + _copyInterval);
    }
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

std::unique_ptr<Database> SettingsStore::create(const Rows& rows) const
{
    try {
        takeFile(_file);
        base::syncToDisk(_folder); // a power cut could leave the log without the file, or neither
        auto database = std::make_unique<Database>(_file);
        setUp(*database);
        fill(*database, rows);
        return database;
    } catch (...) {
        removeDatabase(_file);
        throw;
    }
}

void SettingsStore::replaceDamaged(const Rows& rows, const std::string& damage, const std::string& taken)
{
    if (!rows.empty()) {
        writeCopy(newerThan(rows, {}));
    }
    _database->keepLog();
    _database.reset();
    const fs::path aside = setAside(_file);
    _database = create(rows);
    notice("the settings file " + _file.string() + " is damaged (" + damage + ") and was set aside as " +
           aside.string() + taken);
}

// The file that is open has everything, also when its name is gone.
void SettingsStore::replaceMoved()
{
    try {
        const Rows rows = readContents(*_database).rows;
        _database->keepLog(); // it would remove the log of the new file
        const fs::path aside = setAside(_file);
        _database = create(rows);
        const std::string replaced = " was replaced while it was in use; what stood there was set aside as ";
        base::Log::instance().write(
            base::LogLevel::error, "settings",
            "the settings file " + _file.string() +
                (aside.empty() ? " was removed while it was in use; " : replaced + aside.string() + ", and ") +
                "everything that was stored is written to it again");
    } catch (const DatabaseError&) {
        throw;
    } catch (const std::runtime_error& error) {
        throw DatabaseError(DatabaseError::Kind::failed, reasonOf(error));
    }
}

void SettingsStore::writeCopy(const Rows& newest) const
{
    const Rows newer = newerThan(readFile(_copy).rows, newest);
    if (!newer.empty()) {
        throw std::runtime_error("the copy has a newer \"" + base::printable(newer.begin()->first) + "\" than " +
                                 _file.string());
    }
    const fs::path unfinished = _copy.string() + ".new";
    removeDatabase(unfinished);
    takeFile(unfinished);
    {
        const Database database(unfinished);
        database.execute("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF");
        fill(database, newest);
    }
    base::syncToDisk(unfinished);
    if (!newerThan(newest, readNewest(Database(unfinished))).empty()) {
        throw std::runtime_error("what was written of it is not what is read back");
    }
    base::renameDurably(unfinished, _copy);
}

} // namespace camera::store
