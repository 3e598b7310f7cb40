#include "camera/pipeline/RestartReport.h"

#include "camera/base/Console.h"
#include "camera/base/PrintableText.h"

#include <algorithm>

namespace camera::pipeline {

namespace {

// Those of all that few has not; a component listed twice counts twice.
std::vector<onvif::ComponentName> without(const std::vector<onvif::ComponentName>& all,
                                          std::vector<onvif::ComponentName> few)
{
    std::vector<onvif::ComponentName> rest;
    for (const onvif::ComponentName& component : all) {
        const auto found = std::find(few.begin(), few.end(), component);
        if (found == few.end()) {
            rest.push_back(component);
        } else {
            few.erase(found);
        }
    }
    return rest;
}

void append(std::vector<onvif::ComponentName>& all, const std::vector<std::string>& elements)
{
    for (const std::string& element : elements) {
        const std::vector<onvif::ComponentName> found = onvif::componentsOf(element);
        all.insert(all.end(), found.begin(), found.end());
    }
}

} // namespace

std::vector<onvif::ComponentName> liveComponents(pipeline::Device& device)
{
    std::vector<onvif::ComponentName> all;
    append(all, device.target().currentEngines());
    append(all, device.target().currentRules());
    return all;
}

std::vector<std::string> restartDifferences(const std::vector<onvif::ComponentName>& now,
                                            const std::vector<onvif::ComponentName>& later)
{
    std::vector<std::string> lines;
    for (const onvif::ComponentName& component : without(now, later)) {
        lines.push_back("After a restart " + base::printable(onvif::describe(component)) +
                        " is gone: it is live, but not stored.");
    }
    for (const onvif::ComponentName& component : without(later, now)) {
        lines.push_back("After a restart " + base::printable(onvif::describe(component)) +
                        " is back: it is still stored.");
    }
    return lines;
}

} // namespace camera::pipeline
