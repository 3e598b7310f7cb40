#include "camera/pipeline/KeptPositions.h"

#include "camera/base/Contained.h"
#include "camera/base/Log.h"
#include "camera/ptz/PositioningDocument.h"
#include "camera/serviceapi/ServiceApi.h"

#include <string>

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
    _unit.onChange([this](ptz::PositioningUnit::Change change) { changed(change); });
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
    const std::lock_guard<std::mutex> oneAtATime(_storeMutex);
    _storePending = false;
    base::contained(kPositionsLog, "the positions could not be stored",
                    [this] { _serviceApi.settings.write(ptz::kPositioningKey, _unit.serialize()); });
}

// A list is stored before the caller that changed it gets its answer. Where the camera stands is reported
// by the code that lets time pass, which must not wait for a disk.
void KeptPositions::changed(ptz::PositioningUnit::Change change)
{
    if (change == ptz::PositioningUnit::Change::lists) {
        store();
    } else if (!_storePending.exchange(true)) {
        _serviceApi.control.post([this] { store(); });
    }
}

} // namespace camera::pipeline
