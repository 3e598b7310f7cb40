#include "camera/store/StateLock.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/file.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace camera::store {

namespace {

[[noreturn]] void refuse(const std::filesystem::path& folder, const std::string& reason)
{
    throw std::runtime_error("the state folder " + folder.string() + " cannot be used: " + reason +
                             "; make it writable or name another one");
}

std::string ownerOf(int descriptor)
{
    char text[32] = {};
    const ssize_t length = ::pread(descriptor, text, sizeof text - 1, 0);
    std::string owner(text, length > 0 ? static_cast<std::size_t>(length) : 0);
    owner.erase(owner.find_last_not_of(" \n") + 1);
    return owner.empty() ? "another process" : "process " + owner;
}

// Waits for a shared lock, under which FolderCopy makes a copy of the folder, because that takes a short time only.
bool lockOf(int descriptor)
{
    constexpr int kAttempts = 200;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
            return true;
        }
        if (::flock(descriptor, LOCK_SH | LOCK_NB) != 0) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

bool writeOwner(int descriptor)
{
    const std::string owner = std::to_string(::getpid()) + "\n";
    return ::ftruncate(descriptor, 0) == 0 &&
           ::pwrite(descriptor, owner.data(), owner.size(), 0) == static_cast<ssize_t>(owner.size());
}

} // namespace

StateLock::StateLock(const std::filesystem::path& folder)
{
    if (folder.empty()) {
        throw std::runtime_error("no state folder is named");
    }
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        refuse(folder, error.message());
    }
    _descriptor = base::FileDescriptor(::open((folder / "lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
    if (!_descriptor) {
        refuse(folder, std::strerror(errno));
    }
    if (!lockOf(_descriptor.get())) {
        throw std::runtime_error("the state folder " + folder.string() + " is in use by " + ownerOf(_descriptor.get()) +
                                 "; end it or name another folder");
    }
    if (!writeOwner(_descriptor.get())) {
        refuse(folder, std::strerror(errno));
    }
}

} // namespace camera::store
