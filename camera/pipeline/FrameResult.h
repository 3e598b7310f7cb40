#pragma once

#include "camera/framework/MetadataPool.h"

namespace camera::pipeline {

/// What became of one frame.
struct FrameResult {
    bool analysed = false; ///< false: it left the plug-in with an exception, or the device has ended

    /// What the engines wrote for it, where it was analysed; valid until the next frame is delivered.
    framework::MetadataPool::Outputs outputs;

    explicit operator bool() const { return analysed; }
};

} // namespace camera::pipeline
