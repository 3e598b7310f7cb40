#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace camera::services {

/// What the process camera-services is told.
struct ServicesOptions {
    std::string bus; ///< its address
    std::filesystem::path state;
    std::filesystem::path runtime;             ///< of the metadata socket; empty: the state folder
    std::optional<std::uint32_t> angleDegrees; ///< unset: the one that is stored
    std::optional<bool> rotationService;       ///< unset: as stored
    std::int64_t maxStoreBytes = 0;            ///< how large the settings file may grow; 0: as large as the disk
};

} // namespace camera::services
