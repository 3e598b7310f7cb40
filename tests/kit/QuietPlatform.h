#pragma once

namespace kit {

/// Puts host-seam back to a camera that can move and has every device service, without a journal: for tests that count
/// or bound what the plug-in does. Log lines are rendered, so that a wrong pointer shows, and dropped.
void resetQuietly();

} // namespace kit
