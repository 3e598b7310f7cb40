#pragma once

#include "camera/onvif/AnalyticsState.h"

#include <optional>
#include <string>
#include <vector>

namespace camera::onvif {

/// A change that is under way: which documents it is about, and what stood there before. Without documents there is
/// none.
struct IntendedChange {
    std::vector<DocumentKey> keys = {};
    PlacedComponents before = {};
};

/// As a JSON document and back. Nothing when it is none of this kind.
std::string format(const IntendedChange& change);
std::optional<IntendedChange> parseIntendedChange(const std::string& document);

} // namespace camera::onvif
