#include "camera/store/PrivateFiles.h"

#include "camera/base/AtomicFile.h"
#include "camera/base/Text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>

namespace camera::store {

namespace fs = std::filesystem;

namespace {

// All files of one database, its log before it. They are moved together, because an old log beside a new database would
// be applied to it.
constexpr std::array<const char*, 4> kParts = {"-wal", "-journal", "-shm", ""};

[[noreturn]] void throwSystemError()
{
    throw std::runtime_error(errno == ENOSPC ? "no space is left for it" : std::strerror(errno));
}

void require(bool condition, const fs::path& path, const char* problem)
{
    if (!condition) {
        throw std::runtime_error("'" + path.string() + "' " + problem);
    }
}

void requireOwn(const struct stat& found, const fs::path& path)
{
    require(found.st_uid == ::geteuid(), path, "belongs to another user");
}

} // namespace

void takeFolder(const fs::path& folder)
{
    struct stat found {};
    if (::lstat(folder.c_str(), &found) == 0) {
        requireOwn(found, folder); // also of a link to it
    } else if (::mkdir(folder.c_str(), S_IRWXU) != 0) {
        if (errno != ENOENT || folder.parent_path().empty() || fs::exists(folder.parent_path())) {
            throwSystemError();
        }
        takeFolder(folder.parent_path());
        return takeFolder(folder);
    }
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    const base::FileDescriptor descriptor(base::uninterrupted([&] { return ::open(folder.c_str(), kFlags); }));
    if (!descriptor || ::fstat(descriptor.get(), &found) != 0) {
        throwSystemError();
    }
    requireOwn(found, folder);
    if ((found.st_mode & ALLPERMS) != S_IRWXU && ::fchmod(descriptor.get(), S_IRWXU) != 0) {
        throwSystemError();
    }
}

base::FileDescriptor takeFile(const fs::path& file)
{
    constexpr mode_t kMode = S_IRUSR | S_IWUSR;
    constexpr int kFlags = O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    base::FileDescriptor descriptor(base::uninterrupted([&] { return ::open(file.c_str(), kFlags, kMode); }));
    require(descriptor || errno != ELOOP, file, "is a symbolic link");
    struct stat found {};
    if (!descriptor || ::fstat(descriptor.get(), &found) != 0) {
        throwSystemError();
    }
    require(S_ISREG(found.st_mode), file, "is no regular file");
    requireOwn(found, file);
    if ((found.st_mode & ALLPERMS) != kMode && ::fchmod(descriptor.get(), kMode) != 0) {
        throwSystemError();
    }
    return descriptor;
}

fs::path setAside(const fs::path& file)
{
    const auto exists = [](const fs::path& base) {
        return std::any_of(kParts.begin(), kParts.end(), [&](const char* part) {
            return fs::symlink_status(base.string() + part).type() != fs::file_type::not_found;
        });
    };
    if (!exists(file)) {
        return {};
    }
    const std::string first = file.string() + ".damaged-" + base::utcText(std::time(nullptr), "%Y%m%dT%H%M%SZ");
    std::string aside = first;
    for (int count = 2; exists(aside); ++count) {
        aside = first + "-" + std::to_string(count);
    }
    for (const char* part : kParts) {
        if (fs::symlink_status(file.string() + part).type() != fs::file_type::not_found) {
            fs::rename(file.string() + part, aside + part);
        }
    }
    base::syncToDisk(file.parent_path());
    return aside;
}

void removeDatabase(const fs::path& file)
{
    for (const char* part : kParts) {
        std::error_code ignored;
        fs::remove(file.string() + part, ignored);
    }
}

} // namespace camera::store
