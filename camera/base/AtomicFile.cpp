#include "camera/base/AtomicFile.h"

#include "camera/base/FileDescriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <system_error>
#include <unistd.h>

namespace camera::base {

namespace {

bool replace(const std::filesystem::path& file, const std::string& content, bool durably)
{
    const std::filesystem::path unfinished = file.string() + ".new";
    try {
        std::ofstream stream;
        stream.exceptions(std::ios::badbit | std::ios::failbit);
        stream.open(unfinished, std::ios::binary);
        stream << content;
        stream.close();
        if (durably) {
            syncToDisk(unfinished);
            renameDurably(unfinished, file);
        } else {
            std::filesystem::rename(unfinished, file);
        }
        return true;
    } catch (const std::system_error&) { // of the stream and of the file system
        std::error_code ignored;
        std::filesystem::remove(unfinished, ignored);
        return false;
    }
}

} // namespace

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
