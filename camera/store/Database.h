#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <sqlite3.h>
#include <stdexcept>
#include <string>

namespace camera::store {

/// A failed call of the database, with a reason that a person can read.
class DatabaseError : public std::runtime_error {
public:
    /// damaged: also a file that cannot be read. rejected: the file does not have the table or column that the
    /// statement names. interrupted: by a signal, so it may be tried again at once.
    enum class Kind { failed, full, readOnly, damaged, rejected, interrupted };

    DatabaseError(Kind kind, const std::string& reason) : std::runtime_error(reason), _kind(kind) {}
    Kind kind() const { return _kind; }

private:
    Kind _kind;
};

/// One open SQLite database. Every operation throws DatabaseError. Thread-bound.
class Database {
public:
    explicit Database(const std::filesystem::path& file);

    void execute(const std::string& sql) const;

    /// All changes of the operation are stored when it returns, or, when it throws, none.
    void transaction(const std::function<void()>& operation) const;

    /// Leaves the log as it is when the database is closed; otherwise the log is moved into the database and removed.
    void keepLog() const;

    /// Whether the file that is open is not the one of that name any more.
    bool hasMoved() const;

private:
    friend class Statement;
    void check(int code) const;

    std::unique_ptr<sqlite3, int (*)(sqlite3*)> _handle{nullptr, sqlite3_close_v2};
};

/// Repeats the operation a few times when a signal interrupted a call of the system in it.
void uninterrupted(const std::function<void()>& operation);

/// One prepared statement with the values of its parameters. Columns count from 0.
class Statement {
public:
    /// The values are borrowed: bytes or integers.
    template <class... Values>
    Statement(const Database& database, const std::string& sql, const Values&... values) : _database(database)
    {
        prepare(sql);
        int index = 0;
        (bind(++index, values), ...);
    }

    /// Moves to the next row; false at the end.
    bool step();

    std::string bytes(int column) const;
    std::int64_t integer(int column) const;

private:
    void prepare(const std::string& sql);
    void bind(int index, const std::string& bytes);
    void bind(int index, std::int64_t value);

    const Database& _database;
    std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> _statement{nullptr, sqlite3_finalize};
};

} // namespace camera::store
