#pragma once

#include <cstdint>
#include <map>
#include <string>

/// The files of one folder, content by name.
using Files = std::map<std::string, std::string>;

/// One change that a program asked of a folder. Files are numbered, so that one keeps its content
/// under a new name.
struct DiskCall {
    enum class Kind { create, write, truncate, sync, syncFolder, rename, remove };

    Kind kind = Kind::write;
    int file = 0;            ///< create, write, truncate, sync
    std::string name;        ///< create, rename, remove: the entry
    std::string newName;     ///< rename
    std::int64_t offset = 0; ///< write: where; truncate: the new size
    std::string bytes;       ///< write
};
