#include "camera/supervisor/TerminationSignals.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>
#include <sys/signalfd.h>

namespace camera::supervisor {

TerminationSignals::TerminationSignals()
{
    sigset_t taken;
    ::sigemptyset(&taken);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        ::sigaddset(&taken, number);
    }
    _descriptor = base::FileDescriptor(::signalfd(-1, &taken, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!_descriptor) {
        throw std::runtime_error(std::string("signals cannot be waited for: ") + std::strerror(errno));
    }
    ::pthread_sigmask(SIG_BLOCK, &taken, &_before);
}

TerminationSignals::~TerminationSignals()
{
    // Without the mask, a signal that was not taken would end the process before it has ended in order.
    while (take()) {
    }
    ::pthread_sigmask(SIG_SETMASK, &_before, nullptr);
}

std::optional<int> TerminationSignals::take() const
{
    signalfd_siginfo information{};
    if (::read(_descriptor.get(), &information, sizeof information) != static_cast<ssize_t>(sizeof information)) {
        return std::nullopt;
    }
    return static_cast<int>(information.ssi_signo);
}

} // namespace camera::supervisor
