#pragma once

#include "FakeAnalyticsService.h"
#include "FakePtz.h"
#include "KeptInMemory.h"
#include "camera/onvif/AnalyticsService.h"
#include "camera/onvif/DeviceIo.h"
#include "camera/onvif/DeviceService.h"
#include "camera/onvif/EventService.h"
#include "camera/onvif/ImagingService.h"
#include "camera/onvif/MediaService.h"
#include "camera/onvif/PtzService.h"

#include <string>
#include <utility>
#include <vector>

namespace camera::onvif {

/// All services, with everything around them in order.
class WholeDevice {
public:
    explicit WholeDevice(bool moves)
        : _analyticsService(analyticsActions(moves), _intended),
          _mediaService(_mediaSettings, mediaActions(moves)),
          _eventService(eventActions())
    {
        _deviceService.addTo(operations, services);
        _mediaService.addTo(operations, services);
        _analyticsService.addTo(operations, services);
        _imagingService.addTo(operations, services);
        _ptz.moves = moves;
        _ptz.view.tours = {{"Round", {PtzStop{"Gate"}}}};
        _ptz.view.runningTour = "Round";
        _ptzService.addTo(operations, services);
        addDeviceIo(operations, services);
        _eventService.addTo(operations, services);
    }

    Operations operations;
    ServiceDirectory services;

private:
    AnalyticsActions analyticsActions(bool moves)
    {
        AnalyticsActions actions;
        actions.view = [this, moves](const auto& done) {
            AnalyticsView view;
            view.engines = _analytics.engines;
            view.components = _analytics.components();
            view.presets = {"Gate"};
            view.moves = moves;
            done(view);
        };
        actions.perform = [this](const AnalyticsStep& step, const auto& done) {
            done(StepAnswer{_analytics.perform(step)});
        };
        return actions;
    }

    MediaActions mediaActions(bool moves)
    {
        MediaActions actions;
        actions.picture = [](const auto& answer) { answer(PictureFacts{{1280, 720}, 25}); };
        actions.analytics = [this](const auto& done) { _analyticsService.content(done); };
        actions.setAnalytics = [this](const auto& node, const Done& done) { _analyticsService.replace(node, done); };
        actions.moves = [moves] { return moves; };
        actions.streamAddress = [](const StreamRequest&) { return "rtsp://camera/"; };
        actions.snapshotAddress = [](const std::string&, const std::string& base) { return base + "/a.jpg"; };
        actions.synchronize = [](const std::string&, const Done& done) { done(std::nullopt); };
        actions.blanking = [](const auto& answer) { answer(Blanking()); };
        actions.setBlanking = [](const Blanking&, const Done& done) { done(std::nullopt); };
        return actions;
    }

    EventActions eventActions()
    {
        EventActions actions;
        actions.live = [](const auto& answer) {
            Notification motion{"tns1:VideoSource/MotionAlarm", "2024-06-30T12:00:00Z", PropertyOperation::initialized};
            motion.source = {{"Source", "VideoSource_1"}};
            motion.data = {{"State", "false"}};
            answer(std::vector<Notification>{motion});
        };
        actions.view = [this](const auto& done) { _analyticsService.view(done); };
        actions.push = [](const PushMessage&, const Done& done) { done(std::nullopt); };
        actions.wakeAt = [](auto) {};
        actions.log = [](const std::string&) {};
        return actions;
    }

    static DeviceActions deviceActions()
    {
        return {[](const Done& done) { done(std::nullopt); },
                [](bool, const Done& done) { done(std::nullopt); },
                [] { return std::string("a line"); },
                [] { return std::vector<std::string>{"onvif://www.onvif.org/Profile/M"}; },
                [] {
                    return std::vector<std::pair<std::string, int>>{{"HTTP", 8080}};
                },
                [] { return std::string("127.0.0.1"); }};
    }

    KeptInMemory<Users> _users{Users({{"root", UserLevel::administrator, "secret"}})};
    KeptInMemory<DeviceSettings> _deviceSettings{DeviceSettings()};
    KeptInMemory<MediaSettings> _mediaSettings{MediaSettings()};
    DeviceService _deviceService{
        {"maker", "model", "1.2", "0001", "pc", "u-u"}, _users, _deviceSettings, deviceActions(), {}};
    FakeAnalyticsService _analytics{describedEngines()};
    KeptInMemory<IntendedChange> _intended{IntendedChange()};
    AnalyticsService _analyticsService;
    MediaService _mediaService;
    EventService _eventService;
    FakePtz _ptz;
    KeptInMemory<PtzSettings> _ptzSettings{{PtzPlace(), {}, {}}};
    PtzService _ptzService{_mediaSettings, _ptzSettings, _ptz.actions(), {}};
    ImagingService _imagingService{{[](const auto& answer) { answer(IrCutFilter::automatic); },
                                    [](IrCutFilter, const Done& done) { done(std::nullopt); }}};
};

} // namespace camera::onvif
