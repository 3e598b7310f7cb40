#pragma once

#include "camera/bus/Connection.h"
#include "camera/bus/Server.h"
#include "camera/supervisor/BusDaemon.h"
#include "camera/supervisor/RuntimeFolder.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <poll.h>
#include <sstream>
#include <string>
#include <vector>

namespace camera::cli {

/// What a fake camera answers.
struct FakeAnswers {
    using Texts = std::vector<std::string>;

    std::string refusal; ///< commands answer with it, when it is not empty
    std::string refusalName = bus::error::kRefused;
    std::string socket; ///< of the metadata streamer
    std::uint8_t failed = 0;
    std::uint32_t status = 0;
    Texts lines; ///< the reason of a change that is refused
    std::int32_t result = 0;
    Texts rules = {"<tt:Rule Name=\"Gate\" Type=\"tt:X\"/>"};
    std::string engine = "Motion"; ///< the name of the second one
    Texts ruleTypes = {"tt:X", "tt:Y"};
    std::string configuration = "<tt:VideoAnalyticsConfiguration/>";
    std::string tourPreset = "Door"; ///< of the one stop of the tour
    bool elsewhere = false;          ///< the picture ends before the place of a move
    Texts without;                   ///< services that nobody serves
    Texts onvif;                     ///< where ONVIF clients begin; empty: there is no gateway
};

/// A camera that can be found by its state folder, with a bus of its own and services that answer what a test
/// wants and write every call down.
class FakeCamera {
    static constexpr const char* kModule =
        "<tt:AnalyticsModule Name='A' Type='tt:M'><tt:Parameters><tt:SimpleItem Name='PtzPreset' Value='Door'/>"
        "</tt:Parameters></tt:AnalyticsModule>";

    /// The answers while no call reads them.
    class Change {
    public:
        Change(std::mutex& mutex, FakeAnswers& answers) : _lock(mutex), _answers(answers) {}
        FakeAnswers* operator->() { return &_answers; }

    private:
        std::lock_guard<std::mutex> _lock;
        FakeAnswers& _answers;
    };

public:
    using Stop = sdbus::Struct<std::string, std::uint32_t, std::uint32_t>;
    using Tour = sdbus::Struct<std::string, std::vector<Stop>>;
    using Preset = sdbus::Struct<std::string, std::uint32_t, std::int32_t, std::uint32_t>;
    using Version = sdbus::Struct<std::int64_t, std::int64_t, std::uint64_t, bool>;
    using Texts = FakeAnswers::Texts;

    explicit FakeCamera(const std::filesystem::path& stateDir) : _folder(stateDir), _daemon(_folder)
    {
        startBus();
        _folder.announce();
    }

    /// Serves from now on; the answers below are read at each call.
    void serve()
    {
        _connection = std::make_unique<bus::Connection>(_folder.address(), "the fake camera");
        _objects = _connection->add<Objects>([this](const std::shared_ptr<bus::Session>& session) {
            auto objects = std::make_shared<Objects>();
            build(*objects, *session);
            return objects;
        });
        _connection->start();
        _connection->waitUntilConnected(std::chrono::steady_clock::now() + std::chrono::seconds(30));
    }

    std::vector<std::string> calls()
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _calls;
    }

    void emitEvent(const std::string& topic, const std::string& source, const std::string& data)
    {
        const auto objects = _objects->get();
        objects->of.at("onvif_analytic_service")
            ->emitSignal("analyticsEvent")
            .onInterface("ravel.onvif_analytic_service")
            .withArguments(topic, source, data);
    }

    void killBus() { _bus.reset(); }
    std::string address() const { return _folder.address(); }

    /// From the next call on. Released at the end of the statement, so a test reads no answer through it.
    Change change() { return Change(_mutex, _answers); }

private:
    struct Objects {
        std::map<std::string, std::unique_ptr<sdbus::IObject>> of;
    };

    void startBus()
    {
        _bus = _daemon.start();
        pollfd ready{_daemon.readyDescriptor(), POLLIN, 0};
        ::poll(&ready, 1, 30000);
        if (!_daemon.listens()) {
            throw std::runtime_error("no bus");
        }
    }

    static void show(std::ostream& out, const std::string& text) { out << ' ' << text; }
    static void show(std::ostream& out, const sdbus::UnixFd& /*file*/) { out << " file"; }
    static void show(std::ostream& out, bool value) { out << (value ? " true" : " false"); }
    static void show(std::ostream& out, std::uint8_t value) { out << ' ' << static_cast<int>(value); }
    template <class Number>
    static std::enable_if_t<std::is_arithmetic_v<Number>> show(std::ostream& out, Number value)
    {
        out << ' ' << value;
    }
    static void show(std::ostream& out, const Texts& texts)
    {
        for (const std::string& text : texts) {
            out << ' ' << text;
        }
    }
    static void show(std::ostream& out, const std::vector<Stop>& stops)
    {
        for (const Stop& stop : stops) {
            out << ' ' << stop.get<0>() << '/' << stop.get<1>() << '/' << stop.get<2>();
        }
    }

