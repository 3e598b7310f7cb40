#include "camera/services/ServiceObjects.h"

#include "camera/base/Orientation.h"
#include "camera/bus/configuration_server.h"
#include "camera/bus/day_night_server.h"
#include "camera/bus/onvif_metadata_streamer_server.h"
#include "camera/bus/rotate_server.h"
#include "camera/bus/window_blanking_server.h"
#include "camera/services/MetadataSocket.h"
#include "camera/services/ServiceState.h"

#include <cstdint>
#include <tuple>

namespace camera::services {

namespace {

bus::Dispatch withFaults(const ObjectContext& context, const char* service)
{
    return [context, service](const std::shared_ptr<bus::Request>& request) {
        const FaultSwitch::Setting setting = context.process.faults.of(service);
        if (setting.fault == Fault::fail) {
            request->refuse(bus::error::kFailed, "made to fail");
            return;
        }
        request->perform();
        if (setting.fault != Fault::slow) {
            request->answer();
            return;
        }
        const auto delay = std::chrono::duration_cast<DelayedAnswers::Clock::duration>(setting.delay);
        const auto due = DelayedAnswers::Clock::now() + delay;
        if (!context.answers.hold(due, request->bytes(), [request] { request->answer(); })) {
            request->refuse(bus::error::kFailed, "made slow, and too many answers wait already");
        }
    };
}

// Its filter rests until it is told that a movement begins. Each begin and end is an event.
class DayNightObject final : public bus::DayNightServer {
public:
    explicit DayNightObject(const ObjectContext& context)
        : DayNightServer(context.connection, withFaults(context, bus::service::kDayNight)),
          _state(context.process.state)
    {
    }

private:
    void begin() override { move(true); }
    void end() override { move(false); }
    bool isMoving() override { return _state.moving(); }

    void move(bool moving)
    {
        _state.setMoving(moving);
        emitMovementChange(moving);
    }

    ServiceState& _state;
};

// A region colour, and whether it is on. Every change of either is an event.
class WindowBlankingObject final : public bus::WindowBlankingServer {
public:
    explicit WindowBlankingObject(const ObjectContext& context)
        : WindowBlankingServer(context.connection, withFaults(context, bus::service::kWindowBlanking)),
          _state(context.process.state)
    {
    }

private:
    std::uint8_t getEnable() override { return _state.blanking().enabled ? 1 : 0; }

    std::tuple<std::uint8_t, std::uint8_t, std::uint8_t> getRegionColor() override
    {
        const Blanking& now = _state.blanking();
        return {now.red, now.green, now.blue};
    }

    void setEnable(bool enable) override
    {
        Blanking blanking = _state.blanking();
        blanking.enabled = enable;
        set(blanking);
    }

    void setRegionColor(std::uint8_t red, std::uint8_t green, std::uint8_t blue) override
    {
        set(Blanking{red, green, blue, _state.blanking().enabled});
    }

    void set(const Blanking& blanking)
    {
        _state.setBlanking(blanking);
        emitSettingsChanged(blanking.enabled);
    }

    ServiceState& _state;
};

// The orientation. Setting it is an event.
class RotateObject final : public bus::RotateServer {
public:
    explicit RotateObject(const ObjectContext& context)
        : RotateServer(context.connection, withFaults(context, bus::service::kRotate)), _state(context.process.state)
    {
    }

private:
    std::uint32_t getAngle() override { return _state.orientation().degrees; }

    void setAngle(std::uint32_t degrees) override
    {
        if (!base::isOrientation(degrees)) {
            throw bus::Refusal(std::string("the angle is ") + base::kOrientations + " degrees, not " +
                               std::to_string(degrees));
        }
        OrientationSetting orientation = _state.orientation();
        orientation.degrees = degrees;
        _state.setOrientation(orientation);
        emitOrientationChanged(degrees);
    }

    ServiceState& _state;
};

// Refuses without the key when it is too long for a sentence.
void checkKey(const std::string& key)
{
    if (key.size() > kLongestKeyBytes) {
        throw bus::Refusal("the key of a configuration value has at most " + std::to_string(kLongestKeyBytes) +
                           " bytes, not " + std::to_string(key.size()));
    }
    if (key.empty()) {
        throw bus::Refusal("the key of a configuration value is not empty");
    }
}

// The device's integer configuration values by key.
class ConfigurationObject final : public bus::ConfigurationServer {
public:
    explicit ConfigurationObject(const ObjectContext& context)
        : ConfigurationServer(context.connection, withFaults(context, bus::service::kConfiguration)),
          _state(context.process.state)
    {
    }

private:
    std::int32_t getIntValue(const std::string& key) override
    {
        checkKey(key);
        const auto found = _state.values().find(key);
        if (found == _state.values().end()) {
            throw bus::Refusal("there is no configuration value '" + key + "'");
        }
        return found->second;
    }

    Values list() override { return _state.values(); }

    void setIntValue(const std::string& key, std::int32_t value) override
    {
        checkKey(key);
        Values values = _state.values();
        values[key] = value;
        if (values.size() > kMostValues) {
            throw bus::Refusal("there are " + std::to_string(kMostValues) +
                               " configuration values already; remove one first");
        }
        _state.setValues(values);
    }

    void removeValue(const std::string& key) override
    {
        getIntValue(key); // refuses a key that is not there
        Values values = _state.values();
        values.erase(key);
        _state.setValues(values);
    }

    ServiceState& _state;
};

// Takes ONVIF metadata documents and hands them to the socket's subscribers.
class MetadataObject final : public bus::OnvifMetadataStreamerServer {
public:
    explicit MetadataObject(const ObjectContext& context)
        : OnvifMetadataStreamerServer(context.connection, withFaults(context, bus::service::kOnvifMetadataStreamer)),
          _socket(context.process.socket)
    {
    }

private:
    void sendOnvifAnalyticsMetadataXml(const std::string& xml, std::int32_t /*flag*/) override
    {
        if (xml.size() > kLargestDocumentBytes) {
            throw sdbus::Error(bus::error::kTooLarge, "a metadata document has at most " +
                                                          std::to_string(kLargestDocumentBytes) + " bytes, not " +
                                                          std::to_string(xml.size()));
        }
        if (xml.empty()) {
            throw bus::Refusal("the metadata document is empty");
        }
        _socket.publish(xml);
    }

    std::string getSocket() override { return _socket.path(); }

    std::tuple<std::uint64_t, std::uint64_t, std::uint64_t, std::uint32_t> getCounters() override
    {
        const MetadataSocket::Counters now = _socket.counters();
        return {now.received, now.delivered, now.lost, static_cast<std::uint32_t>(now.subscribers.size())};
    }

    MetadataSocket& _socket;
};

} // namespace

std::unique_ptr<bus::Server> makeServiceObject(const std::string& service, const ObjectContext& context)
{
    if (service == bus::service::kDayNight) {
        return std::make_unique<DayNightObject>(context);
    }
    if (service == bus::service::kWindowBlanking) {
        return std::make_unique<WindowBlankingObject>(context);
    }
    if (service == bus::service::kRotate) {
        return std::make_unique<RotateObject>(context);
    }
    if (service == bus::service::kConfiguration) {
        return std::make_unique<ConfigurationObject>(context);
    }
    return std::make_unique<MetadataObject>(context);
}

} // namespace camera::services
