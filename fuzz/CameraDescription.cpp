// Camera descriptions: any bytes are refused with one sentence, or give a camera that moves and comes to rest.

#include "camera/ptz/CameraDescription.h"
#include "camera/ptz/PositioningUnit.h"
#include "support/Check.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using camera::ptz::AxisDescription;
using camera::ptz::CameraDescription;
using camera::ptz::Position;
using camera::ptz::PositioningUnit;

void checkAxis(const AxisDescription& axis)
{
    fuzz::check(std::isfinite(axis.lowest) && std::isfinite(axis.highest), "the limits of an axis are numbers");
    fuzz::check(axis.endless || axis.lowest <= axis.highest, "an axis has room");
    fuzz::check(axis.greatestSpeed > 0 && std::isfinite(axis.greatestSpeed), "an axis moves");
    fuzz::check(axis.acceleration > 0 && std::isfinite(axis.acceleration), "an axis speeds up");
    fuzz::check(axis.tolerance >= 0 && std::isfinite(axis.tolerance), "an axis arrives");
}

void move(const CameraDescription& description)
{
    PositioningUnit unit({true, {}, description}, [](const auto& /*task*/) {});
    const Position places[] = {{0, 0, 100}, {359999, -90000, 100}, {180000, 90000, description.optics.largestZoom}};
    for (const Position& place : places) {
        unit.moveTo(place, {"fuzz", 0});
        for (int step = 0; step < 20; ++step) {
            unit.advance(std::chrono::milliseconds(50));
            const Position at = unit.position();
            fuzz::check(at.pan < 360000 && at.tilt >= -90000 && at.tilt <= 90000, "the camera looks somewhere");
            static_cast<void>(unit.optics().angleOfView(at.zoom));
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const CameraDescription description = camera::ptz::parseDescription(text, "fuzz.json");
        if (description.movable) {
            checkAxis(description.pan);
            checkAxis(description.tilt);
            checkAxis(description.zoom);
            move(description);
        }
    } catch (const std::invalid_argument& refused) {
        const std::string_view sentence = refused.what();
        fuzz::check(sentence.find("fuzz.json") != std::string_view::npos, "a refusal names the file");
    }
    return 0;
}
