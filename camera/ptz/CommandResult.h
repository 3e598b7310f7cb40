#pragma once

#include <string>

namespace camera::ptz {

/// Who moves a camera. A lower number is more important.
struct Commander {
    std::string user;
    unsigned int priority = 100;
};

constexpr unsigned int kOperatorPriority = 100;
constexpr unsigned int kTourPriority = 400;
constexpr unsigned int kEnginePriority = 500;

enum class CommandStatus {
    done,
    fixedCamera,   ///< this camera cannot move
    unknownPreset, ///< there is no preset of that name
    unknownTour,   ///< there is no tour of that name
    nameTaken,     ///< another preset has that name
    badName,       ///< empty, too long, or with control characters
    outOfLimits,   ///< beyond what an axis can do
    badRequest,    ///< a command that means nothing: no axis, a speed above 100 percent, a tour without stops
    held,          ///< a more important user holds the camera
    notRunning,    ///< no tour runs, or it is not paused
    tooMany,       ///< the list is full
    notStored,     ///< it could not be stored, so nothing has changed
    badDocument,   ///< a stored state that cannot be used
};

/// How a command ended, with one sentence for a person; the sentence is empty when it was done.
struct CommandResult {
    CommandStatus status = CommandStatus::done;
    std::string sentence;

    bool ok() const { return status == CommandStatus::done; }
    explicit operator bool() const { return ok(); }
};

} // namespace camera::ptz
