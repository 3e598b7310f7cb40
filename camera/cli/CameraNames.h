#pragma once

#include "camera/base/CommandLine.h"

#include <string>
#include <vector>

namespace camera::cli {

/// The names that completion offers, asked from a running camera where it knows them; empty when they cannot be had.
/// @param typed  what was typed so far: --camera says which camera.
std::vector<std::string> cameraNames(base::Offer offer, const base::Arguments& typed);

} // namespace camera::cli