    template <class... In>
    void note(const std::string& service, const std::string& method, const In&... in)
    {
        std::ostringstream line;
        line << service << '.' << method;
        (show(line, in), ...);
        const std::lock_guard<std::mutex> lock(_mutex);
        _calls.push_back(line.str());
    }

    sdbus::IObject& object(Objects& objects, bus::Session& session, const std::string& service)
    {
        std::unique_ptr<sdbus::IObject>& object = objects.of[service];
        if (!object) {
            object = sdbus::createObject(session.connection(), bus::objectPath(service));
        }
        return *object;
    }

    template <class Result, class Give>
    void answer(const Result& reply, const Give& give)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        if (_answers.refusal.empty()) {
            give();
        } else {
            reply.returnError(sdbus::Error(_answers.refusalName, _answers.refusal));
        }
    }

    template <class Value>
    static void property(sdbus::IObject& object, const std::string& service, const std::string& name, Value value)
    {
        object.registerProperty(name).onInterface(bus::interfaceName(service)).withGetter([value] { return value; });
    }

    // A method with these results, which refuses when the test wants it.
    template <class... Out, class... In, class Answer>
    void method(sdbus::IObject& object, const std::string& service, const std::string& name, void (*)(In...),
                Answer results)
    {
        object.registerMethod(name)
            .onInterface(bus::interfaceName(service))
            .implementedAs([this, service, name, results](sdbus::Result<Out...>&& reply, const In&... in) {
                note(service, name, in...);
                answer(reply, [&] {
                    std::apply([&reply](const auto&... values) { reply.returnResults(values...); }, results());
                });
            });
    }

    template <class... In>
    void command(sdbus::IObject& object, const std::string& service, const std::string& name, void (*)(In...))
    {
        object.registerMethod(name)
            .onInterface(bus::interfaceName(service))
            .implementedAs([this, service, name](sdbus::Result<>&& reply, const In&... in) {
                note(service, name, in...);
                answer(reply, [&reply] { reply.returnResults(); });
            });
    }

    void build(Objects& objects, bus::Session& session)
    {
        buildPositioning(object(objects, session, "positioning"));
        buildTarget(object(objects, session, "onvif_analytic_service"));
        buildAnalytics(object(objects, session, "analytics"));
        buildDevices(objects, session);
        for (auto& [service, object] : objects.of) {
            object->finishRegistration();
            if (std::find(_answers.without.begin(), _answers.without.end(), service) == _answers.without.end()) {
                session.connection().requestName(bus::busName(service));
            }
        }
    }

    using S = const std::string&;
    using U = std::uint32_t;
    using I = std::int32_t;
    template <class... T>
    static void (*takes())(T...)
    {
        return nullptr;
    }

    void buildPositioning(sdbus::IObject& o)
    {
        const std::string s = "positioning";
        for (const char* name : {"savePreset", "removePreset", "removeTour"}) {
            command(o, s, name, takes<std::string>());
        }
        command(o, s, "renamePreset", takes<std::string, std::string>());
        command(o, s, "goToPreset", takes<std::string, U>());
        command(o, s, "startTour", takes<std::string, U>());
        command(o, s, "moveTo", takes<U, I, U, U>());
        command(o, s, "drive", takes<I, I, I, U, U>());
        command(o, s, "stop", takes<U>());
        command(o, s, "createTour", takes<std::string, std::vector<Stop>>());
        for (const char* name : {"stopTour", "pauseTour", "resumeTour"}) {
            command(o, s, name, takes<>());
        }
        method<U, I, U, U, bool, std::string>(o, s, "getPosition", takes<>(), [] {
            return std::make_tuple(U{12500}, I{-3000}, U{200}, U{34700}, true, std::string("Door"));
        });
        property(o, s, "Available", true);
        property(o, s, "Tour", sdbus::Struct<std::string, U>("", U{0}));
        method<std::vector<Preset>>(o, s, "listPresets", takes<>(), [] {
            return std::make_tuple(
                std::vector<Preset>{{"Door", U{12500}, I{-3000}, U{200}}, {"Gate", U{0}, I{0}, U{100}}});
        });
        method<std::vector<Tour>>(o, s, "listTours", takes<>(), [this] {
            return std::make_tuple(
                std::vector<Tour>{{"Walk", std::vector<Stop>{{_answers.tourPreset, U{1500}, U{50}}}}});
        });
    }

    void buildAnalytics(sdbus::IObject& o)
    {
        const std::string s = "analytics";
        for (const char* name :
             {"createRules", "modifyRules", "deleteRules", "createEngines", "modifyEngines", "deleteEngines"}) {
            method<I, U, Texts>(o, s, name, takes<Texts>(),
                                [this] { return std::make_tuple(_answers.result, _answers.status, _answers.lines); });
        }
        using Engine = sdbus::Struct<std::string, Texts, Texts, std::string>;
        method<std::vector<Engine>>(o, s, "engines", takes<>(), [this] {
            return std::make_tuple(std::vector<Engine>{{"Motion", Texts{"tt:M"}, _answers.ruleTypes, ""}});
        });
        method<I, std::uint8_t, Texts>(o, s, "setConfiguration", takes<std::string>(), [this] {
            return std::make_tuple(_answers.result, _answers.failed, _answers.lines);
        });
    }

    void buildTarget(sdbus::IObject& o)
    {
        const std::string s = "onvif_analytic_service";
        const auto texts = [&](const char* name, auto answer) {
            method<Texts>(o, s, name, takes<>(), [answer] { return std::make_tuple(Texts(answer())); });
        };
        texts("getEventTopics", [] { return Texts{"tns1:A", "tns1:B"}; });
        texts("getSupportedRules", [this] { return _answers.ruleTypes; });
        texts("getCurrentRules", [this] { return _answers.rules; });
        texts("getSupportedEngines", [] { return Texts{"tt:M"}; });
        texts("getCurrentEngines", [] { return Texts{kModule}; });
        texts("getUsedPtzPresets", [] { return Texts{"Door"}; });
        method<std::string>(o, s, "getCurrentConfiguration", takes<>(),
                            [this] { return std::make_tuple(_answers.configuration); });
        method<std::string>(o, s, "getPtzPresetConfiguration", takes<std::string>(),
                            [] { return std::make_tuple(std::string("<of-preset/>")); });
        method<I>(o, s, "restoreDefaultSettings", takes<>(), [this] { return std::make_tuple(_answers.result); });
        method<I>(o, s, "readFramesFromFile", takes<std::string, std::string, bool>(),
                  [this] { return std::make_tuple(_answers.result); });
        method<I>(o, s, "writeFramesToFile", takes<std::string, std::string, U>(),
                  [this] { return std::make_tuple(_answers.result); });
        o.registerSignal("analyticsEvent")
            .onInterface(bus::interfaceName(s))
            .withParameters<std::string, std::string, std::string>();
    }

    void buildDevices(Objects& objects, bus::Session& session)
    {
        sdbus::IObject& dayNight = object(objects, session, "day_night");
        command(dayNight, "day_night", "begin", takes<>());
        command(dayNight, "day_night", "end", takes<>());
        sdbus::IObject& blanking = object(objects, session, "window_blanking");
        command(blanking, "window_blanking", "setRegionColor", takes<std::uint8_t, std::uint8_t, std::uint8_t>());
        command(blanking, "window_blanking", "setEnable", takes<bool>());
        command(object(objects, session, "rotate"), "rotate", "setAngle", takes<U>());
        sdbus::IObject& services = object(objects, session, "services");
        command(services, "services", "setFault", takes<std::string, std::string, double>());
        method<std::map<std::string, std::string>>(services, "services", "faults", takes<>(), [] {
            return std::make_tuple(std::map<std::string, std::string>{{"day_night", "slow"}, {"rotate", "off"}});
        });
        using T = std::uint64_t;
        property(services, "services", "Pid", U{7});
        property(services, "services", "State", std::string("/s/services"));
        for (const char* name : {"Moving", "RotationServed", "Blanking"}) {
            property(services, "services", name, false);
        }
        property(services, "services", "Orientation", U{90});
        property(services, "services", "Subscribers", std::vector<sdbus::Struct<T, T, T>>{});
        sdbus::IObject& pipeline = object(objects, session, "pipeline");
        property(pipeline, "pipeline", "Pid", U{8});
        property(pipeline, "pipeline", "Input", std::string("a.mp4"));
        property(pipeline, "pipeline", "MissingEngines", Texts{"/e.so"});
        const std::pair<const char*, T> counters[] = {
            {"Frames", 250},         {"FramesFailed", 1},    {"Events", 7},
            {"EventsDropped", 2},    {"Documents", 9},       {"DocumentsTaken", 6},
            {"DocumentsDropped", 3}, {"ControlFailures", 0}, {"SourceLosses", 0},
        };
        for (const auto& [name, value] : counters) {
            property(pipeline, "pipeline", name, value);
        }
        property(pipeline, "pipeline", "SourceGone", false);
        property(pipeline, "pipeline", "FramesPerSecond", 24.94);
        property(pipeline, "pipeline", "LongestFrameMs", 1.25);
        property(pipeline, "pipeline", "Orientation", U{0});
        using Engine = sdbus::Struct<std::string, std::string, Texts, Texts, T, T, T, double, double, std::vector<T>>;
        method<std::vector<Engine>>(pipeline, "pipeline", "engines", takes<>(), [this] {
            return std::make_tuple(std::vector<Engine>{
                {"Simple", "Door", Texts{"Any"}, Texts{"M"}, T{260}, T{2}, T{250}, 0.126, 3.04, std::vector<T>{249, 1}},
                {_answers.engine, "", Texts{}, Texts{}, T{9}, T{0}, T{0}, 0.0, 0.0, std::vector<T>{0, 0}}});
        });
        method<std::vector<Version>>(pipeline, "pipeline", "history", takes<std::string>(), [] {
            return std::make_tuple(
                std::vector<Version>{{std::int64_t{4}, std::int64_t{86400}, std::uint64_t{1500}, true},
                                     {std::int64_t{3}, std::int64_t{0}, std::uint64_t{20}, false}});
        });
        method<Texts>(pipeline, "pipeline", "storedKeys", takes<>(),
                      [] { return std::make_tuple(Texts{"OnvifAnalytics"}); });
        text<std::string, std::int64_t>(pipeline, "pipeline", "document", [] {
            return std::string("[{\"key\":\"X\",\"config\":\"<tt:VideoAnalyticsConfiguration>"
                               "<tt:AnalyticsEngineConfiguration>") +
                   kModule +
                   "</tt:AnalyticsEngineConfiguration><tt:RuleEngineConfiguration><tt:Rule Name='Gate' Type='tt:X'/>"
                   "</tt:RuleEngineConfiguration></tt:VideoAnalyticsConfiguration>\"}]";
        });
        command(pipeline, "pipeline", "restore", takes<std::string, std::int64_t>());
        command(pipeline, "pipeline", "picture", takes<sdbus::UnixFd, std::string>());
        command(pipeline, "pipeline", "record", takes<sdbus::UnixFd, std::string, double, sdbus::UnixFd>());
        sdbus::IObject& supervisor = object(objects, session, "supervisor");
        property(supervisor, "supervisor", "State", std::string("/s"));
        property(supervisor, "supervisor", "Address", std::string("unix:path=/b"));
        property(supervisor, "supervisor", "OnvifAddresses", _answers.onvif);
        sdbus::IObject& gateway = object(objects, session, "gateway");
        property(gateway, "gateway", "Pid", U{8});
        command(gateway, "gateway", "setLogLevel", takes<std::string>());
        using Process = sdbus::Struct<std::string, U, U, std::int64_t, std::string>;
        property(supervisor, "supervisor", "Processes",
                 std::vector<Process>{{"dbus-daemon", U{11}, U{0}, std::int64_t{5}, ""},
                                      {"camera-pipeline", U{0}, U{2}, std::int64_t{5}, "signal 9 (Killed)"}});
        command(supervisor, "supervisor", "stop", takes<>());
        command(supervisor, "supervisor", "setLogLevel", takes<std::string>());
        command(services, "services", "setLogLevel", takes<std::string>());
        command(pipeline, "pipeline", "setLogLevel", takes<std::string>());
        method<bool>(pipeline, "pipeline", "showsElsewhere", takes<U, I, U>(),
                     [this] { return std::make_tuple(_answers.elsewhere); });
        command(supervisor, "supervisor", "restartPipeline", takes<>());
        sdbus::IObject& metadata = object(objects, session, "onvif_metadata_streamer");
        text(metadata, "onvif_metadata_streamer", "getSocket", [this] { return _answers.socket; });
        method<T, T, T, U>(metadata, "onvif_metadata_streamer", "getCounters", takes<>(),
                           [] { return std::make_tuple(T{9}, T{8}, T{1}, U{2}); });
    }

    template <class... In, class Text>
    void text(sdbus::IObject& object, const std::string& service, const std::string& name, Text text)
    {
        method<std::string>(object, service, name, takes<In...>(), [text] { return std::make_tuple(text()); });
    }

    supervisor::RuntimeFolder _folder;
    supervisor::BusDaemon _daemon;
    std::unique_ptr<supervisor::ChildProcess> _bus;
    std::mutex _mutex;
    std::vector<std::string> _calls;
    FakeAnswers _answers;
    std::unique_ptr<bus::Connection> _connection;
    std::shared_ptr<bus::CurrentObject<Objects>> _objects;
};

} // namespace camera::cli
