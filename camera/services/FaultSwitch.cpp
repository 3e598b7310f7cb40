#include "camera/services/FaultSwitch.h"

#include "camera/base/Text.h"
#include "camera/bus/Server.h"

#include <algorithm>

namespace camera::services {

namespace {

constexpr Fault kFaults[] = {Fault::absent, Fault::fail, Fault::slow, Fault::off};

Fault faultNamed(const std::string& name)
{
    const auto* const found =
        std::find_if(std::begin(kFaults), std::end(kFaults), [&](Fault fault) { return word(fault) == name; });
    if (found == std::end(kFaults)) {
        throw bus::Refusal("there is no fault '" + name + "', only absent, fail, slow and off");
    }
    return *found;
}

void checkService(const std::string& service)
{
    const auto& known = FaultSwitch::services();
    if (std::find(known.begin(), known.end(), service) != known.end()) {
        return;
    }
    throw bus::Refusal("there is no service '" + service + "', only " + base::joined(known, " and "));
}

} // namespace

std::string word(Fault fault)
{
    switch (fault) {
    case Fault::absent:
        return "absent";
    case Fault::fail:
        return "fail";
    case Fault::slow:
        return "slow";
    case Fault::off:
        break;
    }
    return "off";
}

const std::vector<std::string>& FaultSwitch::services()
{
    static const std::vector<std::string> known = {bus::service::kDayNight, bus::service::kWindowBlanking,
                                                   bus::service::kRotate, bus::service::kOnvifMetadataStreamer,
                                                   bus::service::kConfiguration};
    return known;
}

void FaultSwitch::set(const std::string& service, const std::string& fault, double seconds)
{
    checkService(service);
    Setting setting{faultNamed(fault), std::chrono::duration<double>(0)};
    if (setting.fault == Fault::slow) {
        // Written with a negation, because a comparison with NaN is false.
        if (!(seconds > 0 && seconds <= kLongestDelaySeconds)) {
            throw bus::Refusal("a slow service takes more than 0 and at most 3600 seconds for an answer");
        }
        setting.delay = std::chrono::duration<double>(seconds);
    }
    _settings[service] = setting;
}

FaultSwitch::Setting FaultSwitch::of(const std::string& service) const
{
    const auto found = _settings.find(service);
    return found == _settings.end() ? Setting() : found->second;
}

} // namespace camera::services
