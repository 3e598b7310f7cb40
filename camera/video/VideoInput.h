#pragma once

#include "camera/video/Demuxer.h"
#include "camera/video/FrameSource.h"
#include "camera/video/Nv12Converter.h"
#include "camera/video/PresentationClock.h"
#include "camera/video/View.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

namespace camera::video {

struct VideoInputOptions {
    bool loop = false;                       ///< begin again at the end, where the input can
    std::int64_t startNanoseconds = 0;       ///< time of the first frame, since 1970; 0: the wall clock
    const std::atomic<bool>* stop = nullptr; ///< borrowed; once true, blocked reads give up and next() ends
    PictureSize size = {};                   ///< what the pictures are scaled to; 0x0: as they are, even
    std::function<void(const std::string& sentence)> tell = [](const std::string&) {};
    /// By how many nanoseconds times are later after the input has begun again.
    std::function<std::int64_t()> clockStep = [] { return 0; };
};

/**
 * Any file, URL or video device that libav reads, as NV12 frames in capture order.
 *
 * Times start at the wall clock and follow the input's own; they grow from frame to frame, over
 * loops and over jumps of the input's clock.
 */
class VideoInput final : public FrameSource {
public:
    /// @throws std::runtime_error with one sentence that names the input, what is wrong, and what to do.
    explicit VideoInput(const std::string& input, const VideoInputOptions& options = {});

    /// A damaged input is read on: what can be decoded is delivered. At the end one
    /// std::runtime_error says that the input is damaged and how much of it was read.
    std::optional<Frame> next() override;

    int width() const override { return _evenWidth; }
    int height() const override { return _evenHeight; }
    double framesPerSecond() const override { return _demuxer.framesPerSecond(); }
    bool live() const override { return _demuxer.live(); }

private:
    void openDecoder();
    bool decodeNext();
    void feedDecoder();
    bool beginAgain();
    Frame deliver();
    void reportDamage();

    std::string _input;
    VideoInputOptions _options;
    Demuxer _demuxer;
    CodecPtr _decoder;
    FramePtr _picture;
    PacketPtr _packet;
    PresentationClock _clock;
    int _evenWidth = 0;
    int _evenHeight = 0;
    std::optional<Nv12Converter> _converter;
    std::uint64_t _delivered = 0;
    std::uint64_t _deliveredThisRound = 0;
    std::uint64_t _damages = 0;
    std::string _firstDamage;
    bool _ended = false;
};

} // namespace camera::video
