// How the settings file is opened, and how a damaged one is repaired.
//
// openChecked() checks the structure of the whole file and its layout (checkLayout). repairDocuments() then compares
// each document with its checksum; a damaged document goes to the table set_aside, and the newest good document of its
// history takes its place. Last, keepCopy() writes a compact copy of all documents to settings.last-good.db.
//
// When the file itself is damaged, startAnew() replaces it. It reads every good document from the damaged file
// (Salvage.h) and from the copy, and writes them to settings.repaired.new. This file is renamed to settings.repaired.db
// when it is complete and on the disk. takeReplacement() then renames the damaged file to settings.db.damaged-... and
// settings.repaired.db to settings.db. A power cut between two of these steps loses nothing: when settings.repaired.db
// exists at the next start, that start continues with takeReplacement().

#include "camera/base/AtomicFile.h"
#include "camera/base/Log.h"
#include "camera/base/Text.h"
#include "camera/store/Salvage.h"
#include "camera/store/SettingsLayout.h"
#include "camera/store/SettingsStore.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace camera::store {

namespace {

namespace fs = std::filesystem;

// All files of one database. They are moved together, because an old log next to a new database would be applied to it.
constexpr std::array<const char*, 4> kParts = {"-wal", "-journal", "-shm", ""};

fs::path part(const fs::path& database, const char* suffix)
{
    return database.string() + suffix;
}

// A file of one byte counts as empty, too, because the database treats it so.
bool isEmpty(const fs::path& file)
{
    std::error_code absent;
    const auto size = fs::file_size(file, absent);
    return absent || size <= 1;
}

fs::path freeNameBeside(const fs::path& file)
{
    const std::string first = file.string() + ".damaged-" + base::utcText(std::time(nullptr), "%Y%m%dT%H%M%SZ");
    std::string name = first;
    const auto isTaken = [&] {
        return std::any_of(kParts.begin(), kParts.end(),
                           [&](const char* suffix) { return fs::exists(part(name, suffix)); });
    };
    for (int count = 2; isTaken(); ++count) {
        name = first + "-" + std::to_string(count);
    }
    return name;
}

// Whether the two format numbers in the header are known. The database opens a file with other numbers for reading
// only, which looks like a file that the program must not write.
bool hasKnownFormat(const fs::path& file)
{
    std::array<char, 20> header{};
    if (!std::ifstream(file, std::ios::binary).read(header.data(), header.size())) {
        return true; // the failure to read it is reported elsewhere
    }
    const auto known = [](char number) { return number == 1 || number == 2; };
    return known(header[18]) && known(header[19]);
}

bool isDamage(const DatabaseError& error, const fs::path& file)
{
    switch (error.kind()) {
    case DatabaseError::Kind::damaged:
    case DatabaseError::Kind::rejected:
        return true;
    case DatabaseError::Kind::readOnly:
        return !isEmpty(file) && !hasKnownFormat(file);
    case DatabaseError::Kind::failed:
    case DatabaseError::Kind::full:
        break;
    }
    return false;
}

// Without this, a power cut could remove the name of a new file, and with it documents that were stored since.
void makeNamesDurable(const fs::path& folder)
{
    base::syncToDisk(folder);
    try {
        base::syncToDisk(fs::absolute(folder).parent_path());
    } catch (const fs::filesystem_error&) { // the parent folder may belong to another user
    }
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
        const bool isNew = !fs::exists(_file);
        if (fs::exists(_replacement)) {
            takeReplacement();
            notice("the settings file " + _file.string() + " was found damaged at an earlier start and was set aside " +
                   "as " + _file.string() + ".damaged-...; what was read back from it then is used");
        }
        openWhatIsThere();
        if (isNew) {
            makeNamesDurable(_folder);
        }
        keepCopy();
    } catch (const DatabaseError& error) {
        refuse(error.what());
    } catch (const fs::filesystem_error& error) {
        refuse(error.code().message());
    }
}

void SettingsStore::refuse(const std::string& reason)
{
    _database.reset();
    throw std::runtime_error("the settings file " + _file.string() + " cannot be used: " + reason +
                             "; free or permit it, or name another state folder");
}

