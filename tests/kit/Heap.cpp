#include "kit/Heap.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <malloc.h>

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
std::atomic<std::size_t> allocations{0};
std::atomic<std::size_t> bytes{0};
std::atomic<std::size_t> live{0};
std::atomic<std::size_t> peak{0};
thread_local std::size_t ownAllocations = 0;
thread_local bool callocIsRefused = false;
thread_local std::size_t untilRefusal = 0; // 0: nothing is refused
thread_local bool refusesTheRest = false;
thread_local bool refused = false;
thread_local std::size_t refusedFrom = 0;
thread_local std::size_t refusedTo = 0;

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
    return ownAllocations;
}

HeapMeter::HeapMeter() : _allocations(allocations), _bytes(bytes), _live(live)
{
    peak = _live;
}

HeapUse HeapMeter::use() const
{
    return {allocations - _allocations, bytes - _bytes, peak - _live,
            static_cast<long>(live) - static_cast<long>(_live)};
}

RefusedMemory::RefusedMemory(std::size_t first, How how)
{
    refused = false;
    refusesTheRest = how == How::kRest;
    untilRefusal = first;
}

RefusedMemory::~RefusedMemory()
{
    untilRefusal = 0;
}

bool memoryWasRefused()
{
    return refused;
}

RefusedSizes::RefusedSizes(std::size_t from, std::size_t to)
{
    refusedFrom = from;
    refusedTo = to;
}

RefusedSizes::~RefusedSizes()
{
    refusedFrom = 0;
    refusedTo = 0;
}

void refuseNextCalloc()
{
    callocIsRefused = true;
}

void watchBlock(const void* block)
{
    const std::size_t index = watchedCount.fetch_add(1);
    if (index < watched.size()) {
        watched[index].store(const_cast<void*>(block));
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

bool mayHave(std::size_t size)
{
    ++ownAllocations;
    if (size >= refusedFrom && size < refusedTo) {
        errno = ENOMEM;
        return false;
    }
    if (untilRefusal == 0) {
        return true;
    }
    if (untilRefusal > 1) {
        --untilRefusal;
        return true;
    }
    refused = true;
    untilRefusal = refusesTheRest ? 1 : 0;
    errno = ENOMEM;
    return false;
}

void* count(void* block, std::size_t size)
{
    if (block != nullptr) {
        allocations.fetch_add(1, std::memory_order_relaxed);
        bytes.fetch_add(size, std::memory_order_relaxed);
        const std::size_t used = malloc_usable_size(block);
        const std::size_t now = live.fetch_add(used, std::memory_order_relaxed) + used;
        std::size_t known = peak.load(std::memory_order_relaxed);
        while (now > known && !peak.compare_exchange_weak(known, now, std::memory_order_relaxed)) {
        }
    }
    return block;
}

void discount(void* block)
{
    if (block != nullptr) {
        live.fetch_sub(malloc_usable_size(block), std::memory_order_relaxed);
    }
}

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
    return kit::mayHave(size) ? kit::count(__libc_malloc(size), size) : nullptr;
}

__attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size)
{
    if (kit::callocIsRefused) {
        kit::callocIsRefused = false;
        return nullptr;
    }
    return kit::mayHave(count * size) ? kit::count(__libc_calloc(count, size), count * size) : nullptr;
}

__attribute__((visibility("default"))) void* realloc(void* block, std::size_t size)
{
    if (!kit::mayHave(size)) {
        return nullptr;
    }
    const std::size_t before = block == nullptr ? 0 : malloc_usable_size(block);
    void* const moved = __libc_realloc(block, size);
    if (moved != nullptr || size == 0) {
        kit::live.fetch_sub(before, std::memory_order_relaxed);
    }
    return kit::count(moved, size);
}

__attribute__((visibility("default"))) void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    return kit::mayHave(size) ? kit::count(__libc_memalign(alignment, size), size) : nullptr;
}

__attribute__((visibility("default"))) int posix_memalign(void** block, std::size_t alignment, std::size_t size)
{
    void* const memory = aligned_alloc(alignment, size);
    if (memory == nullptr) {
        return ENOMEM;
    }
    *block = memory;
    return 0;
}

__attribute__((visibility("default"))) void* memalign(std::size_t alignment, std::size_t size)
{
    return aligned_alloc(alignment, size);
}

__attribute__((visibility("default"))) void free(void* block)
{
    kit::noticeFree(block);
    kit::discount(block);
    __libc_free(block);
}
}

#endif
