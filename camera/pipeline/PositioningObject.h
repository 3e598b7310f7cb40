#pragma once

#include "camera/bus/Connection.h"
#include "camera/bus/positioning_server.h"
#include "camera/ptz/PositioningEvent.h"

#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace camera::ptz {
class PositioningUnit;
}

namespace camera::pipeline {

/**
 * The positioning unit on the bus, ravel.positioning: movement, presets and tours as methods, what the unit
 * tells the plug-in as signals. A command that is not done is refused with the unit's own sentence.
 *
 * Commands only set the unit in motion, so they are done on the bus thread.
 */
class PositioningObject final : public bus::PositioningServer {
public:
    /// Takes the bus name last. @throws sdbus::Error. Thread: the bus thread. unit outlives it.
    PositioningObject(const std::shared_ptr<bus::Session>& session, ptz::PositioningUnit& unit);

    /// Sends the signal of an event; what the bus refuses is logged. Any thread.
    void emit(const ptz::PositioningEvent& event);

private:
    using Where = std::tuple<std::uint32_t, std::int32_t, std::uint32_t, std::uint32_t, bool, std::string>;
    using PresetRow = sdbus::Struct<std::string, std::uint32_t, std::int32_t, std::uint32_t>;
    using StopRow = sdbus::Struct<std::string, std::uint32_t, std::uint32_t>;
    using TourRow = sdbus::Struct<std::string, std::vector<StopRow>>;

    using Limits = std::tuple<std::int32_t, std::int32_t, bool, std::int32_t, std::int32_t, std::uint32_t,
                              std::uint32_t, std::uint32_t, std::uint32_t>;

    Where getPosition() override;
    Limits getLimits() override;
    std::vector<PresetRow> listPresets() override;
    std::vector<TourRow> listTours() override;
    void goToPreset(const std::string& name, std::uint32_t priority) override;
    void goToPresetAtSpeed(const std::string& name, std::uint32_t speed, std::uint32_t priority) override;
    void moveAtSpeed(std::uint32_t pan, std::int32_t tilt, std::uint32_t zoom, std::uint32_t speed,
                     std::uint32_t priority) override;
    void moveTo(std::uint32_t pan, std::int32_t tilt, std::uint32_t zoom, std::uint32_t priority) override;
    void drive(std::int32_t pan, std::int32_t tilt, std::int32_t zoom, std::uint32_t milliseconds,
               std::uint32_t priority) override;
    void stop(std::uint32_t priority) override;
    void savePreset(const std::string& name) override;
    void savePresetAt(const std::string& name, std::uint32_t pan, std::int32_t tilt, std::uint32_t zoom) override;
    void renamePreset(const std::string& name, const std::string& newName) override;
    void removePreset(const std::string& name) override;
    void createTour(const std::string& name, const std::vector<StopRow>& stops) override;
    void removeTour(const std::string& name) override;
    void startTour(const std::string& name, std::uint32_t priority) override;
    void stopTour() override;
    void pauseTour() override;
    void resumeTour() override;
    bool available() override;
    sdbus::Struct<std::string, std::uint32_t> tour() override;
    bool tourPaused() override;

    void emitEvent(const ptz::MotionState& event);
    void emitEvent(const ptz::CommandPriority& event);
    void emitEvent(const ptz::PresetStateChange& event);
    void emitEvent(const ptz::PresetModified& event);
    void emitEvent(const ptz::TourStateChange& event);

    ptz::PositioningUnit& _unit;
};

} // namespace camera::pipeline
