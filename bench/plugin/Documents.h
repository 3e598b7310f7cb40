#pragma once

#include <cstddef>
#include <string>

namespace bench {

/// A configuration of about sizeBytes bytes: rules with four parameters each, for one preset.
inline std::string configuration(std::size_t sizeBytes, const std::string& preset)
{
    std::string rules;
    for (int i = 0; rules.size() + 400 < sizeBytes; ++i) {
        rules += "<tt:Rule Name=\"Rule" + std::to_string(i) +
                 "\" Type=\"tt:CellMotionDetector\">\n  <tt:Parameters>\n"
                 "    <tt:SimpleItem Name=\"MinCount\" Value=\"5\"/>\n"
                 "    <tt:SimpleItem Name=\"AlarmOnDelay\" Value=\"100\"/>\n"
                 "    <tt:SimpleItem Name=\"Active\" Value=\"true\"/>\n"
                 "    <tt:SimpleItem Name=\"ActiveCells\" Value=\"0P8A8A==\"/>\n  </tt:Parameters>\n</tt:Rule>\n";
    }
    return "<tt:VideoAnalyticsConfiguration xmlns:tt=\"http://www.onvif.org/ver10/schema\">\n"
           "<tt:AnalyticsEngineConfiguration><tt:AnalyticsModule Name=\"M\" Type=\"tt:CellMotionEngine\">"
           "<tt:Parameters><tt:SimpleItem Name=\"PtzPreset\" Value=\"" +
           preset +
           "\"/></tt:Parameters></tt:AnalyticsModule></tt:AnalyticsEngineConfiguration>\n"
           "<tt:RuleEngineConfiguration>\n" +
           rules + "</tt:RuleEngineConfiguration></tt:VideoAnalyticsConfiguration>";
}

/// The preset of a camera that stands at none; a configuration for it is the active one.
inline constexpr char kCurrentPreset[] = "ZintuInternalSimpleAnalyticsPreset";

} // namespace bench
