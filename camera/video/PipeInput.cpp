#include "camera/video/PipeInput.h"

#include "camera/base/InputName.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <poll.h>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace camera::video {

namespace {

constexpr int kBufferBytes = 64 * 1024;
constexpr int kLookForStopMs = 100;
constexpr int kVainLooks = 20; // after which a person wants to know why nothing happens

// A FIFO without a writer would block: it is waited for later, where a stop is noticed.
int opened(const std::string& input)
{
    return base::isStandardInput(input) ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                        : ::open(base::pathOfInput(input).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
}

} // namespace

PipeInput::PipeInput(const std::string& input, const std::atomic<bool>* stop, Tell tell)
    : _input(input), _descriptor(opened(input)), _stop(stop), _tell(std::move(tell))
{
    if (!_descriptor) {
        throw std::runtime_error("cannot open '" + input + "': " + std::strerror(errno) +
                                 "; name a video file, or give the video over a pipe.");
    }
    if (::isatty(_descriptor.get()) != 0) {
        throw std::runtime_error("cannot read '" + input +
                                 "': the standard input is a terminal; give the video over a "
                                 "pipe.");
    }
    auto* buffer = static_cast<unsigned char*>(av_malloc(kBufferBytes));
    _context = avio_alloc_context(buffer, kBufferBytes, 0, this, read, nullptr, nullptr);
    if (_context == nullptr) {
        av_free(buffer);
        throw std::bad_alloc();
    }
    _context->seekable = 0;
}

PipeInput::~PipeInput()
{
    av_freep(&_context->buffer); // libav may have replaced the one given
    avio_context_free(&_context);
}

int PipeInput::read(void* self, std::uint8_t* buffer, int size)
{
    auto& pipe = *static_cast<PipeInput*>(self);
    for (;;) {
        if (pipe._stop != nullptr && pipe._stop->load()) {
            return AVERROR_EXIT;
        }
        pollfd readable{pipe._descriptor.get(), POLLIN, 0};
        if (::poll(&readable, 1, kLookForStopMs) <= 0) {
            if (pipe._vainLooks < kVainLooks && ++pipe._vainLooks == kVainLooks) {
                pipe._tell("nothing has come through '" + pipe._input + "' yet; it is waited for");
            }
            continue;
        }
        const ssize_t length = ::read(pipe._descriptor.get(), buffer, static_cast<std::size_t>(size));
        if (length > 0) {
            pipe._vainLooks = kVainLooks;
            return static_cast<int>(length);
        }
        if (length == 0) {
            return AVERROR_EOF;
        }
        if (errno != EINTR && errno != EAGAIN) {
            return AVERROR(errno);
        }
    }
}

} // namespace camera::video
