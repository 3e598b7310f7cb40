#include "korva/meridan/MetadataTransmitter.h"

#include "kit/FakePlatform.h"
#include "kit/Journal.h"

int kit::FakeTransmitter::notReturned() const
{
    return drawingLent + motionLent - static_cast<int>(drawingReturned.size() + motionReturned.size());
}

namespace korva::meridan {

using kit::journal;
using kit::Part;
using kit::platform;

MetadataTransmitter& MetadataTransmitter::instance()
{
    static MetadataTransmitter transmitter;
    return transmitter;
}

std::uint8_t* MetadataTransmitter::GetEmptyDrawingBuffer()
{
    platform().reached("getEmptyDrawingBuffer");
    kit::FakeTransmitter& fake = platform().transmitter;
    journal().add(Part::Transmitter, "getEmptyDrawingBuffer", fake.lendsDrawing ? "" : " -> null");
    ++fake.drawingLent;
    return fake.lendsDrawing ? fake.drawing.data() : nullptr;
}

std::uint8_t* MetadataTransmitter::GetEmptyMotionBuffer()
{
    platform().reached("getEmptyMotionBuffer");
    kit::FakeTransmitter& fake = platform().transmitter;
    journal().add(Part::Transmitter, "getEmptyMotionBuffer", fake.lendsMotion ? "" : " -> null");
    ++fake.motionLent;
    return fake.lendsMotion ? fake.motion.data() : nullptr;
}

std::uint32_t MetadataTransmitter::GetMaxBufferSize() const
{
    journal().add(Part::Transmitter, "getMaxBufferSize");
    return platform().transmitter.maxBufferSize;
}

void MetadataTransmitter::ReturnFullDrawingBuffer(unsigned int usedBytes)
{
    journal().add(Part::Transmitter, "returnFullDrawingBuffer ", usedBytes);
    if (journal().recording()) {
        platform().transmitter.drawingReturned.push_back(usedBytes);
    }
}

void MetadataTransmitter::ReturnFullMotionBuffer(unsigned int usedBytes)
{
    journal().add(Part::Transmitter, "returnFullMotionBuffer ", usedBytes);
    if (journal().recording()) {
        platform().transmitter.motionReturned.push_back(usedBytes);
    }
}

} // namespace korva::meridan
