#pragma once

#include "kit/BusClient.h"

#include <cstdint>
#include <map>
#include <string>
#include <tuple>

namespace services_test {

using namespace kit;

inline constexpr const char* kEach[] = {service::kDayNight, service::kWindowBlanking, service::kRotate,
                                        service::kConfiguration, service::kOnvifMetadataStreamer};

/// The day/night service under the name of the whole process: the same object, also when another process owns the
/// service's own name.
inline constexpr char kDayNightByAnotherName[] = "day/night by another name";

using Color = std::tuple<std::uint8_t, std::uint8_t, std::uint8_t>;
using Values = std::map<std::string, std::int32_t>;

/// Another process' view of the services. Its journal holds their signals: "movementChange 1".
class ServicesClient : public BusClient {
public:
    explicit ServicesClient(const std::string& address)
        : BusClient(address,
                    {service::kServices, service::kDayNight, service::kWindowBlanking, service::kRotate,
                     service::kConfiguration, service::kOnvifMetadataStreamer},
                    [](BusProxies& proxies, LineJournal& heard) {
                        proxies.add(kDayNightByAnotherName, camera::bus::busName(service::kServices),
                                    camera::bus::objectPath(service::kDayNight));
                        hear<bool>(proxies, heard, service::kDayNight, "movementChange");
                        hear<bool>(proxies, heard, service::kWindowBlanking, "settingsChanged");
                        hear<std::uint32_t>(proxies, heard, service::kRotate, "orientationChanged");
                    })
    {
    }

    void setFault(const std::string& name, const std::string& fault, double seconds = 0)
    {
        ask<>(service::kServices, "setFault", name, fault, seconds);
    }

    bool moving() { return one<bool>(service::kDayNight, "isMoving"); }
    Color color() { return ask<std::uint8_t, std::uint8_t, std::uint8_t>(service::kWindowBlanking, "getRegionColor"); }
    int enabled() { return one<std::uint8_t>(service::kWindowBlanking, "getEnable"); }
    void setEnabled(bool on) { ask<>(service::kWindowBlanking, "setEnable", on); }
    std::uint32_t angle() { return one<std::uint32_t>(service::kRotate, "getAngle"); }
    void setAngle(std::uint32_t degrees) { ask<>(service::kRotate, "setAngle", degrees); }
    Values values() { return one<Values>(service::kConfiguration, "list"); }
    std::int32_t value(const std::string& key)
    {
        return one<std::int32_t>(service::kConfiguration, "getIntValue", key);
    }
    void setValue(const std::string& key, std::int32_t value)
    {
        ask<>(service::kConfiguration, "setIntValue", key, value);
    }

private:
    template <class Value>
    static void hear(BusProxies& proxies, LineJournal& heard, const char* name, const std::string& signal)
    {
        proxies.hear(name, signal,
                     [signal, &heard](const Value& value) { heard.add(signal + " " + std::to_string(value)); });
    }
};

} // namespace services_test
