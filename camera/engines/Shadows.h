#pragma once

#include <opencv2/core.hpp>

namespace camera::engines {

/**
 * Removes shadows from a foreground. A shadow is a part where the picture is an evenly darker copy of the
 * background. This can be seen only where the background has texture: the texture continues under a
 * shadow and is hidden by an object. On smooth ground nothing is removed, so dark objects stay.
 *
 * All three are 8-bit pictures of one size. Thread: any; reentrant.
 */
void removeShadows(cv::Mat& mask, const cv::Mat& picture, const cv::Mat& background);

} // namespace camera::engines
