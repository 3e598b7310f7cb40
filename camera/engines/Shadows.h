#pragma once

#include <opencv2/core.hpp>

namespace camera::engines {

/**
 * Takes shadows out of a foreground: where the picture is the background, evenly darker. That shows
 * only where the background has texture, which goes on under a shadow and ends at an object; on
 * smooth ground nothing is taken out, so dark things stay.
 *
 * All three are 8-bit pictures of one size. Thread: any; reentrant.
 */
void removeShadows(cv::Mat& mask, const cv::Mat& picture, const cv::Mat& background);

} // namespace camera::engines
