#include "camera/store/Database.h"

#include <cerrno>
#include <cstring>
#include <map>

namespace camera::store {

namespace {

using Kind = DatabaseError::Kind;

const std::map<int, Kind> kOfSystem = {
    {EINTR, Kind::interrupted}, {ENOSPC, Kind::full}, {EDQUOT, Kind::full}, {EROFS, Kind::readOnly}};

// Primary codes, and extended ones that tell more.
const std::map<int, Kind> kOfCode = {{SQLITE_FULL, Kind::full},
                                     {SQLITE_READONLY, Kind::readOnly},
                                     {SQLITE_CANTOPEN, Kind::readOnly},
                                     {SQLITE_PERM, Kind::readOnly},
                                     {SQLITE_CORRUPT, Kind::damaged},
                                     {SQLITE_NOTADB, Kind::damaged},
                                     {SQLITE_IOERR_READ, Kind::damaged},
                                     {SQLITE_IOERR_SHORT_READ, Kind::damaged},
                                     {SQLITE_IOERR_CORRUPTFS, Kind::damaged},
                                     {SQLITE_ERROR, Kind::rejected}};

Kind kindOf(int code, int systemError)
{
    if (const auto found = kOfSystem.find(systemError); found != kOfSystem.end()) {
        return found->second;
    }
    auto found = kOfCode.find(code);
    found = found == kOfCode.end() ? kOfCode.find(code & 0xff) : found;
    return found == kOfCode.end() ? Kind::failed : found->second;
}

} // namespace

Database::Database(const std::filesystem::path& file)
{
    sqlite3* handle = nullptr;
    errno = 0;
    const int code = sqlite3_open_v2(file.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    _handle.reset(handle);
    check(code);
    sqlite3_extended_result_codes(handle, 1);
    sqlite3_busy_timeout(handle, 2000);
}

void Database::execute(const std::string& sql) const
{
    errno = 0;
    check(sqlite3_exec(_handle.get(), sql.c_str(), nullptr, nullptr, nullptr));
}

void Database::transaction(const std::function<void()>& operation) const
{
    execute("BEGIN IMMEDIATE");
    try {
        operation();
        execute("COMMIT");
    } catch (...) { // when this fails, too, there is nothing left to undo
        sqlite3_exec(_handle.get(), "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

void Database::keepLog() const
{
    sqlite3_db_config(_handle.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
}

bool Database::hasMoved() const
{
    int moved = 0;
    sqlite3_file_control(_handle.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
    return moved != 0;
}

void Database::check(int code) const
{
    if (code == SQLITE_OK) {
        return;
    }
    // After a failed COMMIT only errno has the system's error; the handle has that of the call before.
    const int last = errno;
    const bool isSystems = (code & 0xff) == SQLITE_IOERR || (code & 0xff) == SQLITE_CANTOPEN;
    const int systems = last != 0 || !_handle ? last : sqlite3_system_errno(_handle.get());
    const int error = isSystems ? systems : 0;
    const Kind kind = kindOf(code, error);
    if (kind == Kind::full) {
        throw DatabaseError(kind, "no space is left for it");
    }
    const std::string reason = sqlite3_errstr(code);
    throw DatabaseError(kind, error == 0 ? reason : reason + " (" + std::strerror(error) + ")");
}

void uninterrupted(const std::function<void()>& operation)
{
    constexpr int kRepetitions = 20;
    for (int left = kRepetitions;; --left) {
        try {
            return operation();
        } catch (const DatabaseError& error) {
            if (error.kind() != Kind::interrupted || left == 0) {
                throw;
            }
        }
    }
}

void Statement::prepare(const std::string& sql)
{
    sqlite3_stmt* statement = nullptr;
    errno = 0;
    _database.check(sqlite3_prepare_v2(_database._handle.get(), sql.c_str(), -1, &statement, nullptr));
    _statement.reset(statement);
}

void Statement::bind(int index, const std::string& bytes)
{
    _database.check(sqlite3_bind_blob64(_statement.get(), index, bytes.data(), bytes.size(), SQLITE_STATIC));
}

void Statement::bind(int index, std::int64_t value)
{
    _database.check(sqlite3_bind_int64(_statement.get(), index, value));
}

bool Statement::step()
{
    errno = 0;
    const int code = sqlite3_step(_statement.get());
    if (code != SQLITE_ROW && code != SQLITE_DONE) {
        _database.check(code);
    }
    return code == SQLITE_ROW;
}

std::string Statement::bytes(int column) const
{
    const void* data = sqlite3_column_blob(_statement.get(), column);
    const int length = sqlite3_column_bytes(_statement.get(), column);
    return data == nullptr ? std::string() : std::string(static_cast<const char*>(data), static_cast<size_t>(length));
}

std::int64_t Statement::integer(int column) const
{
    return sqlite3_column_int64(_statement.get(), column);
}

} // namespace camera::store
