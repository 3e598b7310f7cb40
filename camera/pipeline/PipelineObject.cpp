#include "camera/pipeline/PipelineObject.h"

#include "camera/base/Utf8.h"
#include "camera/bus/Answer.h"
#include "camera/bus/Names.h"
#include "camera/store/SettingsStore.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace camera::pipeline {

namespace {

using VersionRow = sdbus::Struct<std::int64_t, std::int64_t, std::uint64_t, bool>;

const std::string kInterface = bus::interfaceName(bus::service::kPipeline);

std::string noDocument(std::int64_t sequence)
{
    return "no good document number " + std::to_string(sequence) + " of this key is kept";
}

} // namespace

PipelineObject::PipelineObject(const std::shared_ptr<bus::Session>& session, store::SettingsStore& settings,
                               Status status)
    : _settings(settings), _object(sdbus::createObject(session->connection(), bus::objectPath(bus::service::kPipeline)))
{
    _object->registerMethod("status")
        .onInterface(kInterface)
        .withOutputParamNames("json")
        .implementedAs([status = std::move(status)](sdbus::Result<std::string>&& result) {
            bus::answer(result, [&] { return base::sendable(status()); });
        });
    registerDocuments();
    _object->finishRegistration();
    session->connection().requestName(bus::busName(bus::service::kPipeline));
}

void PipelineObject::registerDocuments()
{
    _object->registerMethod("storedKeys")
        .onInterface(kInterface)
        .withOutputParamNames("keys")
        .implementedAs([this](sdbus::Result<std::vector<std::string>>&& result) {
            bus::answer(result, [this] { return base::sendable(_settings.keys()); });
        });
    _object->registerMethod("history")
        .onInterface(kInterface)
        .withInputParamNames("key")
        .withOutputParamNames("versions")
        .implementedAs([this](sdbus::Result<std::vector<VersionRow>>&& result, const std::string& key) {
            bus::answer(result, [&] {
                std::vector<VersionRow> rows;
                for (const auto& version : _settings.history(key)) {
                    rows.emplace_back(version.sequence, version.storedAt, version.sizeBytes, version.good);
                }
                if (rows.empty()) {
                    throw bus::Refusal("nothing is stored under this key");
                }
                return rows;
            });
        });
    _object->registerMethod("restore")
        .onInterface(kInterface)
        .withInputParamNames("key", "sequence")
        .implementedAs([this](sdbus::Result<>&& result, const std::string& key, const std::int64_t& sequence) {
            bus::answer(result, [&] {
                if (!_settings.restore(key, sequence)) {
                    throw bus::Refusal(noDocument(sequence));
                }
            });
        });
    _object->registerMethod("document")
        .onInterface(kInterface)
        .withInputParamNames("key", "sequence")
        .withOutputParamNames("text")
        .implementedAs(
            [this](sdbus::Result<std::string>&& result, const std::string& key, const std::int64_t& sequence) {
                bus::answer(result, [&] {
                    auto text = _settings.fromHistory(key, sequence);
                    if (!text) {
                        throw bus::Refusal(noDocument(sequence));
                    }
                    return base::sendable(std::move(*text));
                });
            });
}

} // namespace camera::pipeline
