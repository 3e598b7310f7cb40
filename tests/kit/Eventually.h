#pragma once

#include <chrono>
#include <poll.h>

namespace kit {

/// Far more than anything that a test waits for takes: it ends what hangs, it measures nothing.
inline constexpr std::chrono::seconds kPatience(60);

/// When the patience ends that begins now.
inline std::chrono::steady_clock::time_point soon()
{
    return std::chrono::steady_clock::now() + kPatience;
}

/// Whether the condition came true before the patience ended. Between two looks the processor is left to those that
/// are waited for.
template <typename Condition>
bool eventually(const Condition& condition, std::chrono::seconds patience = kPatience)
{
    constexpr int kBetweenLooksMs = 5;
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        ::poll(nullptr, 0, kBetweenLooksMs);
    }
    return true;
}

} // namespace kit
