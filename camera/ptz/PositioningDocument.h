#pragma once

#include "camera/ptz/Position.h"

#include <string>
#include <vector>

namespace camera::ptz {

/// What of a positioning unit outlives it.
struct PositioningState {
    Position position;
    std::string activePreset; ///< empty: at none
    std::vector<Preset> presets;
    std::vector<Tour> tours;
};

/// One JSON document; names may hold any bytes.
std::string writePositioning(const PositioningState& state);

/**
 * Reads a document of writePositioning(). Any bytes may be given.
 * @return what is wrong, as one sentence, with the state untouched; empty when it was read.
 */
std::string readPositioning(const std::string& document, PositioningState& state);

} // namespace camera::ptz
