#pragma once

#include <cstdint>

#pragma GCC visibility push(default)

namespace analytics_lib {

/// One colour, 8 bits a component.
struct __attribute__((visibility("default"))) ColorYuv {
    std::uint8_t y = 0;
    std::uint8_t u = 0;
    std::uint8_t v = 0;
};

} // namespace analytics_lib

#pragma GCC visibility pop
