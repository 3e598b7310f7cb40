#pragma once

#include "camera/cli/OptionTable.h"
#include "camera/cli/RunOptions.h"

namespace camera::cli {

/// The options that every command shares; both arguments outlive the table's use.
void addCameraOptions(OptionTable& table, CameraOptions& options, bool& help);

/// What follows from several of them together.
void settle(CameraOptions& options);

} // namespace camera::cli
