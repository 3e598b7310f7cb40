#include "camera/store/FolderCopy.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <tuple>
#include <utility>
#include <vector>

namespace camera::store {

namespace fs = std::filesystem;

namespace {

constexpr int kAttempts = 20;
constexpr std::array<const char*, 2> kFolders = {"", "services"};
// A fixed list, because listing a folder changes its time stamp. The database creates its file "-shm" itself.
constexpr std::array<const char*, 10> kFiles = {
    "settings.last",        "settings.db", "settings.db-wal", "settings.db-journal", "settings.last-good.db",
    "settings.repaired.db", "camera.json", "last-frame-time", "factory-default",     "factory-default.kept"};

[[noreturn]] void refuse(const fs::path& file, int error)
{
    throw std::runtime_error("the state folder cannot be copied: '" + file.string() + "': " + std::strerror(error));
}

// A shared lock: no process can take the folder while it is held. Without it, when another process has the lock.
base::FileDescriptor lock(const fs::path& folder)
{
    base::FileDescriptor file(::open((folder / "lock").c_str(), O_RDONLY | O_CLOEXEC));
    if (file) {
        ::flock(file.get(), LOCK_SH | LOCK_NB);
    }
    return file;
}

void copyFile(const fs::path& from, const fs::path& to)
{
    constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    // Only the owner of a file may read it without a change of its access time.
    base::FileDescriptor in(::open(from.c_str(), kFlags | O_NOATIME));
    if (!in && errno == EPERM) {
        in = base::FileDescriptor(::open(from.c_str(), kFlags));
    }
    if (!in && errno == ENOENT) {
        fs::remove(to);
        return;
    }
    struct stat found {};
    if (in && ::fstat(in.get(), &found) == 0 && !S_ISREG(found.st_mode)) {
        refuse(from, EINVAL);
    }
    const base::FileDescriptor out(::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    std::array<char, 65536> bytes{};
    ssize_t count = 0;
    while (in && (count = ::read(in.get(), bytes.data(), bytes.size())) > 0) {
        if (::write(out.get(), bytes.data(), static_cast<std::size_t>(count)) != count) {
            refuse(to, errno);
        }
    }
    if (!in || count < 0) {
        refuse(from, errno);
    }
}

using Stamp = std::tuple<ino_t, off_t, time_t, long>;

std::vector<Stamp> copyAll(const fs::path& from, const fs::path& to)
{
    std::vector<Stamp> stamps;
    for (const char* folder : kFolders) {
        fs::create_directory(to / folder);
        for (const char* name : kFiles) {
            struct stat found {};
            ::stat((from / folder / name).c_str(), &found);
            stamps.emplace_back(found.st_ino, found.st_size, found.st_mtim.tv_sec, found.st_mtim.tv_nsec);
            copyFile(from / folder / name, to / folder / name);
        }
    }
    return stamps;
}

} // namespace

FolderCopy::FolderCopy(const fs::path& folder) : _copy("")
{
    std::error_code error;
    if (!fs::is_directory(folder, error)) {
        throw std::runtime_error("there is no state folder '" + folder.string() +
                                 "'; name the folder that a camera was run with");
    }
    const base::FileDescriptor own = lock(folder);
    const base::FileDescriptor services = lock(folder / "services");
    std::vector<Stamp> before;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        std::vector<Stamp> stamps = copyAll(folder, path());
        if (stamps == before) {
            return;
        }
        before = std::move(stamps);
    }
}

} // namespace camera::store
