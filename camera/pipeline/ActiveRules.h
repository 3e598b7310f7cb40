#pragma once

#include "camera/onvif/ConfigurationFile.h"

#include <string>
#include <vector>

namespace camera::framework {
class EngineFactory;
}

namespace camera::pipeline {

/// What one engine evaluates.
struct ActiveRules {
    std::string engine;
    std::vector<onvif::ComponentName> components; ///< empty: nothing

    /// The preset that they are for; empty: for none.
    std::string preset() const;

    std::vector<std::string> rules() const; ///< their names
    std::vector<std::string> modules() const;
};

/// Reads the text of each engine's active rule set. Thread: the control thread. Throws what an engine throws.
std::vector<ActiveRules> activeRules(const framework::EngineFactory& engines);

/// The engine whose active rule set has the longest text: ", most of it of engine 'Motion'"; empty when none has a
/// text. Thread: the control thread.
std::string engineOfLongestText(const framework::EngineFactory& engines);

inline constexpr char kNoRules[] = "none";

/// "Simple, Motion at Gate", "Simple away from presets", or "none"
std::string describe(const std::vector<ActiveRules>& rules);

} // namespace camera::pipeline
