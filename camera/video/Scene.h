#pragma once

#include "camera/base/SceneParameters.h"
#include "camera/video/FramePool.h"
#include "camera/video/FrameSource.h"

#include <cstdint>
#include <string>
#include <vector>

namespace camera::video {

/// Where an object really is: the tight box of its pixels, right and bottom exclusive through width and height.
struct TruthBox {
    int id = 0; ///< the same object keeps it for the whole scene
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
};

class SceneBackground;
class SceneNoise;
class SceneObject;

/**
 * A generated picture of which everything is known: objects that move on their own lanes over a textured
 * background, with the disturbances a real place has. Deterministic: pixels and truth depend on the parameters
 * alone, times too when a start is given. Thread-bound.
 */
class Scene final : public FrameSource {
public:
    explicit Scene(const base::SceneParameters& parameters);

    /// @throws std::runtime_error for a refused parameter, see base::parseSceneParameters().
    explicit Scene(const std::string& url);

    ~Scene() override;

    std::optional<Frame> next() override;
    int width() const override { return _parameters.width; }
    int height() const override { return _parameters.height; }
    double framesPerSecond() const override { return _parameters.framesPerSecond; }

    /// The objects of the last frame, in the order of their numbers; empty before the first one.
    const std::vector<TruthBox>& truth() const { return _boxes; }

private:
    bool objectsVisible() const;
    double lightGain() const;
    void paintObjects(Frame& frame);

    base::SceneParameters _parameters;
    FramePool _pool;
    std::unique_ptr<SceneBackground> _background;
    std::unique_ptr<SceneNoise> _noise;
    std::vector<SceneObject> _objects;
    std::vector<TruthBox> _boxes;
    std::int64_t _startNanoseconds = 0;
    std::int64_t _frameNumber = 0; ///< of the frame that next() makes
};

} // namespace camera::video
