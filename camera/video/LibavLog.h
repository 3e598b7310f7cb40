#pragma once

#include <string>

namespace camera::video {

/**
 * Takes the libav libraries' log away from stderr, for the whole process. With loud set its warnings and
 * errors are printed there, one line each, marked with "libav".
 */
void routeLibavLog(bool loud);

/// The last error line that libav logged on this thread since clearLibavError(); empty when there was none.
std::string lastLibavError();
void clearLibavError();

/// What a libav status means, as a phrase: "Connection refused".
std::string libavStatusText(int status);

} // namespace camera::video
