#pragma once

#include <cstdint>
#include <string>

#pragma GCC visibility push(default)

namespace korva::meridan {

/// Key and value description of a buffer's payload. Raw images carry "width" and "height" in pixels
/// and "bytesPerRow", the stride of both planes in bytes.
class __attribute__((visibility("default"))) BufferFormat {
public:
    virtual ~BufferFormat() = default;

    /// The integer stored under key; what an absent key yields is the framework's choice.
    virtual std::int32_t GetInt(const std::string& key) const = 0;
};

} // namespace korva::meridan

#pragma GCC visibility pop
