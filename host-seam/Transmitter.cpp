#include "korva/meridan/MetadataTransmitter.h"

#include "host-seam/Journal.h"
#include "host-seam/Platform.h"

int host_seam::Transmitter::notReturned() const
{
    return drawingGiven + motionGiven - static_cast<int>(drawingReturned.size() + motionReturned.size());
}

namespace korva::meridan {

using host_seam::journal;
using host_seam::Journal;
using host_seam::Part;
using host_seam::platform;

MetadataTransmitter& MetadataTransmitter::instance()
{
    static MetadataTransmitter transmitter;
    return transmitter;
}

std::uint8_t* MetadataTransmitter::GetEmptyDrawingBuffer()
{
    host_seam::Transmitter& fake = platform().transmitter;
    if (Journal::recording()) {
        platform().reached("getEmptyDrawingBuffer");
        journal().add(Part::Transmitter, "getEmptyDrawingBuffer", fake.givesDrawing ? "" : " -> null");
    }
    ++fake.drawingGiven;
    return fake.givesDrawing ? fake.drawing.data() : nullptr;
}

std::uint8_t* MetadataTransmitter::GetEmptyMotionBuffer()
{
    host_seam::Transmitter& fake = platform().transmitter;
    if (Journal::recording()) {
        platform().reached("getEmptyMotionBuffer");
        journal().add(Part::Transmitter, "getEmptyMotionBuffer", fake.givesMotion ? "" : " -> null");
    }
    ++fake.motionGiven;
    return fake.givesMotion ? fake.motion.data() : nullptr;
}

std::uint32_t MetadataTransmitter::GetMaxBufferSize() const
{
    if (Journal::recording()) {
        platform().reached("getMaxBufferSize");
        journal().add(Part::Transmitter, "getMaxBufferSize");
    }
    host_seam::Transmitter& fake = platform().transmitter;
    const std::uint32_t size = fake.maxBufferSize;
    if (fake.sizeStep != 0) {
        fake.maxBufferSize += fake.sizeStep;
    }
    return size;
}

void MetadataTransmitter::ReturnFullDrawingBuffer(unsigned int usedBytes)
{
    if (Journal::recording()) {
        platform().reached("returnFullDrawingBuffer");
        journal().add(Part::Transmitter, "returnFullDrawingBuffer ", usedBytes);
        platform().transmitter.drawingReturned.push_back(usedBytes);
    }
}

void MetadataTransmitter::ReturnFullMotionBuffer(unsigned int usedBytes)
{
    if (Journal::recording()) {
        platform().reached("returnFullMotionBuffer");
        journal().add(Part::Transmitter, "returnFullMotionBuffer ", usedBytes);
        platform().transmitter.motionReturned.push_back(usedBytes);
    }
}

} // namespace korva::meridan
