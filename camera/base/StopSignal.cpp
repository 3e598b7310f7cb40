#include "camera/base/StopSignal.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace camera::base {

namespace {

static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may not lock");

std::atomic<bool> stopFlag{false};

// One pipe for the process, opened by the first object and never closed: a handler that runs on another thread may
// still write when the object has gone, and would write to whatever has the number then.
std::atomic<int> wakeUp{-1};
int wakeUpReader = -1;

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

extern "C" void onStopSignal(int number)
{
    const int before = errno;
    stopFlag = true;
    std::signal(number, SIG_DFL);
    const char byte = 1;
    if (write(wakeUp, &byte, 1) < 0) {
        // a full pipe wakes the waiter as well
    }
    errno = before;
}

} // namespace

StopSignal::StopSignal()
{
    if (wakeUp == -1) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
            throw std::runtime_error("no pipe can be opened; too many files are open.");
        }
        wakeUpReader = ends[0];
        wakeUp = ends[1];
    }
    char earlier[16];
    while (read(wakeUpReader, earlier, sizeof earlier) > 0) {
    }
    stopFlag = false;
    for (const int number : kSignals) {
        struct sigaction action {};
        action.sa_handler = onStopSignal;
        action.sa_flags = SA_RESTART;
        sigaction(number, &action, nullptr);
    }
}

StopSignal::~StopSignal()
{
    for (const int number : kSignals) {
        std::signal(number, SIG_DFL);
    }
}

bool StopSignal::stopped() const
{
    return stopFlag;
}

const std::atomic<bool>& StopSignal::flag() const
{
    return stopFlag;
}

void StopSignal::waitUntil(std::chrono::steady_clock::time_point time) const
{
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - std::chrono::steady_clock::now());
        if (left.count() <= 0 || stopped()) {
            return;
        }
        pollfd waiting{wakeUpReader, POLLIN, 0};
        poll(&waiting, 1, static_cast<int>(std::min<std::int64_t>(left.count(), 60000)));
    }
}

} // namespace camera::base
