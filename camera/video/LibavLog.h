#pragma once

#include <string>

namespace camera::video {

/**
 * Takes the log of the libav libraries away from stderr, for the whole process: warnings and errors are information of
 * the component "libav" in the camera's log.
 */
void routeLibavLog();

/// The last error line that libav logged on this thread since clearLibavError(); empty when there was none.
std::string lastLibavError();
void clearLibavError();

/// What a libav status means, as a phrase: "Connection refused".
std::string libavStatusText(int status);

} // namespace camera::video
