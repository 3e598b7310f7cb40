#include "camera/cli/RestartReport.h"

#include "camera/base/Text.h"

#include <algorithm>

namespace camera::cli {

namespace {

using Components = std::vector<onvif::ComponentName>;

// The components of all that few does not have; one that is listed twice counts twice.
Components without(const Components& all, Components few)
{
    Components rest;
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

} // namespace

std::vector<std::string> restartDifferences(const Components& now, const Components& later)
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

} // namespace camera::cli
