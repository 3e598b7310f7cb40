#pragma once

#include "camera/base/FileDescriptor.h"
#include "camera/video/Libav.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace camera::video {

/// The bytes of the standard input or of a FIFO, for a demuxer. They are read once. Thread-bound.
class PipeInput {
public:
    /// @param stop borrowed, may be null: when it becomes true a read that waits for a writer or for bytes gives up.
    /// @throws std::runtime_error with one sentence.
    PipeInput(const std::string& input, const std::atomic<bool>* stop);
    ~PipeInput();
    PipeInput(const PipeInput&) = delete;
    PipeInput& operator=(const PipeInput&) = delete;

    AVIOContext* context() { return _context; }

private:
    static int read(void* self, std::uint8_t* buffer, int size);

    base::FileDescriptor _descriptor;
    const std::atomic<bool>* const _stop;
    AVIOContext* _context = nullptr;
};

} // namespace camera::video
