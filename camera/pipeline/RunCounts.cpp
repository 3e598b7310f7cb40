#include "camera/pipeline/RunCounts.h"

#include "camera/base/MappedFile.h"

#include <algorithm>
#include <chrono>
#include <type_traits>

namespace camera::pipeline {

namespace {

static_assert(std::is_trivially_copyable_v<RunCounts>, "it is read as another process left it");

constexpr std::uint32_t kVersion = 1;

void countStart(RunCounts& counts)
{
    if (counts.version != kVersion || counts.starts == 0) {
        counts = RunCounts();
        counts.version = kVersion;
        counts.startedAt = std::chrono::steady_clock::now().time_since_epoch().count();
    } else if (counts.starts <= RunCounts::kMostRestarts) {
        counts.restarts[counts.starts - 1] = {counts.second(counts.lastTime), counts.running};
    }
    ++counts.starts;
    counts.running = true;
}

} // namespace

std::shared_ptr<RunCounts> openRunCounts(const std::filesystem::path& file)
{
    std::shared_ptr<RunCounts> counts = file.empty() ? nullptr : base::mapFile<RunCounts>(file, O_CREAT);
    if (!counts) {
        counts = std::make_shared<RunCounts>();
    }
    countStart(*counts);
    return counts;
}

} // namespace camera::pipeline
