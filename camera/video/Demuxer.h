#pragma once

#include "camera/video/Libav.h"
#include "camera/video/PipeInput.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

namespace camera::video {

/**
 * One opened file, URL, device or pipe, reduced to the packets of its best video stream. Thread-bound.
 * The demuxer's library shares an XML parser with others: close it before anything cleans that parser up.
 */
class Demuxer {
public:
    /**
     * @param stop borrowed, may be null: when it becomes true a blocked read or connect gives up.
     * @param tell told when a pipe is waited for.
     * @throws std::runtime_error with one sentence: no such file, a directory, not readable, not a
     *         video, no video stream in it, no answer from the other side.
     */
    Demuxer(const std::string& input, const std::atomic<bool>* stop, const PipeInput::Tell& tell);

    enum class Read { packet, end, failed };

    /// The next packet of the video stream. After failed, error() says why.
    Read read(AVPacket& packet);

    /// Back to the first packet; false where the input cannot do that, as a live one.
    bool rewind();

    /// Whether it gives what happens now: a device, or what comes without an end from another side and cannot go back.
    bool live() const { return _live; }

    const AVStream& stream() const { return *_context->streams[_streamIndex]; }
    double framesPerSecond() const;

    /// Why the last read failed, as a phrase.
    const std::string& error() const { return _errorText; }

private:
    void open(const std::string& input);
    void findStream(const std::string& input);

    std::optional<PipeInput> _pipe;
    DemuxerPtr _context;
    const std::atomic<bool>* _stop;
    int _streamIndex = -1;
    bool _live = false;
    std::string _errorText;
};

} // namespace camera::video
