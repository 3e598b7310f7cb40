#include "camera/video/OpenSource.h"

#include "camera/video/Scene.h"
#include "camera/video/Timestamp.h"
#include "camera/video/VideoInput.h"

#include <algorithm>
#include <cmath>

namespace camera::video {

namespace {

/// A source whose times are moved so that they come after another run's. Ends when told to stop.
class ContinuedSource final : public FrameSource {
public:
    ContinuedSource(std::unique_ptr<FrameSource> source, const SourceOptions& options)
        : source(std::move(source)), options(options)
    {
    }

    std::optional<Frame> next() override
    {
        if (options.stop != nullptr && options.stop->load()) {
            return std::nullopt;
        }
        std::optional<Frame> frame = source->next();
        if (frame) {
            if (!shift) {
                const std::int64_t earliest = options.notBefore + std::llround(1e9 / framesPerSecond());
                shift = options.notBefore == 0 ? 0 : std::max<std::int64_t>(earliest - nanosecondsOf(*frame), 0);
            }
            stamp(*frame, nanosecondsOf(*frame) + *shift);
        }
        return frame;
    }

    int width() const override { return source->width(); }
    int height() const override { return source->height(); }
    double framesPerSecond() const override { return source->framesPerSecond(); }

private:
    std::unique_ptr<FrameSource> source;
    SourceOptions options;
    std::optional<std::int64_t> shift;
};

std::unique_ptr<FrameSource> openPlain(const std::string& input, const SourceOptions& options)
{
    if (isSceneUrl(input)) {
        SceneParameters parameters = parseSceneParameters(input);
        if (options.loop) {
            parameters.frames = 0;
        }
        return std::make_unique<Scene>(parameters);
    }
    VideoInputOptions videoOptions;
    videoOptions.loop = options.loop;
    videoOptions.stop = options.stop;
    return std::make_unique<VideoInput>(input, videoOptions);
}

} // namespace

std::unique_ptr<FrameSource> openSource(const std::string& input, const SourceOptions& options)
{
    return std::make_unique<ContinuedSource>(openPlain(input, options), options);
}

} // namespace camera::video
