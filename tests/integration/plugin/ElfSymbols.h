#pragma once

#include <string>
#include <vector>

namespace integration {

/// What a shared library offers and asks for, read from the file by its own tables.
struct ElfSymbols {
    std::vector<std::string> defined;   ///< names that other modules can bind to
    std::vector<std::string> undefined; ///< names that it expects from elsewhere
    std::vector<std::string> needed;    ///< libraries that it names
};

/// Reads a 64-bit library of this machine's byte order.
/// @throws std::runtime_error when the file is no such library.
ElfSymbols readElfSymbols(const std::string& path);

/// A C++ name as it is written in the source; other names come back unchanged.
std::string demangled(const std::string& name);

} // namespace integration
