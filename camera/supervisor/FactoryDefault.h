#pragma once

#include <filesystem>

namespace camera::supervisor {

// The way of a state folder back to what a camera begins with: what its processes have stored is removed, and the
// factory configuration is due again. It stays the camera that it is: model, engine modules, recorded frames and the
// time of the last frame.
//
// Soft keeps the presets, damaged files and all that the gateway stores, which keeps its own rules. Hard keeps none of
// these.

/// Notes it in the folder: a camera that is killed finishes it at its next start.
/// @throws std::runtime_error with one sentence.
void beginFactoryDefault(const std::filesystem::path& stateDir, bool hard);

/// Does what is noted, if anything is. No process of the camera works on the folder any more, or each of them ends
/// soon.
/// @throws std::exception with one sentence; the next call does all of it again.
void finishFactoryDefault(const std::filesystem::path& stateDir);

} // namespace camera::supervisor