void SettingsStore::openWhatIsThere()
{
    try {
        // The database would treat an empty file as a new one, and all settings would be lost without a message.
        if (fs::exists(_file) && isEmpty(_file) && isEmpty(part(_file, "-wal")) && fs::exists(_copy)) {
            throw DatabaseError(DatabaseError::Kind::damaged, "the file is empty");
        }
        openChecked();
        repairDocuments();
    } catch (const DatabaseError& error) {
        if (!isDamage(error, _file)) {
            throw;
        }
        startAnew(error.what());
    }
}

void SettingsStore::openChecked()
{
    _database = std::make_unique<Database>(_file, Database::Access::readWrite);
    _database->execute("PRAGMA journal_mode = WAL");
    _database->execute("PRAGMA synchronous = FULL");
    // Each document is moved from the log to the database at once. Damage to the log looks like a power cut: the
    // database then drops what only the log holds, without an error.
    _database->execute("PRAGMA wal_autocheckpoint = 1");
    checkLayout(*_database);
    if (_maxBytes > 0) {
        _database->execute("PRAGMA max_page_count = " +
                           std::to_string(_maxBytes / static_cast<std::int64_t>(kPageBytes)));
    }
    createLayout(*_database);
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
        repairDocument(key);
    }
}

// One transaction, so that a power cut cannot leave the key without a document.
void SettingsStore::repairDocument(const std::string& key)
{
    std::optional<std::string> good;
    for (const Version& version : history(key)) {
        if (version.good) {
            good = fromHistory(key, version.sequence);
            break;
        }
    }
    Transaction transaction(*_database);
    Statement(*_database, "INSERT OR REPLACE INTO set_aside SELECT * FROM settings WHERE key = ?").bind(1, key).step();
    Statement(*_database, "DELETE FROM settings WHERE key = ?").bind(1, key).step();
    if (good) {
        put(*_database, key, *good);
    }
    transaction.commit();
    notice("the settings \"" + key + "\" in " + _file.string() + " are damaged and were set aside; " +
           (good ? "the last good document is used" : "no good document of them is left"));
}

void SettingsStore::keepCopy()
{
    if (keys().empty()) {
        return;
    }
    const fs::path unfinished = _folder / "settings.last-good.new";
    std::error_code error;
    fs::remove(unfinished, error);
    try {
        const std::string name = unfinished.string();
        Statement into(*_database, "VACUUM INTO ?");
        into.bindText(1, name).step();
        base::syncToDisk(
            unfinished); // some versions of the library do not; the earlier copy is replaced only after this
        base::renameDurably(unfinished, _copy);
    } catch (const std::exception& failure) {
        // The settings are complete. Without a new copy, later damage could lose more documents.
        fs::remove(unfinished, error);
        notice("no copy of the settings could be made in " + _folder.string() + ": " + failure.what());
    }
}

void SettingsStore::startAnew(const std::string& reason)
{
    _database.reset();
    const auto found = salvage(_file);
    const auto copied = salvage(_copy);
    std::size_t fromCopy = 0;
    const fs::path unfinished = _folder / "settings.repaired.new";
    for (const char* suffix : kParts) {
        fs::remove(part(unfinished, suffix));
    }
    {
        Database database(unfinished, Database::Access::readWrite);
        createLayout(database);
        Transaction transaction(database);
        for (const auto& [key, entry] : found) {
            put(database, key, entry.document);
        }
        for (const auto& [key, entry] : copied) {
            if (found.count(key) == 0) {
                put(database, key, entry.document);
                ++fromCopy;
            }
        }
        transaction.commit();
    }
    base::syncToDisk(unfinished);
    base::renameDurably(unfinished, _replacement);
    const fs::path aside = takeReplacement();
    openChecked();
    notice("the settings file " + _file.string() + " is damaged (" + reason + ") and was set aside as " +
           aside.string() + "; " + std::to_string(found.size()) + " of its documents were read back and " +
           std::to_string(fromCopy) + " taken from the copy of the last start");
}

// The damaged file is moved away first, its log before it. The name of the replacement alone tells the next start that
// this was interrupted.
fs::path SettingsStore::takeReplacement()
{
    const fs::path aside = freeNameBeside(_file);
    for (const char* suffix : kParts) {
        if (fs::exists(part(_file, suffix))) {
            fs::rename(part(_file, suffix), part(aside, suffix));
        }
    }
    base::syncToDisk(_folder);
    base::renameDurably(_replacement, _file);
    return aside;
}

} // namespace camera::store
