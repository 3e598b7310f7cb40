#include "camera/video/PngWriter.h"

#include "camera/video/Libav.h"
#include "camera/video/LibavLog.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace camera::video {

namespace {

[[noreturn]] void fail(const std::string& path, const std::string& why)
{
    throw std::runtime_error("cannot write the picture '" + path + "': " + why +
                             "; name a file in a folder that can be written and has room.");
}

CodecPtr openEncoder(const RgbPicture& picture, const std::string& path)
{
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_PNG);
    if (codec == nullptr) {
        fail(path, "libavcodec has no PNG encoder");
    }
    CodecPtr encoder(avcodec_alloc_context3(codec));
    encoder->width = picture.width;
    encoder->height = picture.height;
    encoder->pix_fmt = AV_PIX_FMT_RGB24;
    encoder->time_base = AVRational{1, 25};
    const int status = avcodec_open2(encoder.get(), codec, nullptr);
    if (status < 0) {
        fail(path, libavStatusText(status));
    }
    return encoder;
}

PacketPtr encode(const RgbPicture& picture, const std::string& path)
{
    const CodecPtr encoder = openEncoder(picture, path);
    const FramePtr frame(av_frame_alloc());
    PacketPtr packet(av_packet_alloc());
    if (frame == nullptr || packet == nullptr) {
        throw std::bad_alloc();
    }
    frame->format = AV_PIX_FMT_RGB24;
    frame->width = picture.width;
    frame->height = picture.height;
    int status = av_frame_get_buffer(frame.get(), 0);
    for (int y = 0; status >= 0 && y < picture.height; ++y) {
        std::memcpy(frame->data[0] + static_cast<std::ptrdiff_t>(y) * frame->linesize[0], picture.at(0, y),
                    static_cast<std::size_t>(picture.strideBytes()));
    }
    if (status >= 0) {
        status = avcodec_send_frame(encoder.get(), frame.get());
    }
    if (status >= 0) {
        status = avcodec_receive_packet(encoder.get(), packet.get());
    }
    if (status < 0) {
        fail(path, libavStatusText(status));
    }
    return packet;
}

} // namespace

void writePng(const RgbPicture& picture, const std::string& path)
{
    const PacketPtr packet = encode(picture, path);
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        fail(path, std::strerror(errno));
    }
    const auto size = static_cast<std::size_t>(packet->size);
    int error = std::fwrite(packet->data, 1, size, file) == size ? 0 : errno;
    if (std::fclose(file) != 0 && error == 0) {
        error = errno;
    }
    if (error != 0) {
        std::remove(path.c_str());
        fail(path, std::strerror(error));
    }
}

} // namespace camera::video
