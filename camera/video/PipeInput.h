#pragma once

#include "camera/base/FileDescriptor.h"
#include "camera/video/Libav.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

namespace camera::video {

/// The bytes of the standard input or of a FIFO, for a demuxer. They are read once. Thread-bound.
class PipeInput {
public:
    using Tell = std::function<void(const std::string& sentence)>;

    /// @param stop borrowed, may be null: when it becomes true a read that waits for a writer or for bytes gives up.
    /// @param tell told in one sentence, once, when nothing has come for two seconds.
    /// @throws std::runtime_error with one sentence.
    PipeInput(const std::string& input, const std::atomic<bool>* stop, Tell tell);
    ~PipeInput();
    PipeInput(const PipeInput&) = delete;
    PipeInput& operator=(const PipeInput&) = delete;

    AVIOContext* context() { return _context; }

private:
    static int read(void* self, std::uint8_t* buffer, int size);

    const std::string _input;
    base::FileDescriptor _descriptor;
    const std::atomic<bool>* const _stop;
    const Tell _tell;
    int _vainLooks = 0; ///< since the beginning, while nothing has come
    AVIOContext* _context = nullptr;
};

} // namespace camera::video
