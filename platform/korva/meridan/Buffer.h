#pragma once

#include <cstddef>
#include <cstdint>

#pragma GCC visibility push(default)

namespace korva::meridan {

class BufferFormat;

/**
 * One unit of data that moves through a pipeline: a raw image, or an empty signal.
 *
 * The holder of the pointer owns it: it is either pushed on through a Source or deleted.
 */
class __attribute__((visibility("default"))) Buffer {
public:
    virtual ~Buffer() = default;

    /// Payload length in bytes; 0 for a signalling buffer.
    virtual std::size_t GetLength() const = 0;

    /// The format record; borrowed, valid as long as the buffer.
    virtual const BufferFormat& GetFormat() const = 0;

    /// First byte of the payload; borrowed, writable, valid as long as the buffer.
    virtual std::uint8_t* GetData() const = 0;

    /// The capture time, at least two 32-bit words. The virtual camera: word 0 is seconds since
    /// 1970-01-01 UTC, word 1 nanoseconds. Borrowed.
    virtual const std::uint32_t* GetTimestamp() const = 0;
};

} // namespace korva::meridan

#pragma GCC visibility pop
