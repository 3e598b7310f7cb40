// The presets of a camera: saved, renamed and removed. Tours keep the names of their presets, so a preset that is
// renamed is renamed in them too; one that is removed stays in them and is passed over.
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

const Preset& PositioningUnit::knownPreset(const std::string& name) const
{
    const Preset* found = findPreset(name);
    require(found != nullptr, CommandStatus::unknownPreset, "there is no preset '" + name + "'");
    return *found;
}

// A new preset or tour may have this name.
void PositioningUnit::requireName(const std::string& name) const
{
    requireMovable();
    const std::string problem = nameProblem(name);
    require(problem.empty(), CommandStatus::badName, problem);
}

CommandResult PositioningUnit::savePreset(const Preset& preset)
{
    return changeLists([&] {
        requireName(preset.name);
        require(_motion.canReach(preset.position), CommandStatus::outOfLimits,
                "the place of preset '" + preset.name + "' is beyond what this camera can reach");
        storePreset(preset);
    });
}

CommandResult PositioningUnit::savePresetHere(const std::string& name)
{
    const Position here = position();
    return changeLists([&] {
        requireName(name);
        storePreset({name, here});
    });
}

void PositioningUnit::storePreset(const Preset& preset)
{
    if (Preset* found = findNamed(_presets, preset.name)) {
        found->position = preset.position;
        report(PresetModified{preset.name, PresetChange::changed});
    } else {
        require(_presets.size() < kMostPresets, CommandStatus::tooMany,
                "a camera keeps at most " + std::to_string(kMostPresets) + " presets");
        _presets.push_back(preset);
        report(PresetModified{preset.name, PresetChange::created});
    }
}

CommandResult PositioningUnit::renamePreset(const std::string& name, const std::string& newName)
{
    return changeLists([&] {
        requireName(newName);
        knownPreset(name);
        require(findPreset(newName) == nullptr, CommandStatus::nameTaken,
                "there is a preset '" + newName + "' already");
        findNamed(_presets, name)->name = newName;
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
    });
}

CommandResult PositioningUnit::removePreset(const std::string& name)
{
    return changeLists([&] {
        requireMovable();
        _presets.erase(_presets.begin() + (&knownPreset(name) - _presets.data()));
        report(PresetModified{name, PresetChange::removed});
        if (_destination == name) {
            _destination.clear(); // the camera goes on to the position, which has no name any more
        }
        if (_activePreset == name) {
            _activePreset.clear();
            reportPresetState(PresetState::left, name);
        }
    });
}

} // namespace camera::ptz
