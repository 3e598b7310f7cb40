#pragma once

#include "camera/engines/Foreground.h"
#include "plugin/analytics/ColorYuv.h"
#include "plugin/analytics/YuvFrame.h"

#include <opencv2/video/background_segm.hpp>

#include <optional>
#include <vector>

namespace camera::engines {

/**
 * Tells what moves from what stands. One background per engine.
 *
 * A frame from another place (pan, tilt, zoom or size differ), a gap in time and a change of the
 * whole picture at once, such as a light that is switched, drop the background; it is then learned
 * again for about a second, and during that time the foreground is not known. Slow changes of light
 * are taken out before the comparison.
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

    /// Drops the background when it was last seen more than a moment before.
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
    analytics_lib::YuvFrame _view; ///< of the frame before; its pixels are gone
    std::int64_t _since = 0;       ///< when learning began
    unsigned _frames = 0;          ///< seen since then
    double _gain = 1;              ///< brings the light back to that of the first frame
    cv::Mat _luma;                 ///< the frame, small
    cv::Mat _even;                 ///< the same in the light of the first frame
    cv::Mat _blocks;               ///< mean luma of blocks
    cv::Mat _reference;            ///< the blocks in the light of the first frame
    std::vector<float> _gains;
    cv::Mat _background; ///< the most likely one, in that light; now and then made anew
    std::int64_t _backgroundTime = 0;
    cv::Mat _blanked; ///< 255 where the picture is blanked
};

} // namespace camera::engines
