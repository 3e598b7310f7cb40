#include "camera/base/AtomicFile.h"

#include "camera/base/DurableFiles.h"

#include <fstream>
#include <system_error>

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

} // namespace camera::base
