#pragma once

#include "camera/video/FrameSource.h"
#include "camera/video/OpenSource.h"
#include "camera/video/View.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace camera::video {

/**
 * A source whose times are later than those of the previous run, and that waits for a live source that went away.
 *
 * A live source that ends or fails is opened again after a pause of 1 s, then 2, 4 and so on up to 30. Its pictures
 * come in the size that they had at first, and the times go on by the clock. Ends when the run is stopped.
 * Thread-bound.
 */
class ContinuedSource final : public FrameSource {
public:
    /// @param size  what the pictures are scaled to; 0x0: as they are. @throws std::runtime_error with one sentence.
    using Open = std::function<std::unique_ptr<FrameSource>(PictureSize size)>;

    /// @throws std::runtime_error with one sentence when the source cannot be opened and is not waited for, or the run
    ///         was stopped meanwhile.
    /// @param clockStep  by how much times have to be later because the clock was set, asked when it was opened again.
    ContinuedSource(std::string name, Open open, std::function<std::int64_t()> clockStep, SourceOptions options);

    std::optional<Frame> next() override;
    int width() const override { return _size.width; }
    int height() const override { return _size.height; }
    double framesPerSecond() const override { return _framesPerSecond; }
    bool live() const override { return _live; }

private:
    bool stopped() const;
    std::optional<Frame> read();
    void stampLater(Frame& frame);
    void tryToOpen();
    void waitAndOpen();
    void pause(std::chrono::seconds length);
    std::int64_t timeByTheClock() const;

    const std::string _name;
    const Open _open;
    const SourceOptions _options;
    const std::function<std::int64_t()> _clockStep;
    std::unique_ptr<FrameSource> _source; ///< null: it is gone
    PictureSize _size;
    double _framesPerSecond = 0;
    bool _live = false;
    std::string _reason; ///< why it is gone
    bool _beganAgain = false;
    bool _shiftKnown = false;
    std::int64_t _shift = 0;
    std::int64_t _lastTime;       ///< of the last frame
    std::int64_t _lastSteady = 0; ///< when it came
};

} // namespace camera::video
