#pragma once

#include <cstddef>
#include <functional>

namespace hostile {

/// What the configuration side does with by far: a recursion into a million nested elements would need hundreds of
/// times that.
inline constexpr std::size_t kSmallStackKib = 64;

/// The stack that a thread asked for with kib gets: at least what the system allows, and more where a sanitizer widens
/// every frame.
std::size_t stackBytes(std::size_t kib);

/// Runs work on a thread with that stack and waits for its end. What work throws ends the process.
void runOnStack(std::size_t kib, const std::function<void()>& work);

} // namespace hostile
