#pragma once

#include "camera/video/FrameSource.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace camera::video {

struct SourceOptions {
    bool loop = false;                       ///< begin again at the end; a generated scene is endless then
    std::int64_t notBefore = 0;              ///< nanoseconds since 1970: the first frame's time is later than this
    const std::atomic<bool>* stop = nullptr; ///< borrowed; once true, next() ends soon
};

/// The source that an input names: a generated scene for "scene:...", else a file, URL or device.
/// @throws std::runtime_error with one sentence, see Scene and VideoInput.
std::unique_ptr<FrameSource> openSource(const std::string& input, const SourceOptions& options);

} // namespace camera::video
