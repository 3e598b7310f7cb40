#pragma once

#include "camera/base/CommandLine.h"

#include <string>
#include <vector>

namespace camera::cli {

/// The names that completion offers, read from a running camera where needed; empty when that fails.
/// @param typed  what was typed so far: --camera says which camera.
std::vector<std::string> cameraNames(base::Offer offer, const base::Arguments& typed);

} // namespace camera::cli
