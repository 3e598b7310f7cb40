#pragma once

#include "camera/kit/DrawingFormat.h"
#include "plugin/analytics/MetadataBuffers.h"

namespace camera::engines {

/// Writes this engine's drawing data. Earlier engines have advanced the pointer behind their own data.
template <typename Write>
void writeDrawing(MetadataBuffers& outputs, Write write)
{
    kit::DrawingWriter writer(outputs.drawingBuffer, outputs.drawingBufferSize);
    write(writer);
    outputs.drawingBufferUsed = static_cast<std::uint32_t>(writer.usedBytes());
}

/// Appends motion data behind what the engines before wrote.
template <typename Write>
void writeMotion(MetadataBuffers& outputs, Write write)
{
    if (outputs.motionBuffer == nullptr || outputs.motionBufferUsed > outputs.motionBufferSize) {
        return;
    }
    kit::DrawingWriter writer(outputs.motionBuffer + outputs.motionBufferUsed,
                              outputs.motionBufferSize - outputs.motionBufferUsed);
    write(writer);
    outputs.motionBufferUsed += static_cast<std::uint32_t>(writer.usedBytes());
}

} // namespace camera::engines
