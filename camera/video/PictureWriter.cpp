#include "camera/video/PictureWriter.h"

#include "camera/base/Text.h"
#include "camera/video/Libav.h"
#include "camera/video/LibavLog.h"
#include "camera/video/Yuv.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace camera::video {

namespace {

[[noreturn]] void fail(const std::string& path, const std::string& why)
{
    throw std::runtime_error("cannot write the picture '" + path + "': " + why +
                             "; name a file in a folder that can be written and has room.");
}

constexpr int kJpegQuality = 3; // 2 is the best, 31 the worst

bool isJpeg(const std::string& path)
{
    return base::endsIn(path, {".jpg", ".jpeg"});
}

CodecPtr openEncoder(const RgbPicture& picture, const std::string& path)
{
    const bool jpeg = isJpeg(path);
    const AVCodec* codec = avcodec_find_encoder(jpeg ? AV_CODEC_ID_MJPEG : AV_CODEC_ID_PNG);
    if (codec == nullptr) {
        fail(path, std::string("libavcodec has no encoder for ") + (jpeg ? "JPEG" : "PNG"));
    }
    CodecPtr encoder(avcodec_alloc_context3(codec));
    encoder->width = picture.width;
    encoder->height = picture.height;
    encoder->pix_fmt = jpeg ? AV_PIX_FMT_YUVJ420P : AV_PIX_FMT_RGB24;
    if (jpeg) {
        encoder->flags |= AV_CODEC_FLAG_QSCALE;
        encoder->global_quality = kJpegQuality * FF_QP2LAMBDA;
    }
    encoder->time_base = AVRational{1, 25};
    const int status = avcodec_open2(encoder.get(), codec, nullptr);
    if (status < 0) {
        fail(path, libavStatusText(status));
    }
    return encoder;
}

void fill(AVFrame& frame, const RgbPicture& picture)
{
    if (frame.format == AV_PIX_FMT_YUVJ420P) {
        libyuv::RAWToJ420(picture.pixels.data(), picture.strideBytes(), frame.data[0], frame.linesize[0], frame.data[1],
                          frame.linesize[1], frame.data[2], frame.linesize[2], picture.width, picture.height);
        return;
    }
    for (int y = 0; y < picture.height; ++y) {
        std::memcpy(frame.data[0] + static_cast<std::ptrdiff_t>(y) * frame.linesize[0], picture.at(0, y),
                    static_cast<std::size_t>(picture.strideBytes()));
    }
}

PacketPtr encode(const RgbPicture& picture, const std::string& path)
{
    const CodecPtr encoder = openEncoder(picture, path);
    const FramePtr frame(av_frame_alloc());
    PacketPtr packet(av_packet_alloc());
    if (frame == nullptr || packet == nullptr) {
        throw std::bad_alloc();
    }
    frame->format = encoder->pix_fmt;
    frame->width = picture.width;
    frame->height = picture.height;
    int status = av_frame_get_buffer(frame.get(), 0);
    if (status >= 0) {
        fill(*frame, picture);
        frame->quality = encoder->global_quality;
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

void writePicture(const RgbPicture& picture, const std::string& path, int descriptor)
{
    const PacketPtr packet = encode(picture, path);
    std::FILE* file =
        descriptor < 0 ? std::fopen(path.c_str(), "wb") : ::fdopen(::fcntl(descriptor, F_DUPFD_CLOEXEC, 0), "wb");
    if (file == nullptr) {
        fail(path, std::strerror(errno));
    }
    const auto size = static_cast<std::size_t>(packet->size);
    int error = std::fwrite(packet->data, 1, size, file) == size ? 0 : errno;
    if (std::fclose(file) != 0 && error == 0) {
        error = errno;
    }
    if (error != 0) {
        if (descriptor < 0) {
            std::remove(path.c_str());
        } else {
            [[maybe_unused]] const int emptied = ::ftruncate(descriptor, 0);
        }
        fail(path, std::strerror(error));
    }
}

} // namespace camera::video
