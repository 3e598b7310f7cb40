#include "camera/bus/Address.h"

#include "camera/base/FileDescriptor.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace camera::bus {

namespace {

constexpr const char* kUnixPath = "unix:path=";

std::string unescaped(const std::string& text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size()) {
            result += static_cast<char>(std::strtoul(text.substr(i + 1, 2).c_str(), nullptr, 16));
            i += 2;
        } else {
            result += text[i];
        }
    }
    return result;
}

} // namespace

std::string socketPath(const std::string& address)
{
    if (address.compare(0, std::strlen(kUnixPath), kUnixPath) != 0 || address.find(';') != std::string::npos) {
        return "";
    }
    const std::size_t begin = std::strlen(kUnixPath);
    return unescaped(address.substr(begin, address.find(',') - begin));
}

void requireListener(const std::string& address)
{
    const std::string path = socketPath(address);
    sockaddr_un name{};
    if (path.empty() || path.size() >= sizeof name.sun_path) {
        return;
    }
    name.sun_family = AF_UNIX;
    std::memcpy(name.sun_path, path.c_str(), path.size());
    const base::FileDescriptor probe(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!probe) {
        throw std::system_error(errno, std::generic_category(), "no socket can be opened");
    }
    const int result = ::connect(probe.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name);
    const int error = errno;
    if (result != 0 && error != EAGAIN) { // a listener with a full queue is one
        throw std::system_error(error, std::generic_category(), "nobody listens at " + path);
    }
}

} // namespace camera::bus
