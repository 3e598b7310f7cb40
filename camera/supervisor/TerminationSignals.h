#pragma once

#include "camera/base/FileDescriptor.h"

#include <csignal>
#include <optional>

namespace camera::supervisor {

/**
 * The signals that end a program (SIGINT, SIGTERM, SIGHUP) as a descriptor for poll(). Threads that are started
 * while the object lives do not get these signals either. One object at a time, on the thread that
 * starts the others.
 */
class TerminationSignals {
public:
    /// @throws std::runtime_error when the system gives no descriptor for it.
    TerminationSignals();
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

    /// Readable when a signal came.
    int descriptor() const { return _descriptor.get(); }

    /// The number of a signal that came and was not taken yet.
    std::optional<int> take() const;

private:
    sigset_t _before{};
    base::FileDescriptor _descriptor;
};

} // namespace camera::supervisor
