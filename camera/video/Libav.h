#pragma once

// The libav headers (C, with the warnings of this tree switched off), and owning pointers for their objects.

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wpedantic"
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavdevice/avdevice.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}
#pragma GCC diagnostic pop

#include <memory>

namespace camera::video {

struct LibavDelete {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(SwsContext* context) const { sws_freeContext(context); }
};

struct DemuxerClose {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};

using FramePtr = std::unique_ptr<AVFrame, LibavDelete>;
using PacketPtr = std::unique_ptr<AVPacket, LibavDelete>;
using CodecPtr = std::unique_ptr<AVCodecContext, LibavDelete>;
using ScalerPtr = std::unique_ptr<SwsContext, LibavDelete>;
using DemuxerPtr = std::unique_ptr<AVFormatContext, DemuxerClose>;

} // namespace camera::video
