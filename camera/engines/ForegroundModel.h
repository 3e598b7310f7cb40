#pragma once

#include "camera/engines/Foreground.h"
#include "plugin/analytics/ColorYuv.h"
#include "plugin/analytics/YuvFrame.h"

#include <opencv2/video/background_segm.hpp>

#include <optional>
#include <vector>

namespace camera::engines {

/**
 * Separates moving pixels (foreground) from still ones (background). Each engine has one model.
 *
 * How it works: the luma plane is scaled down to about 640x360 pixels. Its brightness is corrected to
 * that of the first frame, so that slow changes of light do not count as motion. A mixture of Gaussians
 * (OpenCV's MOG2) then gives the foreground; specks are removed, gaps are closed, and shadows are
 * removed (Shadows.h).
 *
 * The background is dropped and learned again, which takes about a second, when the camera looks
 * elsewhere (pan, tilt, zoom or size differ), after a gap in time, and when the whole picture changes at
 * once, for example because a light is switched. The foreground is unknown until it is learned.
 *
 * Thread: the frame thread.
 */
class ForegroundModel {
public:
    /**
     * @param frame       a checked frame, see usable().
     * @param time        its time on the clock that the analysis goes by.
     * @param sensitivity 0 to 100: how small a difference in brightness counts.
     * @param blanked     pixels of exactly this colour, in patches, are no picture and never move.
     * @return borrowed until the next call.
     */
    const Foreground& update(const analytics_lib::YuvFrame& frame, std::int64_t time, long sensitivity,
                             const std::optional<analytics_lib::ColorYuv>& blanked);

    /// Drops the background, so that the next frame begins to learn it.
    void forget();

    /// Drops the background when the last frame is older than the longest allowed gap.
    void forgetIfOlderThan(std::int64_t time);

    /// Whether the frame has pixels that the analysis can read.
    static bool usable(const analytics_lib::YuvFrame& frame);

private:
    bool sameView(const analytics_lib::YuvFrame& frame) const;
    void scale(const analytics_lib::YuvFrame& frame);
    void begin(std::int64_t time);
    void evenOut(double seconds);
    double lightGain();
    void subtract(double seconds, long sensitivity);
    void findBlanked(const analytics_lib::YuvFrame& frame, const analytics_lib::ColorYuv& colour);
    void clean();

    cv::Ptr<cv::BackgroundSubtractorMOG2> _subtractor; ///< null: nothing is learned
    Foreground _foreground;
    analytics_lib::YuvFrame _view; ///< description of the previous frame; its pixels are no longer valid
    std::int64_t _since = 0;       ///< when learning began
    unsigned _frames = 0;          ///< frames since then
    double _gain = 1;              ///< factor that corrects the brightness to that of the first frame
    cv::Mat _luma;                 ///< the frame, scaled down
    cv::Mat _even;                 ///< the same with corrected brightness
    cv::Mat _blocks;               ///< mean luma of blocks
    cv::Mat _reference;            ///< the blocks of the first frame
    std::vector<float> _gains;
    cv::Mat _background; ///< the most likely background; renewed at intervals
    std::int64_t _backgroundTime = 0;
    cv::Mat _blanked; ///< 255 where the picture is blanked
};

} // namespace camera::engines
