#pragma once

#include "plugin/analytics/ColorYuv.h"
#include "plugin/analytics/YuvFrame.h"

#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace camera::kit {

/**
 * A file of recorded frames, with all that an engine needs to process them again in the same way.
 * All numbers are little endian.
 *
 *     file:   "VCFRAMES", u32 version (1), u32 number of the first object
 *     frame:  "FRAM", u32 seconds, u32 nanoseconds, u32 width, u32 height, u32 pan, i32 tilt, u32 zoom,
 *             u32 horizontal and u32 vertical angle of view, u8 blanked, u8 Y, u8 U, u8 V of the blanking
 *             colour, u32 checksum of the picture, then the NV12 picture without padding between its rows
 *
 * A file ends after any whole frame.
 */
struct RecordedFrame {
    analytics_lib::YuvFrame frame; ///< its data point into the reader until the next frame is read
    std::optional<analytics_lib::ColorYuv> blanked;
};

/// Writes such a file. Thread: made on the control thread, used on the frame thread.
class FrameFileWriter {
public:
    /// @throws std::runtime_error with one sentence when the file cannot be made.
    FrameFileWriter(std::string path, unsigned count);

    /// Called before the first frame.
    void begin(std::uint32_t firstObject);

    /// @throws std::runtime_error with one sentence when the file cannot be written.
    void add(const analytics_lib::YuvFrame& frame, const std::optional<analytics_lib::ColorYuv>& blanked);

    /// Whether every frame that was asked for has been written.
    bool full() const { return _left == 0; }

private:
    void flushed() const;

    std::string _path;
    std::ofstream _file;
    unsigned _left;
};

/// Reads such a file; a damaged one ends before the first damaged frame. Thread: as FrameFileWriter.
class FrameFileReader {
public:
    /// @throws std::runtime_error with one sentence when it is no such file.
    FrameFileReader(std::string path, bool fresh);

    /// Whether the background is to be dropped before the first frame.
    bool fresh() const { return _fresh; }
    std::uint32_t firstObject() const { return _firstObject; }

    /// The next frame; nothing at the end. @throws std::runtime_error with one sentence for a damaged file.
    std::optional<RecordedFrame> next();

private:
    std::string _path;
    std::ifstream _file;
    bool _fresh;
    std::uint32_t _firstObject = 1;
    std::vector<std::uint8_t> _pixels;
};

} // namespace camera::kit
