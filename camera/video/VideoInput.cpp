#include "camera/video/VideoInput.h"

#include "camera/base/InputName.h"
#include "camera/video/LibavLog.h"
#include "camera/video/Timestamp.h"

#include <cmath>
#include <stdexcept>

namespace camera::video {

namespace {

std::int64_t frameDuration(const Demuxer& demuxer)
{
    return std::llround(1e9 / demuxer.framesPerSecond());
}

} // namespace

VideoInput::VideoInput(const std::string& input, const VideoInputOptions& options)
    : _input(input),
      _options(options),
      _demuxer(input, options.stop, options.tell),
      _picture(av_frame_alloc()),
      _packet(av_packet_alloc()),
      _clock(options.startNanoseconds != 0 ? options.startNanoseconds : wallClockNanoseconds(), frameDuration(_demuxer))
{
    if (_picture == nullptr || _packet == nullptr) {
        throw std::bad_alloc();
    }
    openDecoder();
    // Only a decoded picture tells the size reliably.
    if (!decodeNext()) {
        throw std::runtime_error("no picture of '" + input + "' could be decoded" +
                                 (_firstDamage.empty() ? "" : ": " + _firstDamage) + "; name a whole video file.");
    }
    _evenWidth = _picture->width & ~1;
    _evenHeight = _picture->height & ~1;
    if (_evenWidth < 16 || _evenHeight < 16) {
        throw std::runtime_error("the pictures of '" + input + "' are too small (" + std::to_string(_picture->width) +
                                 "x" + std::to_string(_picture->height) + "); 16x16 is the least.");
    }
    const PictureSize own{_evenWidth, _evenHeight};
    if (_options.size.width != 0 && !(_options.size == own)) {
        _options.tell("the pictures of '" + input + "' are " + std::to_string(own.width) + "x" +
                      std::to_string(own.height) + " now; they are scaled to " + std::to_string(_options.size.width) +
                      "x" + std::to_string(_options.size.height));
        _evenWidth = _options.size.width;
        _evenHeight = _options.size.height;
    }
    _converter.emplace(_evenWidth, _evenHeight);
}

void VideoInput::openDecoder()
{
    const AVCodecParameters* parameters = _demuxer.stream().codecpar;
    const AVCodec* codec = avcodec_find_decoder(parameters->codec_id);
    if (codec == nullptr) {
        throw std::runtime_error("'" + _input + "' is coded as " + avcodec_get_name(parameters->codec_id) +
                                 ", for which there is no decoder here; convert it to H.264.");
    }
    _decoder.reset(avcodec_alloc_context3(codec));
    if (_decoder == nullptr || avcodec_parameters_to_context(_decoder.get(), parameters) < 0) {
        throw std::bad_alloc();
    }
    _decoder->pkt_timebase = _demuxer.stream().time_base;
    // One thread: frames come out without delay, and the other cores are left to the engines.
    _decoder->thread_count = 1;
    clearLibavError();
    const int status = avcodec_open2(_decoder.get(), codec, nullptr);
    if (status < 0) {
        throw std::runtime_error("the decoder for '" + _input + "' does not start: " + libavStatusText(status) +
                                 "; name another video file.");
    }
}

void VideoInput::feedDecoder()
{
    const auto damaged = [this](const std::string& what) {
        ++_damages;
        if (_firstDamage.empty()) {
            _firstDamage = what;
        }
    };
    const Demuxer::Read outcome = _demuxer.read(*_packet);
    if (outcome == Demuxer::Read::failed) {
        damaged(_demuxer.error());
    }
    if (outcome != Demuxer::Read::packet) {
        avcodec_send_packet(_decoder.get(), nullptr);
        return;
    }
    if ((_packet->flags & AV_PKT_FLAG_CORRUPT) != 0) {
        damaged("a part is missing");
    }
    const int status = avcodec_send_packet(_decoder.get(), _packet.get());
    if (status < 0 && status != AVERROR(EAGAIN) && status != AVERROR_EOF) {
        damaged(libavStatusText(status));
    }
}

bool VideoInput::decodeNext()
{
    for (;;) {
        const int status = avcodec_receive_frame(_decoder.get(), _picture.get());
        if (status == 0) {
            if (_picture->decode_error_flags != 0 && _damages++ == 0) {
                _firstDamage = "a picture is damaged";
            }
            return true;
        }
        if (status == AVERROR(EAGAIN)) {
            feedDecoder();
        } else if (status == AVERROR_EOF) {
            return false;
        } else if (_damages++ == 0) {
            _firstDamage = libavStatusText(status);
        }
    }
}

bool VideoInput::beginAgain()
{
    // An input that gives no picture at all would be restarted for ever.
    if (!_options.loop || _deliveredThisRound == 0 || !_demuxer.rewind()) {
        return false;
    }
    avcodec_flush_buffers(_decoder.get());
    _clock.restart(_options.clockStep());
    _deliveredThisRound = 0;
    return decodeNext();
}

Frame VideoInput::deliver()
{
    Frame frame = _converter->convert(*_picture);
    std::optional<std::int64_t> time;
    if (_picture->best_effort_timestamp != AV_NOPTS_VALUE) {
        time = av_rescale_q(_picture->best_effort_timestamp, _demuxer.stream().time_base, AVRational{1, 1000000000});
    }
    stamp(frame, _clock.next(time));
    ++_delivered;
    ++_deliveredThisRound;
    return frame;
}

std::optional<Frame> VideoInput::next()
{
    if (_ended) {
        return std::nullopt;
    }
    // The constructor has decoded the first picture already.
    const bool stopped = _options.stop != nullptr && _options.stop->load();
    const bool have = !stopped && (_delivered == 0 || decodeNext() || beginAgain());
    if (have) {
        return deliver();
    }
    _ended = true;
    if (!stopped) {
        if (_options.loop && base::isReadOnce(_input)) {
            _options.tell("'" + _input + "' has ended; what comes through a pipe is read once");
        }
        reportDamage();
    }
    return std::nullopt;
}

void VideoInput::reportDamage()
{
    if (_damages != 0 && live()) {
        throw std::runtime_error("'" + _input + "' broke off (" + _firstDamage + ") after " +
                                 std::to_string(_delivered) + " frames");
    }
    if (_damages != 0) {
        throw std::runtime_error("'" + _input + "' is damaged (" + _firstDamage + "): " + std::to_string(_delivered) +
                                 " frames of it could be analysed; copy or convert it again.");
    }
}

} // namespace camera::video
