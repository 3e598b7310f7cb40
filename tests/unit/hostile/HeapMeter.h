#pragma once

#include <cstddef>

namespace hostile {

/// Whether this build meters the heap and can refuse memory; under a sanitizer the allocator is the sanitizer's.
bool heapIsMetered();

/// Traffic of the whole process since the meter was made.
struct HeapUse {
    std::size_t allocations = 0;
    std::size_t bytes = 0;     ///< asked for in all, whatever was given back
    std::size_t peakBytes = 0; ///< in use at the same time, above what was in use at the start
    long keptBytes = 0;        ///< in use now, above what was in use at the start
};

/// One at a time.
class HeapMeter {
public:
    HeapMeter();
    HeapMeter(const HeapMeter&) = delete;
    HeapMeter& operator=(const HeapMeter&) = delete;

    HeapUse use() const;

private:
    std::size_t _allocations;
    std::size_t _bytes;
    std::size_t _live;
};

/// While it lives, this thread's allocation number `first` finds no memory (malloc, calloc, realloc, strdup, new),
/// and with kRest every later one too. Numbers begin with 1.
class RefusedMemory {
public:
    enum class How { kOnce, kRest };

    explicit RefusedMemory(std::size_t first, How how = How::kOnce);
    ~RefusedMemory();
    RefusedMemory(const RefusedMemory&) = delete;
    RefusedMemory& operator=(const RefusedMemory&) = delete;
};

/// Whether the last RefusedMemory of this thread refused anything.
bool memoryWasRefused();

} // namespace hostile
