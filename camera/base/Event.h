#pragma once

#include <string>

namespace camera::base {

/// One analytics event as an engine raised it.
struct Event {
    std::string topic;
    std::string source;
    std::string data;
};

} // namespace camera::base
