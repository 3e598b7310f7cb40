#pragma once

#include <cstddef>
#include <cstdint>

namespace camera::framework {

/// Memory of the process that ends exactly where a page begins which nobody may touch: the first
/// byte written too far ends the process at once instead of spoiling something else.
class GuardedMemory {
public:
    /// @throws std::bad_alloc
    explicit GuardedMemory(std::size_t sizeBytes);
    ~GuardedMemory();
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;

    std::uint8_t* data() const { return _data; }
    std::size_t size() const { return _sizeBytes; }

private:
    void* _mapping = nullptr;
    std::size_t _mappingBytes = 0;
    std::size_t _sizeBytes = 0;
    std::uint8_t* _data = nullptr;
};

/**
 * The drawing and the motion buffer that the metadata transmitter hands out for each frame.
 *
 * Each holds what every engine together may write, followed by a guard page. Thread-bound to the frame thread.
 */
class MetadataPool {
public:
    /// What came back for one frame; valid until the buffers are handed out again.
    struct Outputs {
        const std::uint8_t* drawing = nullptr;
        std::size_t drawingBytes = 0;
        const std::uint8_t* motion = nullptr;
        std::size_t motionBytes = 0;
    };

    /// @param engineCount     1 or more
    /// @param bytesPerEngine  a multiple of 64, so that buffers are aligned
    /// @throws std::invalid_argument, std::bad_alloc
    MetadataPool(std::size_t engineCount, std::uint32_t bytesPerEngine);

    /// What came back since this was last called; nothing where the motion data did not.
    Outputs takeOutputs();

    std::uint8_t* emptyDrawing();
    std::uint8_t* emptyMotion();
    std::uint32_t bytesPerEngine() const { return _bytesPerEngine; }

    /// usedBytes beyond the buffer are cut off and logged.
    void returnDrawing(std::size_t usedBytes);
    void returnMotion(std::size_t usedBytes);

private:
    std::size_t cut(std::size_t usedBytes, const char* which) const;

    const std::uint32_t _bytesPerEngine;
    const GuardedMemory _drawing;
    const GuardedMemory _motion;
    std::size_t _drawingBytes = 0;
    Outputs _outputs;
};

} // namespace camera::framework
