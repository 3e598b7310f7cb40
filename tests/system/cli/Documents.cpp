#include "Documents.h"

namespace camera::system_tests {

namespace {

std::string document(const std::string& module, const std::string& rule)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<tt:VideoAnalyticsConfiguration xmlns:tt=\"http://www.onvif.org/ver10/schema\"\n"
           "    xmlns:axt=\"http://www.onvif.org/ver20/analytics\" xmlns:vca=\"urn:x-virtual-camera:analytics\"\n"
           "    token=\"A\">\n"
           "  <tt:Name>A</tt:Name>\n  <tt:UseCount>1</tt:UseCount>\n"
           "  <tt:AnalyticsEngineConfiguration>\n    " +
           module + "\n  </tt:AnalyticsEngineConfiguration>\n  <tt:RuleEngineConfiguration>\n    " + rule +
           "\n  </tt:RuleEngineConfiguration>\n</tt:VideoAnalyticsConfiguration>\n";
}

std::string component(const std::string& element, const std::string& name, const std::string& type,
                      const std::string& items, const std::string& preset)
{
    const std::string presetItem = preset.empty() ? "" : "<tt:SimpleItem Name=\"PtzPreset\" Value=\"" + preset + "\"/>";
    return "<tt:" + element + " Name=\"" + name + "\" Type=\"" + type + "\"><tt:Parameters>" + presetItem + items +
           "</tt:Parameters></tt:" + element + ">";
}

} // namespace

std::string simpleConfiguration(const std::string& rule, const std::string& preset)
{
    return document(
        component("AnalyticsModule", "Cells", "tt:CellMotionEngine",
                  "<tt:SimpleItem Name=\"Sensitivity\" Value=\"60\"/>", preset),
        component("Rule", rule, "tt:CellMotionDetector", "<tt:SimpleItem Name=\"MinCount\" Value=\"3\"/>", preset));
}

std::string motionConfiguration(const std::string& rule, const std::string& preset)
{
    return document(component("AnalyticsModule", "Objects", "vca:MotionRegionEngine",
                              "<tt:SimpleItem Name=\"Sensitivity\" Value=\"60\"/>", preset),
                    component("Rule", rule, "tt:MotionRegionDetector",
                              "<tt:ElementItem Name=\"MotionRegion\"><axt:MotionRegionConfig Sensitivity=\"0.5\" "
                              "Armed=\"true\"><tt:Polygon><tt:Point x=\"-0.95\" y=\"0.95\"/><tt:Point x=\"-0.95\" "
                              "y=\"-0.95\"/><tt:Point x=\"0.95\" y=\"-0.95\"/><tt:Point x=\"0.95\" y=\"0.95\"/>"
                              "</tt:Polygon></axt:MotionRegionConfig></tt:ElementItem>",
                              preset));
}

} // namespace camera::system_tests
