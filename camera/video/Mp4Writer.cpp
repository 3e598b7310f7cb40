#include "camera/video/Mp4Writer.h"

#include "camera/video/LibavLog.h"
#include "camera/video/Yuv.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace camera::video {

namespace {

constexpr AVRational kTicks = {1, 90000};

const AVCodec* chooseEncoder(const std::string& name)
{
    if (!name.empty()) {
        return avcodec_find_encoder_by_name(name.c_str());
    }
    const AVCodec* best = avcodec_find_encoder_by_name("libx264");
    return best != nullptr ? best : avcodec_find_encoder(AV_CODEC_ID_MPEG4);
}

} // namespace

Mp4Writer::Mp4Writer(const std::string& path, int width, int height, double framesPerSecond,
                     const std::string& encoderName)
    : path(path), frame(av_frame_alloc()), packet(av_packet_alloc())
{
    if (frame == nullptr || packet == nullptr) {
        throw std::bad_alloc();
    }
    openEncoder(width, height, framesPerSecond, encoderName);
    frame->format = encoder->pix_fmt;
    frame->width = width;
    frame->height = height;
    check(av_frame_get_buffer(frame.get(), 0));
    openFile();
}

Mp4Writer::~Mp4Writer()
{
    if (container != nullptr) {
        avio_closep(&container->pb);
        avformat_free_context(container);
    }
}

void Mp4Writer::fail(int status) const
{
    throw std::runtime_error("cannot write the overlay video '" + path + "': " + libavStatusText(status) +
                             "; name a file in a folder that can be written and has room.");
}

void Mp4Writer::check(int status) const
{
    if (status < 0) {
        fail(status);
    }
}

void Mp4Writer::openEncoder(int width, int height, double framesPerSecond, const std::string& encoderName)
{
    const AVCodec* codec = chooseEncoder(encoderName);
    if (codec == nullptr) {
        throw std::runtime_error("cannot write the overlay video '" + path +
                                 "': libavcodec has no encoder for it here; leave --overlay out.");
    }
    encoder.reset(avcodec_alloc_context3(codec));
    encoder->width = width;
    encoder->height = height;
    encoder->pix_fmt = AV_PIX_FMT_YUV420P;
    encoder->framerate = av_d2q(framesPerSecond, 100000);
    // MPEG-4 has no room for fine ticks; a thousandth of a second is enough there.
    encoder->time_base = codec->id == AV_CODEC_ID_MPEG4 ? AVRational{1, 1000} : kTicks;
    encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    encoder->thread_count = 2;
    if (codec->id == AV_CODEC_ID_MPEG4) {
        encoder->bit_rate = std::max<std::int64_t>(std::llround(0.2 * width * height * framesPerSecond), 200000);
    } else {
        av_opt_set(encoder->priv_data, "preset", "veryfast", 0);
        av_opt_set(encoder->priv_data, "crf", "22", 0);
    }
    check(avcodec_open2(encoder.get(), codec, nullptr));
}

void Mp4Writer::openFile()
{
    AVFormatContext* made = nullptr;
    check(avformat_alloc_output_context2(&made, nullptr, "mp4", path.c_str()));
    container = made;
    try {
        AVStream* stream = avformat_new_stream(container, nullptr);
        check(stream == nullptr ? AVERROR(ENOMEM) : 0);
        stream->time_base = encoder->time_base;
        stream->avg_frame_rate = encoder->framerate;
        check(avcodec_parameters_from_context(stream->codecpar, encoder.get()));
        check(avio_open(&container->pb, ("file:" + path).c_str(), AVIO_FLAG_WRITE));
        check(avformat_write_header(container, nullptr));
        open = true;
    } catch (...) {
        avio_closep(&container->pb);
        avformat_free_context(container);
        container = nullptr;
        throw;
    }
}

void Mp4Writer::add(const RgbPicture& picture, std::int64_t nanoseconds)
{
    if (firstNanoseconds < 0) {
        firstNanoseconds = nanoseconds;
    }
    const std::int64_t ticks =
        av_rescale_q(nanoseconds - firstNanoseconds, AVRational{1, 1000000000}, encoder->time_base);
    lastTicks = std::max(ticks, lastTicks + 1);
    check(av_frame_make_writable(frame.get()));
    libyuv::RAWToI420(picture.pixels.data(), picture.strideBytes(), frame->data[0], frame->linesize[0], frame->data[1],
                      frame->linesize[1], frame->data[2], frame->linesize[2], picture.width, picture.height);
    frame->pts = lastTicks;
    encode(frame.get());
}

void Mp4Writer::encode(const AVFrame* picture)
{
    check(avcodec_send_frame(encoder.get(), picture));
    for (;;) {
        const int status = avcodec_receive_packet(encoder.get(), packet.get());
        if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) {
            return;
        }
        check(status);
        av_packet_rescale_ts(packet.get(), encoder->time_base, container->streams[0]->time_base);
        packet->stream_index = 0;
        check(av_interleaved_write_frame(container, packet.get()));
        // Writing is buffered: a full disk shows here, not in the call above.
        check(container->pb->error);
    }
}

void Mp4Writer::finish()
{
    if (!open) {
        return;
    }
    open = false;
    encode(nullptr);
    check(av_write_trailer(container));
    avio_flush(container->pb);
    const int written = container->pb->error;
    const int closed = avio_closep(&container->pb);
    check(written < 0 ? written : closed);
}

} // namespace camera::video
