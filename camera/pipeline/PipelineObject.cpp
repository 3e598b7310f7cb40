#include "camera/pipeline/PipelineObject.h"

#include "camera/store/SettingsStore.h"

#include <unistd.h>
#include <utility>

namespace camera::pipeline {

namespace {

std::string noDocument(std::int64_t sequence)
{
    return "no good document number " + std::to_string(sequence) + " of this key is kept";
}

} // namespace

PipelineObject::PipelineObject(const std::shared_ptr<bus::Session>& session, store::SettingsStore& settings,
                               Report report)
    : PipelineServer(session->connection()), _settings(settings), _report(std::move(report))
{
    takeName();
}

std::string PipelineObject::document(const std::string& key, std::int64_t sequence)
{
    auto text = _settings.fromHistory(key, sequence);
    if (!text) {
        throw bus::Refusal(noDocument(sequence));
    }
    return std::move(*text);
}

std::vector<PipelineObject::VersionRow> PipelineObject::history(const std::string& key)
{
    std::vector<VersionRow> rows;
    for (const auto& version : _settings.history(key)) {
        rows.emplace_back(version.sequence, version.storedAt, version.sizeBytes, version.good);
    }
    if (rows.empty()) {
        throw bus::Refusal("nothing is stored under this key");
    }
    return rows;
}

void PipelineObject::restore(const std::string& key, std::int64_t sequence)
{
    if (!_settings.restore(key, sequence)) {
        throw bus::Refusal(noDocument(sequence));
    }
}

std::vector<std::string> PipelineObject::storedKeys()
{
    return _settings.keys();
}

std::uint32_t PipelineObject::pid()
{
    return static_cast<std::uint32_t>(::getpid());
}

std::vector<PipelineObject::EngineRow> PipelineObject::engines()
{
    std::vector<EngineRow> rows;
    for (const auto& [name, key] : _report.status().engines) {
        rows.emplace_back(name, key);
    }
    return rows;
}

} // namespace camera::pipeline
