#include "camera/engines/Alarm.h"

#include "camera/engines/EngineNames.h"
#include "camera/engines/XmlText.h"
#include "camera/kit/DocumentNames.h"

#include <cstdio>
#include <ctime>

namespace camera::engines {

namespace {

std::string simpleItem(const char* name, const std::string& value)
{
    return std::string("<tt:SimpleItem Name=\"") + name + "\" Value=\"" + escaped(value) + "\"/>";
}

} // namespace

std::string UtcTime::text() const
{
    const auto time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    gmtime_r(&time, &parts);
    char text[64];
    const int length =
        std::snprintf(text, sizeof(text), "%04d-%02d-%02dT%02d:%02d:%02d.%03uZ", parts.tm_year + 1900, parts.tm_mon + 1,
                      parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec, nanoseconds / 1'000'000 % 1000);
    return {text, static_cast<std::size_t>(length)};
}

bool Alarm::due(bool motion, std::int64_t time, std::int64_t onDelay, std::int64_t offDelay)
{
    if (motion == _on) {
        _turning = false;
        return false;
    }
    if (!_turning || time < _since) {
        _turning = true;
        _since = time;
    }
    return time - _since >= (_on ? offDelay : onDelay);
}

void Alarm::change(analytics_lib::IEventHandler* handler, const UtcTime& time)
{
    _on = !_on;
    _turning = false;
    if (handler == nullptr) {
        return;
    }
    std::string message = "<tt:Message xmlns:tt=\"http://www.onvif.org/ver10/schema\" UtcTime=\"" + time.text() +
                          "\" PropertyOperation=\"Changed\"><tt:Source>" +
                          simpleItem(_form.videoSourceItem, kit::kVideoSourceToken);
    if (_form.analyticsItem != nullptr) {
        message += simpleItem(_form.analyticsItem, kit::kAnalyticsToken);
    }
    message += simpleItem(_form.ruleItem, _rule) + "</tt:Source><tt:Data>" +
               simpleItem(_form.stateItem, _on ? "true" : "false") + "</tt:Data></tt:Message>";
    const std::string rule = _rule; // a copy: the handler may end the rule and this object with it
    handler->OnEvent(_form.topic, rule, message);
}

} // namespace camera::engines
