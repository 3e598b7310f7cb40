#include "camera/pipeline/KeptPositions.h"

#include "camera/base/Contained.h"
#include "camera/base/Log.h"
#include "camera/ptz/PositioningDocument.h"
#include "camera/serviceapi/ServiceApi.h"

#include <exception>

namespace camera::pipeline {

namespace {

constexpr const char* kPositionsLog = "device";

} // namespace

KeptPositions::KeptPositions(serviceapi::ServiceApi& serviceApi, ptz::PositioningUnit& unit)
    : _serviceApi(serviceApi), _unit(unit)
{
}

void KeptPositions::begin()
{
    load();
    _unit.keepListsBy([this](const std::string& document) { return storeLists(document); });
    // Where the camera stands is told by the code that lets time pass, which must not wait for a disk.
    _unit.onStanding([this] {
        if (!_storePending.exchange(true)) {
            _serviceApi.control.post([this] { store(); });
        }
    });
}

void KeptPositions::load()
{
    base::contained(kPositionsLog, "the positions cannot be read", [this] {
        const auto document = _serviceApi.settings.read(ptz::kPositioningKey);
        const std::string problem = document ? _unit.restore(*document).sentence : std::string();
        if (!problem.empty()) {
            base::Log::instance().write(base::LogLevel::error, kPositionsLog, problem);
        }
    });
}

void KeptPositions::store()
{
    _storePending = false;
    base::contained(kPositionsLog, "the positions could not be stored", [this] {
        _unit.serializeFor([this](const std::string& document) {
            _serviceApi.settings.write(ptz::kPositioningKey, document, store::SettingsStore::Unstored::triedAgain);
        });
    });
}

std::string KeptPositions::storeLists(const std::string& document)
{
    try {
        _serviceApi.settings.write(ptz::kPositioningKey, document);
        return "";
    } catch (const std::exception& error) {
        return error.what();
    }
}

} // namespace camera::pipeline
