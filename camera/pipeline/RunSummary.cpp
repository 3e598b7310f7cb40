#include "camera/pipeline/RunSummary.h"

#include "camera/base/Text.h"
#include "camera/pipeline/RunReport.h"

namespace camera::pipeline {

namespace {

constexpr std::size_t kMostActive = 8;

std::vector<std::string> activeLines(const std::vector<onvif::ComponentName>& active)
{
    if (active.empty()) {
        return {summaryLine("active", "none; --config FILE.xml gives rules")};
    }
    std::vector<std::string> lines;
    for (const onvif::ComponentName& component : active) {
        if (lines.size() == kMostActive) {
            lines.push_back(summaryLine("", "and " + std::to_string(active.size() - kMostActive) + " more"));
            break;
        }
        lines.push_back(summaryLine(lines.empty() ? "active" : "", base::printable(onvif::describe(component))));
    }
    return lines;
}

} // namespace

std::vector<std::string> RunSummary::lines() const
{
    std::vector<std::string> lines{"", summaryLine("input", input)};
    lines.insert(lines.end(), report.begin(), report.end());
    if (eventsDropped != 0) {
        lines.push_back(summaryLine("", std::to_string(eventsDropped) + " were lost: the queue was full"));
    }
    lines.push_back(summaryLine("metadata", std::to_string(documents) + " documents"));
    const std::vector<std::string> ofActive = activeLines(active);
    lines.insert(lines.end(), ofActive.begin(), ofActive.end());
    lines.push_back(summaryLine("settings", settings.empty() ? "not kept; --state DIR keeps them" : settings));
    for (const WrittenFile& file : files) {
        lines.push_back(
            summaryLine(file.complete ? "written" : "incomplete", file.path + " (" + base::sizeText(file.bytes) + ")"));
    }
    if (!ended.empty()) {
        lines.push_back(summaryLine("ended", ended));
    }
    return lines;
}

} // namespace camera::pipeline
