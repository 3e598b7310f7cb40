#pragma once

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace camera::store {

/// A failed call of the database, with a reason that a person can read.
class DatabaseError : public std::runtime_error {
public:
    /// damaged: also a file that cannot be read. rejected: the file does not have the table or column that the
    /// statement names.
    enum class Kind { failed, full, readOnly, damaged, rejected };

    DatabaseError(Kind kind, const std::string& reason) : std::runtime_error(reason), _kind(kind) {}
    Kind kind() const { return _kind; }

private:
    Kind _kind;
};

/// One open SQLite database. Every operation throws DatabaseError. Thread-bound.
class Database {
public:
    explicit Database(const std::filesystem::path& file);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    void execute(const std::string& sql);

    /// Leaves the log as it is when the database is closed; otherwise the log is moved into the database and removed.
    void keepLog();

    /// Whether the file that is open is not the one of that name any more.
    bool hasMoved() const;

    /// @throws DatabaseError when the code of a call of the database tells a failure.
    void check(int code) const;
    sqlite3* handle() const { return _handle; }

private:
    sqlite3* _handle = nullptr;
};

/// One prepared statement. Parameters count from 1, columns from 0.
class Statement {
public:
    Statement(const Database& database, const std::string& sql);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    /// The bytes are borrowed until the statement is gone.
    Statement& bind(int index, const std::string& bytes);
    Statement& bind(int index, std::int64_t value);

    /// Moves to the next row; false at the end.
    bool step();

    std::string bytes(int column) const;
    std::int64_t integer(int column) const;

private:
    const Database& _database;
    sqlite3_stmt* _statement = nullptr;
};

/// A transaction that is rolled back unless committed.
class Transaction {
public:
    explicit Transaction(Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void commit();

private:
    Database& _database;
    bool _open = true;
};

} // namespace camera::store
