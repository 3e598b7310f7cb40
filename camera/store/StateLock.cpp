#include "camera/store/StateLock.h"

#include "camera/store/PrivateFiles.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <pthread.h>
#include <stdexcept>
#include <string>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace camera::store {

namespace {

// The descriptors of the locks of this process. A process that it forks, an engine's for instance, must not keep them:
// the folder would be in use after the camera has ended.
std::array<std::atomic<int>, 8> heldLocks{-1, -1, -1, -1, -1, -1, -1, -1};

void closeInForkedProcess()
{
    for (std::atomic<int>& held : heldLocks) {
        if (const int descriptor = held.exchange(-1); descriptor >= 0) {
            ::close(descriptor);
        }
    }
}

void replaceHeld(int from, int to)
{
    static const int registered = ::pthread_atfork(nullptr, nullptr, closeInForkedProcess);
    (void)registered;
    for (std::atomic<int>& held : heldLocks) {
        int expected = from;
        if (held.compare_exchange_strong(expected, to)) {
            return;
        }
    }
}

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

// 0: locked.
int errorOfLock(int descriptor, int operation)
{
    return base::uninterrupted([&] { return ::flock(descriptor, operation | LOCK_NB); }) == 0 ? 0 : errno;
}

// Waits for a shared lock, under which FolderCopy makes a copy of the folder, because that takes a short time only.
// EWOULDBLOCK: another process has the folder.
int errorOfTaking(int descriptor)
{
    constexpr int kAttempts = 200;
    int error = 0;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        error = errorOfLock(descriptor, LOCK_EX);
        if (error != EWOULDBLOCK || errorOfLock(descriptor, LOCK_SH) != 0) {
            return error;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return error;
}

bool writeOwner(int descriptor)
{
    const std::string owner = std::to_string(::getpid()) + "\n";
    const auto size = static_cast<ssize_t>(owner.size());
    return base::uninterrupted([&] { return ::ftruncate(descriptor, 0); }) == 0 &&
           base::uninterrupted([&] { return ::pwrite(descriptor, owner.data(), owner.size(), 0); }) == size;
}

} // namespace

StateLock::StateLock(const std::filesystem::path& folder)
{
    if (folder.empty()) {
        throw std::runtime_error("no state folder is named");
    }
    try {
        takeFolder(folder);
        _descriptor = takeFile(folder / "lock");
    } catch (const std::runtime_error& error) {
        refuse(folder, error.what());
    }
    const int error = errorOfTaking(_descriptor.get());
    if (error == EWOULDBLOCK) {
        throw std::runtime_error("the state folder " + folder.string() + " is in use by " + ownerOf(_descriptor.get()) +
                                 "; end it or name another folder");
    }
    if (error != 0 || !writeOwner(_descriptor.get())) {
        refuse(folder, std::strerror(error != 0 ? error : errno));
    }
    replaceHeld(-1, _descriptor.get());
}

StateLock::~StateLock()
{
    replaceHeld(_descriptor.get(), -1);
}

} // namespace camera::store
