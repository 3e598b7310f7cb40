#include "kit/HeapWatch.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define HEAP_IS_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define HEAP_IS_SANITIZED 1
#endif
#endif

namespace kit {

namespace {

// Plain static storage: both are reached from inside the allocator.
std::array<std::atomic<void*>, 256> watched{};
std::atomic<std::size_t> watchedCount{0};
std::atomic<int> freedCount{0};
thread_local std::size_t allocations = 0;
thread_local bool callocIsRefused = false;

} // namespace

bool heapIsWatched()
{
#ifdef HEAP_IS_SANITIZED
    return false;
#else
    return true;
#endif
}

std::size_t allocationsOfThisThread()
{
    return allocations;
}

void refuseNextCalloc()
{
    callocIsRefused = true;
}

void watchBlock(void* block)
{
    const std::size_t index = watchedCount.fetch_add(1);
    if (index < watched.size()) {
        watched[index].store(block);
    }
}

int watchedBlocks()
{
    return static_cast<int>(watchedCount.load());
}

int watchedBlocksFreed()
{
    return freedCount.load();
}

void forgetWatchedBlocks()
{
    for (auto& entry : watched) {
        entry.store(nullptr);
    }
    watchedCount.store(0);
    freedCount.store(0);
}

#ifndef HEAP_IS_SANITIZED

namespace {

void noticeFree(void* block)
{
    if (block == nullptr || watchedCount.load(std::memory_order_relaxed) == 0) {
        return;
    }
    for (auto& entry : watched) {
        void* expected = block;
        if (entry.compare_exchange_strong(expected, nullptr)) {
            freedCount.fetch_add(1);
            return;
        }
    }
}

} // namespace

#endif

} // namespace kit

#ifndef HEAP_IS_SANITIZED

// The allocator's own entry points, which the C library keeps under second names for this purpose.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

__attribute__((visibility("default"))) void* malloc(std::size_t size)
{
    ++kit::allocations;
    return __libc_malloc(size);
}

__attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size)
{
    ++kit::allocations;
    if (kit::callocIsRefused) {
        kit::callocIsRefused = false;
        return nullptr;
    }
    return __libc_calloc(count, size);
}

__attribute__((visibility("default"))) void* realloc(void* block, std::size_t size)
{
    ++kit::allocations;
    return __libc_realloc(block, size);
}

__attribute__((visibility("default"))) void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    ++kit::allocations;
    return __libc_memalign(alignment, size);
}

__attribute__((visibility("default"))) int posix_memalign(void** block, std::size_t alignment, std::size_t size)
{
    ++kit::allocations;
    void* const memory = __libc_memalign(alignment, size);
    if (memory == nullptr) {
        return ENOMEM;
    }
    *block = memory;
    return 0;
}

__attribute__((visibility("default"))) void free(void* block)
{
    kit::noticeFree(block);
    __libc_free(block);
}
}

#endif
