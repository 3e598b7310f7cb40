#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

namespace camera::store {

/// A document found in a settings file, with its place in the order of writes.
struct SalvagedDocument {
    std::int64_t sequence = 0;
    std::string document;
};

/// The newest good document of every key that can still be read from a settings file, however
/// damaged it is; empty when there is none. Does not change the file; makes a temporary copy next to it.
std::map<std::string, SalvagedDocument> salvage(const std::filesystem::path& file);

/// The checksum stored with a document; it covers the key too, so that swapped rows are found.
std::int64_t documentChecksum(const std::string& key, const std::string& document);

} // namespace camera::store
