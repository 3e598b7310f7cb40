// The frame path.

#include "korva/meridan/Buffer.h"
#include "korva/meridan/BufferFormat.h"
#include "korva/meridan/MetadataTransmitter.h"
#include "korva/meridan/PositioningManager.h"
#include "korva/meridan/Source.h"
#include "plugin/DetectionPlugin.h"
#include "plugin/analytics/IOnvifAnalytics.h"
#include "plugin/analytics/frame_utils.h"
#include "ptz/SaturatingCast.h"
#include "ravel/logging.h"
#include "target/OnvifTarget.h"

#include <cstdlib>

namespace korva::meridan {

using analytics_lib::YuvFrame;

namespace {

// Built once: a frame allocates nothing.
const std::string kWidth("width");
const std::string kHeight("height");
const std::string kBytesPerRow("bytesPerRow");

std::uint64_t signExtended(std::int32_t value)
{
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
}

// The sides' ratio gives the vertical angle; single precision, as engines were tuned with.
std::uint32_t verticalAngle(const YuvFrame& frame)
{
    const float product = static_cast<float>(frame.horizontalAngleOfView) * static_cast<float>(frame.height);
    return toUnsigned(static_cast<double>(product / static_cast<float>(frame.width)));
}

void stampPosition(YuvFrame& frame)
{
    PositioningManager& positioning = PositioningManager::instance();
    if (!positioning.isAvailable()) {
        return;
    }
    positioning.getCurrentPosition(frame.pan, frame.tilt, frame.zoom, frame.horizontalAngleOfView);
    if (frame.width != 0) {
        frame.verticalAngleOfView = verticalAngle(frame);
    }
}

YuvFrame describe(const Buffer& buffer)
{
    const std::int32_t width = buffer.GetFormat().GetInt(kWidth);
    const std::int32_t height = buffer.GetFormat().GetInt(kHeight);
    const std::int32_t bytesPerRow = buffer.GetFormat().GetInt(kBytesPerRow);
    YuvFrame frame;
    frame.timestamp[0] = buffer.GetTimestamp()[0];
    frame.timestamp[1] = buffer.GetTimestamp()[1];
    frame.data = buffer.GetData();
    frame.width = signExtended(width);
    frame.height = signExtended(height);
    frame.bytesPerRow = static_cast<std::uint32_t>(bytesPerRow);
    stampPosition(frame);
    return frame;
}

MetadataBuffers borrowOutputs()
{
    MetadataTransmitter& transmitter = MetadataTransmitter::instance();
    MetadataBuffers outputs;
    outputs.drawingBuffer = transmitter.GetEmptyDrawingBuffer();
    outputs.motionBuffer = transmitter.GetEmptyMotionBuffer();
    outputs.drawingBufferSize = transmitter.GetMaxBufferSize();
    outputs.motionBufferSize = transmitter.GetMaxBufferSize();
    return outputs;
}

/// @return whether upright holds a new image; any other angle leaves it as the source is.
bool rotate(unsigned int degrees, const YuvFrame& source, YuvFrame& upright)
{
    switch (degrees) {
    case 90:
        analytics_lib::frame_utils::YUV420SemiPlanar_Rotate90(source, upright);
        return true;
    case 180:
        analytics_lib::frame_utils::YUV420SemiPlanar_Rotate180(source, upright);
        return true;
    case 270:
        analytics_lib::frame_utils::YUV420SemiPlanar_Rotate270(source, upright);
        return true;
    default:
        return false;
    }
}

} // namespace

void DetectionPlugin::OnBuffer(const Sink* /*sink*/, Buffer* buffer)
{
    if (buffer->GetLength() == 0) {
        _source->PushBuffer(buffer);
        return;
    }
    const std::unique_ptr<Buffer> owned(buffer);
    analyse(describe(*buffer));
}

void DetectionPlugin::analyse(const YuvFrame& source)
{
    MetadataBuffers outputs = borrowOutputs();
    const unsigned int orientation = _onvifTarget->getFrameOrientation();
    YuvFrame upright = source;
    const bool rotated = rotate(orientation, source, upright);

    std::uint32_t drawingTotal = 0;
    callEngines(upright, outputs, drawingTotal);
    if (rotated) {
        std::free(upright.data);
    }
    MetadataTransmitter::instance().ReturnFullDrawingBuffer(drawingTotal);
    MetadataTransmitter::instance().ReturnFullMotionBuffer(outputs.motionBufferUsed);
    sendMetadata(outputs.metadataXml);
}

// Drawing data lie one after another, yet every engine is told the full size: the transmitter lends
// enough for all. Motion data and metadata are the engines' to append to.
void DetectionPlugin::callEngines(const YuvFrame& frame, MetadataBuffers& outputs, std::uint32_t& drawingTotal)
{
    for (const auto& engine : _analyticsLibs) {
        if (!engine->onFrame(frame, outputs)) {
            ravel_core_logging_log(_logHandle, RAVEL_CORE_LOG_ERROR, "detection OnBuffer onFrame false");
        }
        drawingTotal += outputs.drawingBufferUsed;
        outputs.drawingBuffer += outputs.drawingBufferUsed;
        outputs.drawingBufferUsed = 0;
    }
}

} // namespace korva::meridan
