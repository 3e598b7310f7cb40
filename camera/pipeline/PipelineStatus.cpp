#include "camera/pipeline/PipelineStatus.h"

#include "camera/pipeline/Device.h"
#include "camera/pipeline/RunReport.h"

namespace camera::pipeline {

PipelineStatus pipelineStatus(Device& device, const RunReport& report)
{
    const Statistics statistics = device.statistics();
    const RunReport::Now now = report.now();
    PipelineStatus status;
    status.frames = statistics.frames;
    status.framesFailed = statistics.framesFailed;
    status.framesPerSecond = now.framesPerSecond;
    status.longestFrameMs = now.longestFrameMilliseconds;
    status.events = statistics.events;
    status.eventsDropped = statistics.eventsDropped;
    status.documents = statistics.documents;
    status.documentsDropped = statistics.documentsDropped;
    status.controlFailures = statistics.controlFailures;
    status.sourceGone = report.isSourceGone();
    status.sourceLosses = report.sourceLosses();
    return status;
}

} // namespace camera::pipeline
