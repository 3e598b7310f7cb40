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
    bool good = true; ///< its checksum fits
};

/// The good rows of each key by their sequences, at least one of each.
using Rows = std::map<std::string, std::map<std::int64_t, Row>>;

/// The newest row of each key of rows that is newer than what the others have of the key.
Rows newerThan(const Rows& rows, const Rows& others);

/// What can be read of a settings file, however damaged it is.
struct Contents {
    Rows rows;
    std::string damage;                        ///< what is wrong with the file, in a few words; empty: nothing
    std::map<std::string, std::int64_t> wrong; ///< keys with rows whose checksums do not fit, the last of each
    bool present = false;                      ///< it has the present layout
};

/// @throws DatabaseError when a newer program wrote the file, and when it cannot be read for another reason than
/// damage.
Contents readContents(const Database& database);

/// The newest row of each key of a file of the present layout.
/// @throws DatabaseError also when the checksum of one of them does not fit.
Rows readNewest(const Database& database);

// The beginning of a statement that forEachRow() takes, the rest of it for one key, newest first.
inline const std::string kSelect = "SELECT key, sequence, stored_at, document, checksum FROM ";
inline const std::string kOfKey = "documents WHERE key = ? ORDER BY sequence DESC ";

using OnRow = std::function<void(const Row&)>;

/// Of a file of the present layout.
void forEachRow(Statement&& rows, const OnRow& onRow);

/// Stores these rows beside what the file has, in one transaction. It has the present layout afterwards, and no other.
void fill(const Database& database, const Rows& rows);

/// Adds a document of a key as its newest one and forgets the oldest beyond kHistory.
/// @return false when its newest document is the same already; nothing is added then, which would drop an older one.
bool add(const Database& database, Row row);

} // namespace camera::store
