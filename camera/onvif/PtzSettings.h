#pragma once

#include "camera/onvif/PtzView.h"

#include <map>
#include <optional>
#include <string>

namespace camera::onvif {

/**
 * What the device keeps of presets and tours beside what the camera does.
 *
 * A token is the name that the camera has for a preset or tour, and stays; the name that clients give and see stands
 * here where it is another one. So a preset that gets another name keeps its rules, which are stored by its token.
 */
struct PtzSettings {
    struct Tour {
        std::string name;   ///< empty: none was given
        bool draft = false; ///< it has no stops yet, and the camera does not know it
    };

    std::optional<PtzPlace> home;
    std::map<std::string, std::string> presetNames; ///< by their tokens
    std::map<std::string, Tour> tours;              ///< by their tokens
};

/// As a JSON document and back. Nothing when it is none of this kind.
std::string format(const PtzSettings& settings);
std::optional<PtzSettings> parsePtzSettings(const std::string& document);

} // namespace camera::onvif
