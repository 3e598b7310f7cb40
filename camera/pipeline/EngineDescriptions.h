#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace camera::framework {
class EngineFactory;
}

namespace camera::pipeline {

/// A larger description is not taken.
inline constexpr std::size_t kLargestDescription = 1024 * 1024;

/**
 * What ONVIF clients are told of each engine, in the engines' order: the text of the file ENGINE.onvif.xml beside its
 * module, for the program's own engines in the folder "engines" beside the program; empty when there is none. A file
 * that cannot be used counts as none. Either is logged in one line, the first at the level info, the second as an
 * error.
 */
std::vector<std::string> engineDescriptions(const framework::EngineFactory& engines,
                                            const std::filesystem::path& programFolder);

} // namespace camera::pipeline
