#pragma once

#include "camera/base/FileDescriptor.h"

#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/mman.h>

namespace camera::base {

/// A page in memory that is the content of a file: other processes see it too, also after this one has died. A new file
/// is all zero. Null, and errno says why, when the file cannot be used.
/// @param flags  O_CREAT, or 0 for a file that is there.
template <class Page>
std::shared_ptr<Page> mapFile(const std::filesystem::path& path, int flags)
{
    const FileDescriptor file(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | flags, 0600));
    if (!file || ::ftruncate(file.get(), sizeof(Page)) != 0) {
        return nullptr;
    }
    void* memory = ::mmap(nullptr, sizeof(Page), PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (memory == MAP_FAILED) {
        return nullptr;
    }
    return {static_cast<Page*>(memory), [](Page* page) { ::munmap(page, sizeof(Page)); }};
}

} // namespace camera::base
