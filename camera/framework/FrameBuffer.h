#pragma once

#include "camera/video/Frame.h"

#include "korva/meridan/Buffer.h"
#include "korva/meridan/BufferFormat.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace camera::framework {

/// "width", "height" and "bytesPerRow" of one picture; any other key is 0. Reentrant.
class ImageFormat final : public korva::meridan::BufferFormat {
public:
    explicit ImageFormat(const video::Frame& frame)
        : _width(frame.width), _height(frame.height), _bytesPerRow(frame.strideBytes)
    {
    }
    std::int32_t GetInt(const std::string& key) const override;

private:
    std::int32_t _width;
    std::int32_t _height;
    std::int32_t _bytesPerRow;
};

/**
 * A buffer over one frame. It holds a reference to the frame's pixels, so others that hold one keep
 * seeing them after the buffer is gone. Without pixels it is an empty, signalling buffer.
 */
class FrameBuffer final : public korva::meridan::Buffer {
public:
    FrameBuffer(); ///< empty
    explicit FrameBuffer(video::Frame frame);
    ~FrameBuffer() override;
    FrameBuffer(const FrameBuffer&) = delete;
    FrameBuffer& operator=(const FrameBuffer&) = delete;

    std::size_t GetLength() const override { return _frame.data ? _frame.sizeBytes : 0; }
    const korva::meridan::BufferFormat& GetFormat() const override { return _format; }
    std::uint8_t* GetData() const override { return _frame.data.get(); }
    const std::uint32_t* GetTimestamp() const override { return _timestamp; }

    /// The number of buffers in this process; tests find with it one that was never given back.
    static std::size_t alive();

private:
    video::Frame _frame;
    ImageFormat _format;
    std::uint32_t _timestamp[2];
};

} // namespace camera::framework
