#pragma once

#include "camera/serviceapi/DeviceServices.h"
#include "camera/serviceapi/Status.h"

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/**
 * The device's services in memory: each serves the target "main", except "rotate", until a test changes it. A query
 * that fails writes its output all the same. Thread-safe.
 */
class FakeDeviceServices final : public camera::serviceapi::DeviceServices {
public:
    using Ids = std::optional<std::vector<std::string>>;

    /// From now on the service has these targets; nothing: nobody serves it.
    void serve(const std::string& service, Ids ids = std::vector<std::string>{"main"})
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _ids[service] = std::move(ids);
    }

    /// From now on queries of the service end with this status.
    void answer(const std::string& service, ravel_core_status status)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _answers[service] = status;
    }

    /// What the camera is mounted at, where the configuration values tell it.
    void configure(int degrees)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _configuredOrientation = degrees;
    }

    void moveFilter(bool moving) { _listener->dayNightMoves(moving); }

    void blank(bool enabled)
    {
        {
            const std::lock_guard<std::mutex> lock(_mutex);
            _blanking = enabled;
        }
        _listener->blankingChanged(enabled);
    }

    void color(camera::serviceapi::RegionColor color)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _color = color;
    }

    /// Turns the camera; heard where "rotate" is served.
    void turn(std::uint32_t degrees)
    {
        {
            const std::lock_guard<std::mutex> lock(_mutex);
            _orientation = degrees;
        }
        if (_listener != nullptr) {
            _listener->orientationChanged(degrees);
        }
    }

    std::function<void(const std::string&)> onDocument; ///< called inside sendMetadata(), before it is noted

    std::vector<std::string> documents() const
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _documents;
    }

    bool started() const { return _started; }

    void start(Listener& listener) override
    {
        _listener = &listener;
        _started = true;
    }
    void stop() override { _started = false; }

    Ids targetIds(const std::string& service) const override
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        const auto found = _ids.find(service);
        return found == _ids.end() ? std::nullopt : found->second;
    }

    ravel_core_status regionColor(camera::serviceapi::RegionColor& color) override
    {
        return reply("window_blanking", color, _color);
    }
    ravel_core_status blankingEnabled(bool& enabled) override { return reply("window_blanking", enabled, _blanking); }
    ravel_core_status orientation(std::uint32_t& degrees) override { return reply("rotate", degrees, _orientation); }
    ravel_core_status configurationValue(const std::string& key, int& value) override
    {
        const ravel_core_status status = reply("configuration", value, _configuredOrientation);
        return key == "default_analytics_rotation" ? status : camera::serviceapi::kNotFound;
    }
    void sendMetadata(const std::string& document) override
    {
        if (onDocument) {
            onDocument(document);
        }
        const std::lock_guard<std::mutex> lock(_mutex);
        _documents.push_back(document);
    }

private:
    template <class Value>
    ravel_core_status reply(const std::string& service, Value& output, const Value& value) const
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        output = value;
        const auto found = _answers.find(service);
        return found == _answers.end() ? static_cast<ravel_core_status>(camera::serviceapi::kOk) : found->second;
    }

    mutable std::mutex _mutex;
    const std::vector<std::string> _main{"main"};
    std::map<std::string, Ids> _ids{
        {"day_night", _main}, {"window_blanking", _main}, {"onvif_metadata_streamer", _main}, {"configuration", _main}};
    std::map<std::string, ravel_core_status> _answers;
    camera::serviceapi::RegionColor _color;
    bool _blanking = false;
    std::uint32_t _orientation = 0;
    int _configuredOrientation = 0;
    std::vector<std::string> _documents;
    Listener* _listener = nullptr;
    bool _started = false;
};
