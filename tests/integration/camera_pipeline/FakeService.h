#pragma once

#include "integration/camera_pipeline/BusClient.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace pipeline_test {

/// How a fake service answers what it is asked.
enum class Manner { answers, fails, refuses, never };

/// What all fakes of one test know; shared by their sessions.
struct FakeState {
    std::atomic<Manner> manner{Manner::answers};
    std::atomic<int> asked{0};
    std::atomic<std::uint32_t> value{0}; ///< the angle, whether blanking is on, the configuration value
    kit::LineJournal documents;
};

/// The objects of one of the device's services during one session: one for each target.
class FakeObjects {
public:
    FakeObjects(const std::shared_ptr<camera::bus::Session>& session, const std::string& name,
                const std::vector<std::string>& targets, FakeState& state)
        : _interface(camera::bus::interfaceName(name)), _state(state)
    {
        // The service's own object, so that it can be looked at though it has no target.
        _objects.push_back(sdbus::createObject(session->connection(), "/ravel/" + name));
        _objects.back()->registerMethod("nothing").onInterface("test.Nothing").implementedAs([] {});
        _objects.back()->finishRegistration();
        for (const std::string& target : targets) {
            _objects.push_back(sdbus::createObject(session->connection(), camera::bus::objectPath(name, target)));
            registerAll(*_objects.back());
            _objects.back()->finishRegistration();
        }
        session->connection().requestName(camera::bus::busName(name));
    }

    template <class Value>
    void emit(const std::string& signal, Value value)
    {
        _objects.at(1)->emitSignal(signal).onInterface(_interface).withArguments(value);
    }

private:
    using Byte = std::uint8_t;

    void registerAll(sdbus::IObject& object)
    {
        serve<Byte, Byte, Byte>(object, "getRegionColor", [](const auto& result) { result.returnResults(255, 0, 0); });
        serve<Byte>(object, "getEnable",
                    [this](const auto& result) { result.returnResults(static_cast<Byte>(_state.value.load())); });
        serve<std::uint32_t>(object, "getAngle",
                             [this](const auto& result) { result.returnResults(_state.value.load()); });
        object.registerMethod("getIntValue")
            .onInterface(_interface)
            .implementedAs([this](sdbus::Result<std::int32_t>&& result, const std::string& /*key*/) {
                answer(std::move(result), [this](const auto& reply) {
                    reply.returnResults(static_cast<std::int32_t>(_state.value.load()));
                });
            });
        object.registerMethod("sendOnvifAnalyticsMetadataXml")
            .onInterface(_interface)
            .implementedAs([this](sdbus::Result<>&& result, const std::string& xml, const std::int32_t& flag) {
                answer(std::move(result), [&](const auto& reply) {
                    _state.documents.add(xml + " " + std::to_string(flag));
                    reply.returnResults();
                });
            });
        object.registerSignal("movementChange").onInterface(_interface).withParameters<bool>();
        object.registerSignal("settingsChanged").onInterface(_interface).withParameters<bool>();
        object.registerSignal("orientationChanged").onInterface(_interface).withParameters<std::uint32_t>();
    }

    template <class... Out, class Reply>
    void serve(sdbus::IObject& object, const std::string& method, Reply reply)
    {
        object.registerMethod(method)
            .onInterface(_interface)
            .implementedAs([this, reply](sdbus::Result<Out...>&& result) { answer(std::move(result), reply); });
    }

    template <class... Out, class Reply>
    void answer(sdbus::Result<Out...>&& result, const Reply& reply)
    {
        ++_state.asked;
        switch (_state.manner) {
        case Manner::answers:
            reply(result);
            break;
        case Manner::fails:
            result.returnError(sdbus::Error(error::kFailed, "broken on purpose"));
            break;
        case Manner::refuses:
            result.returnError(sdbus::Error(error::kRefused, "not for you"));
            break;
        case Manner::never:
            _unanswered.push_back(std::make_shared<sdbus::Result<Out...>>(std::move(result)));
            break;
        }
    }

    const std::string _interface;
    FakeState& _state;
    std::vector<std::unique_ptr<sdbus::IObject>> _objects;
    std::vector<std::shared_ptr<void>> _unanswered;
};

/// One of the device's services, on the bus from start() to stop() as often as wanted.
class FakeService {
public:
    FakeService(std::string address, std::string name, std::vector<std::string> targets = {"main"})
        : _address(std::move(address)), _name(std::move(name)), _targets(std::move(targets))
    {
    }

    /// Returns when it owns its name.
    FakeService& start()
    {
        _connection = std::make_unique<camera::bus::Connection>(_address, "a fake " + _name);
        _objects = _connection->add<FakeObjects>([this](const std::shared_ptr<camera::bus::Session>& session) {
            return std::make_shared<FakeObjects>(session, _name, _targets, state);
        });
        _connection->start();
        if (!_connection->waitUntilConnected(soon())) {
            throw std::runtime_error("a fake service does not start: " + _connection->reason());
        }
        return *this;
    }

    void stop()
    {
        _connection.reset();
        _objects.reset();
    }

    std::uint64_t sessions() const { return _connection->sessions(); }
    bool connected() const { return _connection->connected(); }

    template <class Value>
    void emit(const std::string& signal, Value value)
    {
        const auto objects = _objects->get();
        if (!objects) {
            throw std::runtime_error("a fake service has no bus");
        }
        objects->emit(signal, value);
    }

    FakeState state;

private:
    const std::string _address;
    const std::string _name;
    const std::vector<std::string> _targets;
    std::unique_ptr<camera::bus::Connection> _connection;
    std::shared_ptr<camera::bus::CurrentObject<FakeObjects>> _objects;
};

} // namespace pipeline_test
