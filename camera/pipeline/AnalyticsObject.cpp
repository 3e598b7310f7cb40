#include "camera/pipeline/AnalyticsObject.h"

#include "camera/base/Log.h"
#include "camera/base/Utf8.h"
#include "camera/bus/Names.h"

#include <cstdint>
#include <utility>

namespace camera::pipeline {

namespace {

const std::string kInterface = bus::interfaceName(bus::service::kAnalytics);

// A refused text is answered on the bus thread already: nothing of it reaches the control thread.
template <class... Out>
bool refused(const sdbus::Result<Out...>& result, const std::vector<std::string>& texts, const char* what)
{
    for (const std::string& text : texts) {
        if (!base::isSendable(text)) {
            bus::answerError(result, bus::error::kInvalidText, std::string(what) + " is not UTF-8 or holds a NUL byte");
            return true;
        }
    }
    return false;
}

} // namespace

AnalyticsObject::AnalyticsObject(const std::shared_ptr<bus::Session>& session, pipeline::TargetClient& client,
                                 serviceapi::ControlThread& control)
    : _client(client),
      _onControl(session, control),
      _object(sdbus::createObject(session->connection(), bus::objectPath(bus::service::kAnalytics)))
{
    using Client = pipeline::TargetClient;
    registerList("getEventTopics", "topics", &Client::eventTopics);
    registerList("getSupportedRules", "types", &Client::supportedRules);
    registerList("getCurrentRules", "rules", &Client::currentRules);
    registerChange("createRules", "rules", &Client::createRules);
    registerChange("modifyRules", "rules", &Client::modifyRules);
    registerChange("deleteRules", "names", &Client::deleteRules);
    registerList("getSupportedEngines", "types", &Client::supportedEngines);
    registerList("getCurrentEngines", "engines", &Client::currentEngines);
    registerChange("createEngines", "engines", &Client::createEngines);
    registerChange("modifyEngines", "engines", &Client::modifyEngines);
    registerChange("deleteEngines", "names", &Client::deleteEngines);
    registerConfiguration();
    registerList("getUsedPtzPresets", "presets", &Client::usedPtzPresets);
    registerFrameFiles();
    _object->registerSignal("analyticsEvent")
        .onInterface(kInterface)
        .withParameters<std::string, std::string, std::string>("topic", "source", "data");
    _object->finishRegistration();
    session->connection().requestName(bus::busName(bus::service::kAnalytics));
}

void AnalyticsObject::registerList(const char* method, const char* output, List operation)
{
    _object->registerMethod(method)
        .onInterface(kInterface)
        .withOutputParamNames(output)
        .implementedAs([this, operation](sdbus::Result<Strings>&& result) {
            _onControl(std::move(result), [this, operation] { return base::sendable((_client.*operation)()); });
        });
}

void AnalyticsObject::registerChange(const char* method, const char* input, Change operation)
{
    _object->registerMethod(method)
        .onInterface(kInterface)
        .withInputParamNames(input)
        .withOutputParamNames("result", "status")
        .implementedAs([this, operation, input](sdbus::Result<std::int32_t, std::uint32_t>&& result, Strings items) {
            if (refused(result, items, input)) {
                return;
            }
            _onControl(std::move(result), [this, operation, items = std::move(items)](const auto& reply) {
                const pipeline::Answer answer = (_client.*operation)(items);
                reply.returnResults(answer.result, static_cast<std::uint32_t>(answer.outcome));
            });
        });
}

void AnalyticsObject::registerConfiguration()
{
    _object->registerMethod("getCurrentConfiguration")
        .onInterface(kInterface)
        .withOutputParamNames("xml")
        .implementedAs([this](sdbus::Result<std::string>&& result) {
            _onControl(std::move(result), [this] { return base::sendable(_client.currentConfiguration()); });
        });
    _object->registerMethod("setConfiguration")
        .onInterface(kInterface)
        .withInputParamNames("xml")
        .withOutputParamNames("result", "failed")
        .implementedAs([this](sdbus::Result<std::int32_t, std::uint8_t>&& result, std::string xml) {
            if (refused(result, {xml}, "xml")) {
                return;
            }
            _onControl(std::move(result), [this, xml = std::move(xml)](const auto& reply) {
                const auto acceptance = _client.acceptConfiguration(xml);
                reply.returnResults(acceptance.result, acceptance.failed);
            });
        });
    _object->registerMethod("restoreDefaultSettings")
        .onInterface(kInterface)
        .withOutputParamNames("result")
        .implementedAs([this](sdbus::Result<std::int32_t>&& result) {
            _onControl(std::move(result), [this] {
                _client.restoreDefaultSettings();
                return std::int32_t{0};
            });
        });
    _object->registerMethod("getPtzPresetConfiguration")
        .onInterface(kInterface)
        .withInputParamNames("preset")
        .withOutputParamNames("xml")
        .implementedAs([this](sdbus::Result<std::string>&& result, std::string preset) {
            if (refused(result, {preset}, "preset")) {
                return;
            }
            _onControl(std::move(result), [this, preset = std::move(preset)] {
                return base::sendable(_client.presetConfiguration(preset));
            });
        });
}

void AnalyticsObject::registerFrameFiles()
{
    _object->registerMethod("readFramesFromFile")
        .onInterface(kInterface)
        .withInputParamNames("engine", "path", "flag")
        .withOutputParamNames("result")
        .implementedAs([this](sdbus::Result<std::int32_t>&& result, std::string engine, std::string path, bool flag) {
            if (refused(result, {engine, path}, "engine or path")) {
                return;
            }
            _onControl(std::move(result), [this, engine = std::move(engine), path = std::move(path), flag] {
                _client.readFramesFromFile(engine, path, flag);
                return std::int32_t{0};
            });
        });
    _object->registerMethod("writeFramesToFile")
        .onInterface(kInterface)
        .withInputParamNames("engine", "path", "count")
        .withOutputParamNames("result")
        .implementedAs(
            [this](sdbus::Result<std::int32_t>&& result, std::string engine, std::string path, std::uint32_t count) {
                if (refused(result, {engine, path}, "engine or path")) {
                    return;
                }
                _onControl(std::move(result), [this, engine = std::move(engine), path = std::move(path), count] {
                    _client.writeFramesToFile(engine, path, count);
                    return std::int32_t{0};
                });
            });
}

void AnalyticsObject::emit(const base::Event& event)
{
    try {
        _object->emitSignal("analyticsEvent")
            .onInterface(kInterface)
            .withArguments(base::sendable(event.topic), base::sendable(event.source), base::sendable(event.data));
    } catch (const std::exception& error) {
        base::Log::instance().write(base::LogLevel::info, "bus",
                                    std::string("an analytics event was not sent: ") + error.what());
    }
}

} // namespace camera::pipeline
