#pragma once

#include "camera/ptz/Position.h"

#include <string>
#include <vector>

namespace camera::ptz {

/// The key of its document in the settings store.
constexpr char kPositioningKey[] = "camera.positioning";

/// The state of a positioning unit that is stored.
struct PositioningState {
    Position position;
    std::string activePreset; ///< empty: at none
    std::vector<Preset> presets;
    std::vector<Tour> tours;
};

/// One JSON document; names may hold any bytes.
std::string writePositioning(const PositioningState& state);

/**
 * Reads a document of writePositioning(). The text may be any bytes.
 * @return what is wrong, as one sentence, with the state untouched; empty when it was read.
 */
std::string readPositioning(const std::string& document, PositioningState& state);

} // namespace camera::ptz
