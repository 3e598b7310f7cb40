#include "camera/video/OpenSource.h"

#include "camera/video/ContinuedSource.h"
#include "camera/video/Scene.h"
#include "camera/video/VideoInput.h"

#include <utility>

namespace camera::video {

namespace {

std::unique_ptr<FrameSource> openPlain(const std::string& input, const SourceOptions& options,
                                       const std::function<std::int64_t()>& clockStep, PictureSize size)
{
    if (base::isSceneUrl(input)) {
        base::SceneParameters parameters = base::parseSceneParameters(input);
        if (options.loop) {
            parameters.frames = 0;
        }
        return std::make_unique<Scene>(parameters);
    }
    VideoInputOptions videoOptions;
    videoOptions.loop = options.loop;
    videoOptions.stop = options.stop;
    videoOptions.clockStep = clockStep;
    videoOptions.size = size;
    videoOptions.tell = options.tell;
    return std::make_unique<VideoInput>(input, videoOptions);
}

} // namespace

std::unique_ptr<FrameSource> openSource(const std::string& input, const SourceOptions& options)
{
    const auto steps = std::make_shared<ClockSteps>(options.clock, options.tell);
    const auto clockStep = [steps, options]() -> std::int64_t {
        const std::int64_t step = options.followClock ? steps->take() : 0;
        if (step != 0) {
            options.stepped(step);
        }
        return step;
    };
    const auto open = [input, options, clockStep](PictureSize size) {
        return openPlain(input, options, clockStep, size);
    };
    return std::make_unique<ContinuedSource>(input, open, clockStep, options);
}

} // namespace camera::video
