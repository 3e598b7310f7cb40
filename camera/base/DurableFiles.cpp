#include "camera/base/DurableFiles.h"

#include "camera/base/FileDescriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace camera::base {

void syncToDisk(const std::filesystem::path& path)
{
    const FileDescriptor descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!descriptor) {
        throw std::filesystem::filesystem_error("open", path, {errno, std::generic_category()});
    }
    const int error = ::fsync(descriptor.get()) == 0 ? 0 : errno;
    if (error != 0 && error != EINVAL) { // a file system that cannot sync a folder says so with EINVAL
        throw std::filesystem::filesystem_error("sync", path, {error, std::generic_category()});
    }
}

void renameDurably(const std::filesystem::path& from, const std::filesystem::path& to)
{
    std::filesystem::rename(from, to);
    syncToDisk(to.parent_path());
}

} // namespace camera::base
