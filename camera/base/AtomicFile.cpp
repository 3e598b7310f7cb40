#include "camera/base/AtomicFile.h"

#include "camera/base/FileDescriptor.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace camera::base {

namespace {

bool replace(const std::filesystem::path& file, const std::string& content, bool durably)
{
    const std::filesystem::path unfinished = file.string() + ".new";
    ::unlink(unfinished.c_str()); // one that was left, of whatever kind
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    const FileDescriptor descriptor(
        uninterrupted([&] { return ::open(unfinished.c_str(), kFlags, S_IRUSR | S_IWUSR); }));
    const auto size = static_cast<ssize_t>(content.size());
    const bool written =
        descriptor &&
        uninterrupted([&] { return ::write(descriptor.get(), content.data(), content.size()); }) == size &&
        (!durably || uninterrupted([&] { return ::fsync(descriptor.get()); }) == 0);
    if (!written || ::rename(unfinished.c_str(), file.c_str()) != 0) {
        ::unlink(unfinished.c_str());
        return false;
    }
    try {
        if (durably) {
            syncToDisk(file.parent_path());
        }
    } catch (const std::filesystem::filesystem_error&) { // the new content is there, which is what the caller asks
    }
    return true;
}

} // namespace

std::optional<std::string> readFile(const std::filesystem::path& file)
{
    const FileDescriptor descriptor(uninterrupted([&] { return ::open(file.c_str(), O_RDONLY | O_CLOEXEC); }));
    return readFile(descriptor.get());
}

std::optional<std::string> readFile(int descriptor)
{
    std::string content;
    std::array<char, 4096> part{};
    for (;;) {
        const ssize_t size = uninterrupted([&] { return ::read(descriptor, part.data(), part.size()); });
        if (size <= 0) {
            return size == 0 ? std::optional(std::move(content)) : std::nullopt;
        }
        content.append(part.data(), static_cast<std::size_t>(size));
    }
}

bool replaceFile(const std::filesystem::path& file, const std::string& content)
{
    return replace(file, content, false);
}

bool replaceFileDurably(const std::filesystem::path& file, const std::string& content)
{
    return replace(file, content, true);
}

void syncToDisk(const std::filesystem::path& path)
{
    const FileDescriptor descriptor(uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC); }));
    if (!descriptor) {
        throw std::filesystem::filesystem_error("open", path, {errno, std::generic_category()});
    }
    const int error = uninterrupted([&] { return ::fsync(descriptor.get()); }) == 0 ? 0 : errno;
    if (error != 0 && error != EINVAL) { // a file system that cannot sync a folder says so with EINVAL
        throw std::filesystem::filesystem_error("sync", path, {error, std::generic_category()});
    }
}

void renameDurably(const std::filesystem::path& from, const std::filesystem::path& to)
{
    if (uninterrupted([&] { return ::rename(from.c_str(), to.c_str()); }) != 0) {
        throw std::filesystem::filesystem_error("rename", from, to, {errno, std::generic_category()});
    }
    syncToDisk(to.parent_path());
}

} // namespace camera::base
