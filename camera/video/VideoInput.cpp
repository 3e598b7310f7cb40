#include "camera/video/VideoInput.h"

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
    : input(input),
      options(options),
      demuxer(input, options.stop),
      picture(av_frame_alloc()),
      packet(av_packet_alloc()),
      clock(options.startNanoseconds != 0 ? options.startNanoseconds : wallClockNanoseconds(), frameDuration(demuxer))
{
    if (picture == nullptr || packet == nullptr) {
        throw std::bad_alloc();
    }
    openDecoder();
    // The size is known for sure only from a decoded picture.
    if (!decodeNext()) {
        throw std::runtime_error("no picture of '" + input + "' could be decoded" +
                                 (firstDamage.empty() ? "" : ": " + firstDamage) + "; name a whole video file.");
    }
    evenWidth = picture->width & ~1;
    evenHeight = picture->height & ~1;
    if (evenWidth < 16 || evenHeight < 16) {
        throw std::runtime_error("the pictures of '" + input + "' are too small (" + std::to_string(picture->width) +
                                 "x" + std::to_string(picture->height) + "); 16x16 is the least.");
    }
    converter.emplace(evenWidth, evenHeight);
}

void VideoInput::openDecoder()
{
    const AVCodecParameters* parameters = demuxer.stream().codecpar;
    const AVCodec* codec = avcodec_find_decoder(parameters->codec_id);
    if (codec == nullptr) {
        throw std::runtime_error("'" + input + "' is coded as " + avcodec_get_name(parameters->codec_id) +
                                 ", for which there is no decoder here; convert it to H.264.");
    }
    decoder.reset(avcodec_alloc_context3(codec));
    if (decoder == nullptr || avcodec_parameters_to_context(decoder.get(), parameters) < 0) {
        throw std::bad_alloc();
    }
    decoder->pkt_timebase = demuxer.stream().time_base;
    // One thread: frames come out in step, and the machine's other cores belong to the engines.
    decoder->thread_count = 1;
    clearLibavError();
    const int status = avcodec_open2(decoder.get(), codec, nullptr);
    if (status < 0) {
        throw std::runtime_error("the decoder for '" + input + "' does not start: " + libavStatusText(status) +
                                 "; name another video file.");
    }
}

void VideoInput::feedDecoder()
{
    const auto damaged = [this](const std::string& what) {
        ++damages;
        if (firstDamage.empty()) {
            firstDamage = what;
        }
    };
    const Demuxer::Read outcome = demuxer.read(*packet);
    if (outcome == Demuxer::Read::failed) {
        damaged(demuxer.error());
    }
    if (outcome != Demuxer::Read::packet) {
        avcodec_send_packet(decoder.get(), nullptr);
        return;
    }
    if ((packet->flags & AV_PKT_FLAG_CORRUPT) != 0) {
        damaged("a part is missing");
    }
    const int status = avcodec_send_packet(decoder.get(), packet.get());
    if (status < 0 && status != AVERROR(EAGAIN) && status != AVERROR_EOF) {
        damaged(libavStatusText(status));
    }
}

bool VideoInput::decodeNext()
{
    for (;;) {
        const int status = avcodec_receive_frame(decoder.get(), picture.get());
        if (status == 0) {
            if (picture->decode_error_flags != 0 && damages++ == 0) {
                firstDamage = "a picture is damaged";
            }
            return true;
        }
        if (status == AVERROR(EAGAIN)) {
            feedDecoder();
        } else if (status == AVERROR_EOF) {
            return false;
        } else if (damages++ == 0) {
            firstDamage = libavStatusText(status);
        }
    }
}

bool VideoInput::beginAgain()
{
    // A round without a single picture would begin again for ever.
    if (!options.loop || deliveredThisRound == 0 || !demuxer.rewind()) {
        return false;
    }
    avcodec_flush_buffers(decoder.get());
    clock.restart();
    deliveredThisRound = 0;
    return decodeNext();
}

Frame VideoInput::deliver()
{
    Frame frame = converter->convert(*picture);
    std::optional<std::int64_t> time;
    if (picture->best_effort_timestamp != AV_NOPTS_VALUE) {
        time = av_rescale_q(picture->best_effort_timestamp, demuxer.stream().time_base, AVRational{1, 1000000000});
    }
    stamp(frame, clock.next(time));
    ++delivered;
    ++deliveredThisRound;
    return frame;
}

std::optional<Frame> VideoInput::next()
{
    if (ended) {
        return std::nullopt;
    }
    // The constructor has decoded the first picture already.
    const bool stopped = options.stop != nullptr && options.stop->load();
    const bool have = !stopped && (delivered == 0 || decodeNext() || beginAgain());
    if (have) {
        return deliver();
    }
    ended = true;
    if (!stopped) {
        reportDamage();
    }
    return std::nullopt;
}

void VideoInput::reportDamage()
{
    if (damages != 0) {
        throw std::runtime_error("'" + input + "' is damaged (" + firstDamage + "): " + std::to_string(delivered) +
                                 " frames of it could be analysed; copy or convert it again.");
    }
}

} // namespace camera::video
