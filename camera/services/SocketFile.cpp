#include "camera/services/SocketFile.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>

namespace camera::services {

namespace {

constexpr std::size_t kLongestPathBytes = sizeof(sockaddr_un::sun_path) - 1;
constexpr int kBacklog = 64;

sockaddr_un addressOf(const std::string& path)
{
    if (path.size() > kLongestPathBytes) {
        throw std::runtime_error("the metadata socket " + path + " has a path of " + std::to_string(path.size()) +
                                 " bytes, and a socket's has at most " + std::to_string(kLongestPathBytes) +
                                 "; name a shorter folder with --runtime");
    }
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

base::FileDescriptor openSocket()
{
    base::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (socket.get() < 0) {
        throw std::runtime_error(std::string("no socket can be opened: ") + std::strerror(errno));
    }
    return socket;
}

[[noreturn]] void refuse(const std::string& path, const std::string& reason)
{
    throw std::runtime_error("the metadata socket " + path + " cannot be used: " + reason +
                             "; free it or name another folder with --runtime");
}

} // namespace

SocketFile::SocketFile(const std::filesystem::path& path)
    : _path(std::filesystem::absolute(path).lexically_normal().string()), _listener(openSocket())
{
    addressOf(_path); // checked before anything is made
    makeFolder();
    removeStale();
    listen();
}

SocketFile::~SocketFile()
{
    struct stat now {};
    // Not a file that another process has put in its place.
    if (::lstat(_path.c_str(), &now) == 0 && now.st_dev == _own.st_dev && now.st_ino == _own.st_ino) {
        ::unlink(_path.c_str());
    }
}

void SocketFile::makeFolder() const
{
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(_path).parent_path(), error);
    if (error) {
        refuse(_path, error.message());
    }
}

void SocketFile::removeStale() const
{
    struct stat there {};
    if (::lstat(_path.c_str(), &there) != 0) {
        return;
    }
    if (!S_ISSOCK(there.st_mode)) {
        refuse(_path, "something else has its name");
    }
    if (isListenedTo()) {
        refuse(_path, "another process listens there");
    }
    if (::unlink(_path.c_str()) != 0 && errno != ENOENT) {
        refuse(_path, std::strerror(errno));
    }
}

bool SocketFile::isListenedTo() const
{
    const base::FileDescriptor probe = openSocket();
    const sockaddr_un address = addressOf(_path);
    const int result = ::connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    // Any other error, for instance that of a full queue, can come from a process that listens.
    return result == 0 || (errno != ECONNREFUSED && errno != ENOENT);
}

void SocketFile::listen()
{
    const sockaddr_un address = addressOf(_path);
    if (::bind(_listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        refuse(_path, std::strerror(errno));
    }
    if (::lstat(_path.c_str(), &_own) != 0 || ::chmod(_path.c_str(), S_IRUSR | S_IWUSR) != 0 ||
        ::listen(_listener.get(), kBacklog) != 0) {
        const std::string reason = std::strerror(errno);
        ::unlink(_path.c_str());
        refuse(_path, reason);
    }
}

} // namespace camera::services
