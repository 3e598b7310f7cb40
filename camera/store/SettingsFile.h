#pragma once

#include "camera/store/Database.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace camera::store {

constexpr std::size_t kHistory = 10; ///< documents of a key that are kept

/// One stored document of a key. The sequence counts all writes of the store, so of two documents the one with the
/// larger number is newer, whichever file it was read from.
struct Row {
    std::string key;
    std::int64_t sequence = 0;
    std::int64_t storedAt = 0; ///< seconds since 1970
    std::string document;
};

/// The newest row of each key.
using NewestRows = std::map<std::string, Row>;

/// What can be read of a settings file, however damaged it is.
struct Contents {
    enum class Layout { empty, older, present };

    Layout layout = Layout::empty;
    NewestRows newest;                         ///< whose checksums fit
    std::string damage;                        ///< what is wrong with the file, in a few words; empty: nothing
    std::map<std::string, std::int64_t> wrong; ///< keys with rows whose checksums do not fit, the last of each
};

/// @throws DatabaseError when a newer program wrote the file, and when it cannot be read for another reason than
/// damage.
Contents readContents(const Database& database);

/// The newest row of each key of a file of the present layout.
/// @throws DatabaseError also when the checksum of one of them does not fit.
NewestRows readNewest(const Database& database);

/// Stores everything in one transaction, in the present layout: the good rows of another file, or of this one in an
/// older layout, and these rows.
/// @param from  borrowed; nullptr: none.
void fill(Database& database, const Database* from, const NewestRows& rows);

/// Adds a document of a key as its newest one and forgets the oldest beyond kHistory.
/// @return false when its newest document is the same already; nothing is added then, which would drop an older one.
bool add(const Database& database, Row row);

/// The rows of a file of the present layout, one after the other.
class StoredRows {
public:
    /// @param which  the clauses of the statement after the table, with one parameter when there is a key.
    StoredRows(const Database& database, const std::string& which, const std::string& key = "");

    bool next(); ///< false at the end
    const Row& row() const { return _row; }
    bool good() const { return _good; } ///< its checksum fits

private:
    const std::string _key;
    Statement _statement;
    Row _row;
    bool _good = false;
};

} // namespace camera::store
