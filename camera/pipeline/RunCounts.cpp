#include "camera/pipeline/RunCounts.h"

#include "camera/base/FileDescriptor.h"

#include <algorithm>
#include <chrono>
#include <fcntl.h>
#include <sys/mman.h>
#include <type_traits>
#include <unistd.h>

namespace camera::pipeline {

namespace {

static_assert(std::is_trivially_copyable_v<RunCounts>, "it is read as another process left it");

constexpr std::uint32_t kVersion = 1;

std::shared_ptr<RunCounts> mapped(const std::filesystem::path& path)
{
    const base::FileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!file || ::ftruncate(file.get(), sizeof(RunCounts)) != 0) {
        return nullptr;
    }
    void* memory = ::mmap(nullptr, sizeof(RunCounts), PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (memory == MAP_FAILED) {
        return nullptr;
    }
    return {static_cast<RunCounts*>(memory), [](RunCounts* counts) { ::munmap(counts, sizeof(RunCounts)); }};
}

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
    std::shared_ptr<RunCounts> counts = file.empty() ? nullptr : mapped(file);
    if (!counts) {
        counts = std::make_shared<RunCounts>();
    }
    countStart(*counts);
    return counts;
}

} // namespace camera::pipeline
