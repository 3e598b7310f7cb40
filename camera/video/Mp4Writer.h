#pragma once

#include "camera/video/Libav.h"
#include "camera/video/RgbPicture.h"

#include <cstdint>
#include <string>

namespace camera::video {

/// Writes pictures as a fragmented MP4 video: H.264 where libavcodec has the encoder, else MPEG-4. The file plays at
/// any moment, up to the last picture added, also when the process dies. Thread-bound.
class Mp4Writer {
public:
    /// @param encoderName for tests: one encoder instead of the choice above.
    /// @param descriptor not negative: the file, which is empty; borrowed, and not opened by its name.
    /// @throws std::runtime_error with one sentence naming the file.
    Mp4Writer(const std::string& path, int width, int height, double framesPerSecond,
              const std::string& encoderName = "", int descriptor = -1);

    /// Closes the file as it is, unless finish() was called.
    ~Mp4Writer();
    Mp4Writer(const Mp4Writer&) = delete;
    Mp4Writer& operator=(const Mp4Writer&) = delete;

    /// Adds a picture of the size given at the start. Times may begin anywhere and must grow; one that
    /// does not is moved to just after the one before.
    /// @throws std::runtime_error with one sentence, as when the disk is full.
    void add(const RgbPicture& picture, std::int64_t nanoseconds);

    /// Completes the file. Nothing can be added afterwards. @throws as add().
    void finish();

private:
    [[noreturn]] void fail(int status) const;
    void check(int status) const;
    void openEncoder(int width, int height, double framesPerSecond, const std::string& encoderName);
    void openFile(int descriptor);
    void writeHeader();
    void encode(const AVFrame* frame);

    std::string _path;
    AVFormatContext* _container = nullptr;
    CodecPtr _encoder;
    FramePtr _frame;
    PacketPtr _packet;
    std::int64_t _firstNanoseconds = -1;
    std::int64_t _lastTicks = -1;
    bool _open = false;
};

} // namespace camera::video
