#include "camera/cli/RestartReport.h"

#include "camera/cli/Console.h"

#include <algorithm>

namespace camera::cli {

namespace {

// Those of all that few has not; a component listed twice counts twice.
std::vector<ComponentName> without(const std::vector<ComponentName>& all, std::vector<ComponentName> few)
{
    std::vector<ComponentName> rest;
    for (const ComponentName& component : all) {
        const auto found = std::find(few.begin(), few.end(), component);
        if (found == few.end()) {
            rest.push_back(component);
        } else {
            few.erase(found);
        }
    }
    return rest;
}

void append(std::vector<ComponentName>& all, const std::vector<std::string>& elements)
{
    for (const std::string& element : elements) {
        const std::vector<ComponentName> found = componentsOf(element);
        all.insert(all.end(), found.begin(), found.end());
    }
}

} // namespace

std::vector<ComponentName> liveComponents(device::Device& device)
{
    std::vector<ComponentName> all;
    append(all, device.target().currentEngines());
    append(all, device.target().currentRules());
    return all;
}

std::vector<std::string> restartDifferences(const std::vector<ComponentName>& now,
                                            const std::vector<ComponentName>& later)
{
    std::vector<std::string> lines;
    for (const ComponentName& component : without(now, later)) {
        lines.push_back("After a restart " + printable(describe(component)) + " is gone: it is live, but not stored.");
    }
    for (const ComponentName& component : without(later, now)) {
        lines.push_back("After a restart " + printable(describe(component)) + " is back: it is still stored.");
    }
    return lines;
}

} // namespace camera::cli
