#include "camera/store/StateFolder.h"

#include "camera/base/AtomicFile.h"
#include "camera/base/Log.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

namespace camera::store {

namespace fs = std::filesystem;

namespace {

constexpr char kClock[] = "last-frame-time";

// The year 2106. A later time in the file means that the file is damaged.
constexpr std::int64_t kLatest = 4294967295LL * 1000000000LL;

fs::path makeTemporary()
{
    std::string name = (fs::temp_directory_path() / "camera-state-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary folder can be made in '" + fs::temp_directory_path().string() +
                                 "'; name a folder for the settings with --state.");
    }
    return name;
}

} // namespace

StateFolder::StateFolder(const std::string& folder)
    : _folder(folder.empty() ? makeTemporary() : fs::path(folder)), _temporary(folder.empty())
{
}

StateFolder::~StateFolder()
{
    if (_temporary) {
        std::error_code ignored;
        fs::remove_all(_folder, ignored);
    }
}

std::int64_t StateFolder::lastFrameTime() const
{
    std::ifstream file(_folder / kClock);
    if (!file) {
        return 0;
    }
    std::int64_t nanoseconds = 0;
    std::string more;
    file >> nanoseconds;
    const bool isTime = file && nanoseconds > 0 && nanoseconds < kLatest && !(file >> more);
    if (!isTime) {
        base::Log::instance().write(base::LogLevel::error, "state",
                                    "the file '" + (_folder / kClock).string() + "' holds no time and is not used");
    }
    return isTime ? nanoseconds : 0;
}

void StateFolder::keepLastFrameTime(std::int64_t nanoseconds) const
{
    const fs::path target = _folder / kClock;
    if (!base::replaceFile(target, std::to_string(nanoseconds) + '\n')) {
        throw std::runtime_error("the time of the last frame cannot be kept in '" + target.string() +
                                 "'; make room on the disk and the folder writable.");
    }
}

} // namespace camera::store
