#include "camera/pipeline/PipelineStatus.h"

#include "camera/base/OneLineJson.h"
#include "camera/ptz/PositioningUnit.h"

#include <json/json.h>
#include <unistd.h>

namespace camera::pipeline {

namespace {

Json::Value positionOf(const ptz::PositioningUnit& unit)
{
    Json::Value value(Json::objectValue);
    value["available"] = unit.isAvailable();
    if (!unit.isAvailable()) {
        return value;
    }
    const ptz::Position at = unit.position();
    value["pan"] = at.pan;
    value["tilt"] = at.tilt;
    value["zoom"] = at.zoom;
    value["moving"] = unit.moving();
    value["preset"] = unit.activePreset();
    if (const auto tour = unit.tourProgress()) {
        value["tour"] = tour->tour;
        value["tourStop"] = static_cast<Json::UInt64>(tour->stop);
    }
    return value;
}

Json::Value enginesOf(const ActiveKeys& keys)
{
    Json::Value list(Json::arrayValue);
    for (const ActiveKeys::Active& active : keys.now()) {
        Json::Value engine(Json::objectValue);
        engine["name"] = active.engine;
        engine["key"] = active.key;
        list.append(std::move(engine));
    }
    return list;
}

} // namespace

std::string PipelineStatus::json() const
{
    const pipeline::Statistics statistics = device.statistics();
    const pipeline::RunReport::Now now = report.now();
    Json::Value value(Json::objectValue);
    value["pid"] = static_cast<Json::Int64>(::getpid());
    value["input"] = input;
    value["missingEngines"] = Json::arrayValue;
    for (const std::string& path : missingEngines) {
        value["missingEngines"].append(path);
    }
    value["frames"] = static_cast<Json::UInt64>(statistics.frames);
    value["framesFailed"] = static_cast<Json::UInt64>(statistics.framesFailed);
    value["framesPerSecond"] = now.framesPerSecond;
    value["longestFrameMs"] = now.longestFrameMilliseconds;
    value["longestFrameMsLately"] = report.takeLongestFrameMilliseconds();
    value["events"] = static_cast<Json::UInt64>(statistics.events);
    value["eventsDropped"] = static_cast<Json::UInt64>(statistics.eventsDropped);
    value["documents"] = static_cast<Json::UInt64>(statistics.documents);
    value["documentsTaken"] = static_cast<Json::UInt64>(documentsTaken);
    value["documentsDropped"] = static_cast<Json::UInt64>(statistics.documentsDropped + documentsLost);
    value["controlFailures"] = static_cast<Json::UInt64>(statistics.controlFailures);
    value["orientation"] = orientation;
    value["position"] = positionOf(device.positioning());
    value["engines"] = enginesOf(keys);
    return base::oneLineJson(value);
}

} // namespace camera::pipeline
