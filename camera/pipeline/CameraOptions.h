#pragma once

#include "camera/base/OptionTable.h"
#include "camera/pipeline/RunOptions.h"

namespace camera::pipeline {

/// The options that every command shares; both arguments outlive the table's use.
void addCameraOptions(base::OptionTable& table, CameraOptions& options, bool& help);

/// What follows from several of them together.
void settle(CameraOptions& options);

} // namespace camera::pipeline
