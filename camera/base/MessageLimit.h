#pragma once

#include <cstddef>
#include <string>

namespace camera::base {

/// How many bytes of text one message on the camera's bus may hold. The bus closes the connection of who sends much
/// more, so what is larger is refused where it comes from.
inline constexpr std::size_t kLargestMessage = 16 * 1024 * 1024;

/// The sentence of that refusal. @param what  "an event of engine 'Motion'" for instance
inline std::string tooLarge(const std::string& what, std::size_t bytes)
{
    return what + " has " + std::to_string(bytes) + " bytes; a message has at most " + std::to_string(kLargestMessage);
}

} // namespace camera::base
