#pragma once

#include "camera/onvif/AnalyticsChange.h"
#include "camera/onvif/AnalyticsState.h"
#include "camera/onvif/XmlText.h"
#include "kit/TemporaryFolder.h"

#include <pugixml.hpp>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace camera::onvif {

/// The camera's own engines with their descriptions.
inline std::vector<EngineTypes> describedEngines()
{
    const auto described = [](const std::string& engine) {
        return ::kit::contentOf(CAMERA_DESCRIPTIONS "/" + engine + ".onvif.xml");
    };
    return {{"Motion", {"vca:MotionRegionEngine"}, {"tt:MotionRegionDetector"}, described("Motion")},
            {"Simple", {"tt:CellMotionEngine"}, {"tt:CellMotionDetector"}, described("Simple")}};
}

/// The analytics service as far as its documents go: what it keeps alive, and what it has stored, which is not the same
/// after a deletion.
class FakeAnalyticsService {
public:
    explicit FakeAnalyticsService(std::vector<EngineTypes> engines) : engines(std::move(engines)) {}

    /// False: refused.
    bool setConfiguration(const std::string& xml)
    {
        pugi::xml_document document;
        if (!document.load_string(xml.c_str())) {
            return false;
        }
        std::vector<std::string> elements[2];
        for (const bool rules : {false, true}) {
            for (const auto& found : document.select_nodes(rules ? "//tt:Rule" : "//tt:AnalyticsModule")) {
                elements[rules ? 1 : 0].push_back(printed(found.node()));
            }
        }
        const PlacedComponents components = placedComponents(engines, elements[1], elements[0]);
        const bool oneKey = std::all_of(components.begin(), components.end(), [&](const PlacedComponent& component) {
            return component.key == components.front().key;
        });
        if (components.empty() || !oneKey || refuses > 0) {
            refuses = std::max(0, refuses - 1);
            return false;
        }
        alive[components.front().key] = components;
        stored[components.front().key] = true;
        return true;
    }

    /// The first component of each name goes, of a rule or a module; the stored text of its key becomes empty.
    bool deleteRules(const std::vector<std::string>& names)
    {
        const auto before = alive;
        std::vector<DocumentKey> touched;
        for (const std::string& name : names) {
            const auto key = std::find_if(alive.begin(), alive.end(), [&name](const auto& document) {
                return std::any_of(document.second.begin(), document.second.end(),
                                   [&name](const PlacedComponent& component) { return component.name == name; });
            });
            if (key == alive.end()) {
                alive = before;
                return false;
            }
            const auto component = std::find_if(key->second.begin(), key->second.end(),
                                                [&name](const PlacedComponent& each) { return each.name == name; });
            key->second.erase(component);
            touched.push_back(key->first);
        }
        for (const DocumentKey& key : touched) {
            stored[key] = false;
        }
        return true;
    }

    bool perform(const AnalyticsStep& step)
    {
        return step.document.empty() ? deleteRules(step.names) : setConfiguration(step.document);
    }

    PlacedComponents components() const
    {
        PlacedComponents all;
        for (const auto& [key, components] : alive) {
            all.insert(all.end(), components.begin(), components.end());
        }
        return all;
    }

    /// Begins again with what is stored.
    void restart()
    {
        for (auto& [key, components] : alive) {
            if (!stored[key]) {
                components.clear();
            }
        }
    }

    /// Whether a start would bring back what is alive.
    bool isStored() const
    {
        return std::all_of(alive.begin(), alive.end(), [this](const auto& document) {
            const auto found = stored.find(document.first);
            return document.second.empty() || (found != stored.end() && found->second);
        });
    }

    std::vector<EngineTypes> engines;
    std::map<DocumentKey, PlacedComponents> alive;
    std::map<DocumentKey, bool> stored; ///< false: its text is empty
    int refuses = 0;                    ///< so many of the next configurations
};

} // namespace camera::onvif
