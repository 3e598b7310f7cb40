// The parts of a configuration document that the plug-in and the engines share.
#include "camera/kit/DocumentNames.h"

#include "plugin/analytics/IOnvifAnalytics.h"

namespace analytics_lib {

const std::string IOnvifAnalytics::kVideoAnalyticTag = "tt:VideoAnalyticsConfiguration";
const std::string IOnvifAnalytics::kVideoAnalyticHeader =
    std::string("<tt:VideoAnalyticsConfiguration xmlns:tt=\"http://www.onvif.org/ver10/schema\""
                " xmlns:tns1=\"http://www.onvif.org/ver10/topics\" xmlns:axt=\"http://www.onvif.org/ver20/analytics\""
                " xmlns:xs=\"http://www.w3.org/2001/XMLSchema\" xmlns:vca=\"") +
    camera::kit::kOwnNamespace + "\" token=\"" + camera::kit::kAnalyticsToken +
    "\"><tt:Name>Video analytics</tt:Name><tt:UseCount>1</tt:UseCount>";
const std::string IOnvifAnalytics::kVideoAnalyticFooter = "</tt:VideoAnalyticsConfiguration>";
const std::string IOnvifAnalytics::kEngineConfigTag = "tt:AnalyticsEngineConfiguration";
const std::string IOnvifAnalytics::kEngineConfigHeader = "<tt:AnalyticsEngineConfiguration>";
const std::string IOnvifAnalytics::kEngineConfigFooter = "</tt:AnalyticsEngineConfiguration>";
const std::string IOnvifAnalytics::kRuleConfigTag = "tt:RuleEngineConfiguration";
const std::string IOnvifAnalytics::kRuleConfigHeader = "<tt:RuleEngineConfiguration>";
const std::string IOnvifAnalytics::kRuleConfigFooter = "</tt:RuleEngineConfiguration>";

} // namespace analytics_lib
