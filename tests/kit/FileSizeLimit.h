#pragma once

#include <csignal>
#include <sys/resource.h>

namespace kit {

/// As long as it lives no file of this process grows beyond a size: what a full disk does, without one.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : _handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &_before);
        const rlimit limit = {bytes, _before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &_before);
        std::signal(SIGXFSZ, _handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit _before{};
    void (*_handler)(int);
};

} // namespace kit
