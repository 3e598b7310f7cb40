#pragma once

#include "camera/base/RunOptions.h"

namespace camera::pipeline {

using base::CameraOptions;
using base::kNoInput;
using base::PipelineOptions;
using base::PlaceOption;
using base::RunOptions;
using base::TourStopOption;

} // namespace camera::pipeline
