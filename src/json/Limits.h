#pragma once

#include <cstddef>

namespace json {

/// How deep arrays and objects may stand in each other, the root included. Reading, writing and
/// releasing a document recurse once per level, so this bounds their stack.
inline constexpr std::size_t kMaxDepth = 256;

} // namespace json
