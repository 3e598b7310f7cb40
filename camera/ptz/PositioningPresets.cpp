// The presets of a camera: saved, renamed and removed. Tours keep the names of their presets, so a preset that is
// renamed is renamed in them too; one that is removed stays in them and is passed over.
#include "camera/ptz/PositioningNames.h"
#include "camera/ptz/PositioningUnit.h"

namespace camera::ptz {

namespace {

void renameStops(Tour& tour, const std::string& name, const std::string& newName)
{
    for (TourStop& stop : tour.stops) {
        if (stop.preset == name) {
            stop.preset = newName;
        }
    }
}

} // namespace

const Preset* PositioningUnit::findPreset(const std::string& name) const
{
    return findNamed(_presets, name);
}

// Why a new preset or tour may not be called that, or done.
CommandResult PositioningUnit::nameRefusal(const std::string& name) const
{
    const std::string problem = nameProblem(name);
    return !_movable || problem.empty() ? fixedRefusal() : CommandResult{CommandStatus::badName, problem};
}

CommandResult PositioningUnit::savePreset(const Preset& preset)
{
    const Transaction transaction(*this);
    if (auto refused = nameRefusal(preset.name); !refused) {
        return refused;
    }
    if (!_motion.canReach(preset.position)) {
        return {CommandStatus::outOfLimits,
                "the place of preset '" + preset.name + "' is beyond what this camera can reach"};
    }
    return storePreset(preset);
}

CommandResult PositioningUnit::savePresetHere(const std::string& name)
{
    const Transaction transaction(*this);
    if (auto refused = nameRefusal(name); !refused) {
        return refused;
    }
    return storePreset({name, _motion.position()});
}

CommandResult PositioningUnit::storePreset(const Preset& preset)
{
    if (Preset* found = findNamed(_presets, preset.name)) {
        found->position = preset.position;
        report(PresetModified{preset.name, PresetChange::changed});
    } else if (_presets.size() >= kMostPresets) {
        return {CommandStatus::tooMany, "a camera keeps at most " + std::to_string(kMostPresets) + " presets"};
    } else {
        _presets.push_back(preset);
        report(PresetModified{preset.name, PresetChange::created});
    }
    _listsChanged = true;
    return {};
}

CommandResult PositioningUnit::renamePreset(const std::string& name, const std::string& newName)
{
    const Transaction transaction(*this);
    if (auto refused = nameRefusal(newName); !refused) {
        return refused;
    }
    Preset* found = findNamed(_presets, name);
    if (found == nullptr) {
        return unknownPreset(name);
    }
    if (findPreset(newName) != nullptr) {
        return {CommandStatus::nameTaken, "there is a preset '" + newName + "' already"};
    }
    found->name = newName;
    for (Tour& tour : _tours) {
        renameStops(tour, name, newName);
    }
    if (_tour) {
        renameStops(_tour->tour, name, newName);
    }
    report(PresetModified{newName, PresetChange::created});
    report(PresetModified{name, PresetChange::removed});
    if (_destination == name) {
        _destination = newName;
    }
    if (_activePreset == name) {
        _activePreset = newName;
        reportPresetState(PresetState::reached, newName);
    }
    _listsChanged = true;
    return {};
}

CommandResult PositioningUnit::removePreset(const std::string& name)
{
    const Transaction transaction(*this);
    if (auto refused = fixedRefusal(); !refused) {
        return refused;
    }
    const Preset* found = findPreset(name);
    if (found == nullptr) {
        return unknownPreset(name);
    }
    _presets.erase(_presets.begin() + (found - _presets.data()));
    report(PresetModified{name, PresetChange::removed});
    if (_destination == name) {
        _destination.clear(); // the camera goes on to the position, which has no name any more
    }
    if (_activePreset == name) {
        _activePreset.clear();
        reportPresetState(PresetState::left, name);
    }
    _listsChanged = true;
    return {};
}

} // namespace camera::ptz
