#pragma once

#include <cstdint>

#pragma GCC visibility push(default)

namespace korva::meridan {

/**
 * Carries drawing and motion data of each frame to the encoders.
 *
 * One drawing and one motion buffer are lent per frame and come back with the number of bytes used.
 * Thread: the frame delivery thread.
 */
class __attribute__((visibility("default"))) MetadataTransmitter {
public:
    static MetadataTransmitter& instance();

    /// Lends a drawing buffer. It must hold GetMaxBufferSize() bytes per engine, because every
    /// engine is told the full size while their data lie one after another. May be null.
    std::uint8_t* GetEmptyDrawingBuffer();

    /// Lends a motion buffer. May be null.
    std::uint8_t* GetEmptyMotionBuffer();

    /// What one engine may write into one buffer, in bytes.
    std::uint32_t GetMaxBufferSize() const;

    void ReturnFullDrawingBuffer(unsigned int usedBytes);
    void ReturnFullMotionBuffer(unsigned int usedBytes);

private:
    MetadataTransmitter() = default;
    ~MetadataTransmitter() = default;
    MetadataTransmitter(const MetadataTransmitter&) = delete;
    MetadataTransmitter& operator=(const MetadataTransmitter&) = delete;
};

} // namespace korva::meridan

#pragma GCC visibility pop
