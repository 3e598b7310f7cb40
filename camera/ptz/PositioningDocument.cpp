#include "camera/ptz/PositioningDocument.h"

#include "camera/base/JsonText.h"
#include "camera/ptz/PositioningNames.h"

#include <set>
#include <stdexcept>

namespace camera::ptz {

namespace {

constexpr std::size_t kLargest = 1024 * 1024;
constexpr int kVersion = 1;

[[noreturn]] void refuse(const std::string& reason)
{
    throw std::invalid_argument(reason);
}

Json::Value valueOf(const Position& position)
{
    Json::Value value;
    value["pan"] = position.pan;
    value["tilt"] = position.tilt;
    value["zoom"] = position.zoom;
    return value;
}

Json::Value valueOf(const Tour& tour)
{
    Json::Value value;
    value["name"] = tour.name;
    value["stops"] = Json::Value(Json::arrayValue);
    for (const TourStop& stop : tour.stops) {
        Json::Value entry;
        entry["preset"] = stop.preset;
        entry["dwellMs"] = static_cast<Json::Int64>(stop.dwell.count());
        entry["speedPercent"] = stop.speedPercent;
        value["stops"].append(entry);
    }
    return value;
}

const Json::Value& member(const Json::Value& object, const char* key)
{
    if (!object.isObject() || !object.isMember(key)) {
        refuse(std::string("'") + key + "' is missing");
    }
    return object[key];
}

const Json::Value& list(const Json::Value& object, const char* key, std::size_t most)
{
    const Json::Value& value = member(object, key);
    if (!value.isArray() || value.size() > most) {
        refuse(std::string("'") + key + "' is no list of at most " + std::to_string(most));
    }
    return value;
}

int number(const Json::Value& object, const char* key, int lowest, int highest)
{
    const Json::Value& value = member(object, key);
    if (!value.isInt() || value.asInt() < lowest || value.asInt() > highest) {
        refuse(std::string("'") + key + "' is no whole number from " + std::to_string(lowest) + " to " +
               std::to_string(highest));
    }
    return value.asInt();
}

std::string text(const Json::Value& object, const char* key)
{
    const Json::Value& value = member(object, key);
    if (!value.isString()) {
        refuse(std::string("'") + key + "' is no text");
    }
    return value.asString();
}

std::string newName(const Json::Value& object, std::set<std::string>& names)
{
    // Not checked as the name of a new one is: the options of a camera may use any name.
    std::string name = text(object, "name");
    if (name.empty() || name.size() > kLargest || !names.insert(name).second) {
        refuse("a name is empty or there twice");
    }
    return name;
}

Position positionOf(const Json::Value& object)
{
    Position position;
    position.pan = static_cast<unsigned int>(number(object, "pan", 0, 359999));
    position.tilt = number(object, "tilt", -90000, 90000);
    position.zoom = static_cast<unsigned int>(number(object, "zoom", 100, 100000));
    return position;
}

Tour tourOf(const Json::Value& object, std::set<std::string>& names)
{
    Tour tour;
    tour.name = newName(object, names);
    for (const Json::Value& entry : list(object, "stops", kMostStops)) {
        TourStop stop;
        stop.preset = text(entry, "preset");
        stop.dwell = std::chrono::milliseconds(number(entry, "dwellMs", 0, static_cast<int>(kLongestDwell.count())));
        stop.speedPercent = number(entry, "speedPercent", 1, 100);
        tour.stops.push_back(stop);
    }
    if (const std::string problem = tourProblem(tour); !problem.empty()) {
        refuse(problem);
    }
    return tour;
}

PositioningState stateOf(const Json::Value& root)
{
    number(root, "version", kVersion, kVersion);
    PositioningState state;
    state.position = positionOf(member(root, "position"));
    state.activePreset = text(root, "preset");
    std::set<std::string> names;
    for (const Json::Value& entry : list(root, "presets", kMostPresets)) {
        Preset preset;
        preset.name = newName(entry, names);
        preset.position = positionOf(entry);
        state.presets.push_back(preset);
    }
    if (!state.activePreset.empty() && names.count(state.activePreset) == 0) {
        refuse("the camera stands at a preset that is not there");
    }
    names.clear();
    for (const Json::Value& entry : list(root, "tours", kMostTours)) {
        state.tours.push_back(tourOf(entry, names));
    }
    return state;
}

} // namespace

std::string writePositioning(const PositioningState& state)
{
    Json::Value root;
    root["version"] = kVersion;
    root["position"] = valueOf(state.position);
    root["preset"] = state.activePreset;
    root["presets"] = Json::Value(Json::arrayValue);
    for (const Preset& preset : state.presets) {
        Json::Value entry = valueOf(preset.position);
        entry["name"] = preset.name;
        root["presets"].append(entry);
    }
    root["tours"] = Json::Value(Json::arrayValue);
    for (const Tour& tour : state.tours) {
        root["tours"].append(valueOf(tour));
    }
    return base::oneLineJson(root);
}

std::string readPositioning(const std::string& document, PositioningState& state)
{
    try {
        state = stateOf(base::readStrictJson(document, kLargest));
        return std::string();
    } catch (const std::exception& error) {
        return std::string("the stored positions cannot be used: ") + error.what();
    }
}

} // namespace camera::ptz
