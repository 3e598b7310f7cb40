#pragma once

#include "host-seam/FrameBuffer.h"
#include "host-seam/Framework.h"
#include "host-seam/Journal.h"
#include "host-seam/LogHandles.h"
#include "host-seam/Platform.h"

namespace kit {

/// Tests name host-seam's state as the kit's.
using namespace host_seam; // the kit is host-seam with more

} // namespace kit
