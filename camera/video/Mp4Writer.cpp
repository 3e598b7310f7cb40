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
                     const std::string& encoderName, int descriptor)
    : _path(path), _frame(av_frame_alloc()), _packet(av_packet_alloc())
{
    if (_frame == nullptr || _packet == nullptr) {
        throw std::bad_alloc();
    }
    openEncoder(width, height, framesPerSecond, encoderName);
    _frame->format = _encoder->pix_fmt;
    _frame->width = width;
    _frame->height = height;
    check(av_frame_get_buffer(_frame.get(), 0));
    openFile(descriptor);
}

Mp4Writer::~Mp4Writer()
{
    if (_container != nullptr) {
        avio_closep(&_container->pb);
        avformat_free_context(_container);
    }
}

void Mp4Writer::fail(int status) const
{
    throw std::runtime_error("cannot write the overlay video '" + _path + "': " + libavStatusText(status) +
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
        throw std::runtime_error("cannot write the overlay video '" + _path +
                                 "': libavcodec has no encoder for it here; leave --overlay out.");
    }
    _encoder.reset(avcodec_alloc_context3(codec));
    _encoder->width = width;
    _encoder->height = height;
    _encoder->pix_fmt = AV_PIX_FMT_YUV420P;
    _encoder->framerate = av_d2q(framesPerSecond, 100000);
    // MPEG-4 limits the resolution of times; a thousandth of a second is enough there.
    _encoder->time_base = codec->id == AV_CODEC_ID_MPEG4 ? AVRational{1, 1000} : kTicks;
    _encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    _encoder->thread_count = 2;
    if (codec->id == AV_CODEC_ID_MPEG4) {
        _encoder->bit_rate = std::max<std::int64_t>(std::llround(0.2 * width * height * framesPerSecond), 200000);
    } else {
        av_opt_set(_encoder->priv_data, "preset", "veryfast", 0);
        av_opt_set(_encoder->priv_data, "tune", "zerolatency", 0); // no picture waits in the encoder
        av_opt_set(_encoder->priv_data, "crf", "22", 0);
    }
    check(avcodec_open2(_encoder.get(), codec, nullptr));
}

void Mp4Writer::openFile(int descriptor)
{
    const std::string address = descriptor < 0 ? "file:" + _path : "pipe:" + std::to_string(descriptor);
    AVFormatContext* made = nullptr;
    check(avformat_alloc_output_context2(&made, nullptr, "mp4", _path.c_str()));
    _container = made;
    try {
        AVStream* stream = avformat_new_stream(_container, nullptr);
        check(stream == nullptr ? AVERROR(ENOMEM) : 0);
        stream->time_base = _encoder->time_base;
        stream->avg_frame_rate = _encoder->framerate;
        check(avcodec_parameters_from_context(stream->codecpar, _encoder.get()));
        check(avio_open(&_container->pb, address.c_str(), AVIO_FLAG_WRITE));
        writeHeader();
        _open = true;
    } catch (...) {
        avio_closep(&_container->pb);
        avformat_free_context(_container);
        _container = nullptr;
        throw;
    }
}

// Every picture is a fragment of its own, so that the file plays at any moment up to the last picture. Without the
// index at the end, which would be kept in memory until then.
void Mp4Writer::writeHeader()
{
    AVDictionary* options = nullptr;
    av_dict_set(&options, "movflags", "empty_moov+default_base_moof+frag_custom+skip_trailer", 0);
    const int status = avformat_write_header(_container, &options);
    av_dict_free(&options);
    check(status);
}

void Mp4Writer::add(const RgbPicture& picture, std::int64_t nanoseconds)
{
    if (_firstNanoseconds < 0) {
        _firstNanoseconds = nanoseconds;
    }
    const std::int64_t ticks =
        av_rescale_q(nanoseconds - _firstNanoseconds, AVRational{1, 1000000000}, _encoder->time_base);
    _lastTicks = std::max(ticks, _lastTicks + 1);
    check(av_frame_make_writable(_frame.get()));
    libyuv::RAWToI420(picture.pixels.data(), picture.strideBytes(), _frame->data[0], _frame->linesize[0],
                      _frame->data[1], _frame->linesize[1], _frame->data[2], _frame->linesize[2], picture.width,
                      picture.height);
    _frame->pts = _lastTicks;
    encode(_frame.get());
}

void Mp4Writer::encode(const AVFrame* picture)
{
    check(avcodec_send_frame(_encoder.get(), picture));
    for (;;) {
        const int status = avcodec_receive_packet(_encoder.get(), _packet.get());
        if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) {
            return;
        }
        check(status);
        if (_packet->duration == 0) {
            _packet->duration = av_rescale_q(1, av_inv_q(_encoder->framerate), _encoder->time_base);
        }
        av_packet_rescale_ts(_packet.get(), _encoder->time_base, _container->streams[0]->time_base);
        _packet->stream_index = 0;
        // The fragment begins at the picture's own time, not where the one before was expected to end.
        check(av_opt_set(_container->priv_data, "movflags", "+frag_discont", 0));
        check(av_write_frame(_container, _packet.get()));
        check(av_write_frame(_container, nullptr)); // ends the fragment
        avio_flush(_container->pb);
        // Writes are buffered, so a full disk is noticed here, not in the call above.
        check(_container->pb->error);
    }
}

void Mp4Writer::finish()
{
    if (!_open) {
        return;
    }
    _open = false;
    encode(nullptr);
    check(av_write_trailer(_container));
    avio_flush(_container->pb);
    const int written = _container->pb->error;
    const int closed = avio_closep(&_container->pb);
    check(written < 0 ? written : closed);
}

} // namespace camera::video
