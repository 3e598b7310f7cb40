#include "camera/video/OpenSource.h"

#include "camera/video/Scene.h"
#include "camera/video/Timestamp.h"
#include "camera/video/VideoInput.h"

#include <algorithm>
#include <cmath>

namespace camera::video {

namespace {

/// A source whose times are shifted to be later than those of the previous run. Ends when the stop flag is set.
class ContinuedSource final : public FrameSource {
public:
    ContinuedSource(std::unique_ptr<FrameSource> source, const SourceOptions& options)
        : _source(std::move(source)), _options(options)
    {
    }

    std::optional<Frame> next() override
    {
        if (_options.stop != nullptr && _options.stop->load()) {
            return std::nullopt;
        }
        std::optional<Frame> frame = _source->next();
        if (frame) {
            if (!_shift) {
                const std::int64_t earliest = _options.notBefore + std::llround(1e9 / framesPerSecond());
                _shift = _options.notBefore == 0 ? 0 : std::max<std::int64_t>(earliest - nanosecondsOf(*frame), 0);
            }
            stamp(*frame, nanosecondsOf(*frame) + *_shift);
        }
        return frame;
    }

    int width() const override { return _source->width(); }
    int height() const override { return _source->height(); }
    double framesPerSecond() const override { return _source->framesPerSecond(); }

private:
    std::unique_ptr<FrameSource> _source;
    SourceOptions _options;
    std::optional<std::int64_t> _shift;
};

std::unique_ptr<FrameSource> openPlain(const std::string& input, const SourceOptions& options)
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
    return std::make_unique<VideoInput>(input, videoOptions);
}

} // namespace

std::unique_ptr<FrameSource> openSource(const std::string& input, const SourceOptions& options)
{
    return std::make_unique<ContinuedSource>(openPlain(input, options), options);
}

} // namespace camera::video
