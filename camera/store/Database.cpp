#include "camera/store/Database.h"

#include <cerrno>
#include <cstring>
#include <sqlite3.h>

namespace camera::store {

namespace {

DatabaseError::Kind kindOf(int code, int systemError)
{
    if (systemError == ENOSPC || systemError == EDQUOT) {
        return DatabaseError::Kind::full;
    }
    if (systemError == EROFS) {
        return DatabaseError::Kind::readOnly;
    }
    if (code == SQLITE_IOERR_READ || code == SQLITE_IOERR_SHORT_READ || code == SQLITE_IOERR_CORRUPTFS) {
        return DatabaseError::Kind::damaged;
    }
    switch (code & 0xff) {
    case SQLITE_FULL:
        return DatabaseError::Kind::full;
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
        return DatabaseError::Kind::readOnly;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return DatabaseError::Kind::damaged;
    case SQLITE_ERROR:
        return DatabaseError::Kind::rejected;
    default:
        return DatabaseError::Kind::failed;
    }
}

DatabaseError errorOf(int code, int systemError)
{
    const bool isSystems = (code & 0xff) == SQLITE_IOERR || (code & 0xff) == SQLITE_CANTOPEN;
    const int error = isSystems ? systemError : 0;
    const auto kind = kindOf(code, error);
    if (kind == DatabaseError::Kind::full) {
        return {kind, "no space is left for it"};
    }
    const std::string reason = sqlite3_errstr(code);
    return {kind, error == 0 ? reason : reason + " (" + std::strerror(error) + ")"};
}

} // namespace

Database::Database(const std::filesystem::path& file)
{
    const int code = sqlite3_open_v2(file.c_str(), &_handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    if (code != SQLITE_OK) {
        const DatabaseError error = errorOf(code, _handle != nullptr ? sqlite3_system_errno(_handle) : 0);
        sqlite3_close_v2(_handle);
        throw error;
    }
    sqlite3_extended_result_codes(_handle, 1);
    sqlite3_busy_timeout(_handle, 2000);
}

Database::~Database()
{
    sqlite3_close_v2(_handle);
}

void Database::keepLog()
{
    sqlite3_db_config(_handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
}

bool Database::hasMoved() const
{
    int moved = 0;
    sqlite3_file_control(_handle, "main", SQLITE_FCNTL_HAS_MOVED, &moved);
    return moved != 0;
}

void Database::execute(const std::string& sql)
{
    errno = 0;
    check(sqlite3_exec(_handle, sql.c_str(), nullptr, nullptr, nullptr));
}

void Database::check(int code) const
{
    if (code == SQLITE_OK) {
        return;
    }
    // After a failed COMMIT only errno has the system's error; the handle has that of the call before.
    const int last = errno;
    throw errorOf(code, last != 0 ? last : sqlite3_system_errno(_handle));
}

Statement::Statement(const Database& database, const std::string& sql) : _database(database)
{
    errno = 0;
    database.check(sqlite3_prepare_v2(database.handle(), sql.c_str(), -1, &_statement, nullptr));
}

Statement::~Statement()
{
    sqlite3_finalize(_statement);
}

Statement& Statement::bind(int index, const std::string& bytes)
{
    _database.check(sqlite3_bind_blob64(_statement, index, bytes.data(), bytes.size(), SQLITE_STATIC));
    return *this;
}

Statement& Statement::bind(int index, std::int64_t value)
{
    _database.check(sqlite3_bind_int64(_statement, index, value));
    return *this;
}

bool Statement::step()
{
    errno = 0;
    const int code = sqlite3_step(_statement);
    if (code != SQLITE_ROW && code != SQLITE_DONE) {
        _database.check(code);
    }
    return code == SQLITE_ROW;
}

std::string Statement::bytes(int column) const
{
    const void* data = sqlite3_column_blob(_statement, column);
    const int length = sqlite3_column_bytes(_statement, column);
    return data == nullptr ? std::string() : std::string(static_cast<const char*>(data), static_cast<size_t>(length));
}

std::int64_t Statement::integer(int column) const
{
    return sqlite3_column_int64(_statement, column);
}

Transaction::Transaction(Database& database) : _database(database)
{
    _database.execute("BEGIN IMMEDIATE");
}

Transaction::~Transaction()
{
    if (_open) { // when this fails, too, there is nothing left to undo
        sqlite3_exec(_database.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

void Transaction::commit()
{
    _database.execute("COMMIT");
    _open = false;
}

} // namespace camera::store
