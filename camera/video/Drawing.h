#pragma once

#include "camera/kit/DrawingFormat.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace camera::video {

/// The drawing data of one frame, of all engines together, sorted by what is drawn.
struct Drawing {
    std::vector<kit::BoxRecord> boxes;
    std::vector<kit::RuleRecord> rules;
    std::vector<kit::CellsRecord> cells;
    bool damaged = false; ///< the bytes ended in the middle of a record

    std::size_t movingBoxes() const;
    std::size_t alarms() const;

    /// How interesting the picture is; the frame with the highest value is kept as the picture of the run.
    /// @param travelled how many objects have moved a real distance, see TravelledObjects
    double interest(std::size_t travelled) const;
};

/// Reads what engines wrote; any bytes are safe, null with 0 bytes included.
Drawing readDrawing(const std::uint8_t* data, std::size_t sizeBytes);

} // namespace camera::video
