#include "HeapMeter.h"

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

namespace hostile {

namespace {

// Plain static storage: all of it is reached from inside the allocator.
std::atomic<std::size_t> allocations{0};
std::atomic<std::size_t> bytes{0};
std::atomic<std::size_t> live{0};
std::atomic<std::size_t> peak{0};
thread_local std::size_t untilRefusal = 0; // 0: nothing is refused
thread_local bool refusesTheRest = false;
thread_local bool refused = false;

} // namespace

bool heapIsMetered()
{
#ifdef HEAP_IS_SANITIZED
    return false;
#else
    return true;
#endif
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

#ifndef HEAP_IS_SANITIZED

namespace {

bool mayHave()
{
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

} // namespace

#endif

} // namespace hostile

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
    return hostile::mayHave() ? hostile::count(__libc_malloc(size), size) : nullptr;
}

__attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size)
{
    return hostile::mayHave() ? hostile::count(__libc_calloc(count, size), count * size) : nullptr;
}

__attribute__((visibility("default"))) void* realloc(void* block, std::size_t size)
{
    if (!hostile::mayHave()) {
        return nullptr;
    }
    const std::size_t before = block == nullptr ? 0 : malloc_usable_size(block);
    void* const moved = __libc_realloc(block, size);
    if (moved != nullptr || size == 0) {
        hostile::live.fetch_sub(before, std::memory_order_relaxed);
    }
    return hostile::count(moved, size);
}

__attribute__((visibility("default"))) void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    return hostile::mayHave() ? hostile::count(__libc_memalign(alignment, size), size) : nullptr;
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
    hostile::discount(block);
    __libc_free(block);
}
}

#endif
