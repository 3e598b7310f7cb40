#pragma once

#include <cstddef>

namespace kit {

/// Whether this build counts heap traffic and can refuse memory; under a sanitizer the allocator is the sanitizer's.
bool heapIsWatched();

/// Blocks that this thread asked the heap for so far, by malloc and its relatives or by new.
std::size_t allocationsOfThisThread();

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

/// While it lives, blocks of these sizes find no memory on this thread: the way to let the reading of one text of a
/// known size fail.
class RefusedSizes {
public:
    RefusedSizes(std::size_t from, std::size_t to);
    ~RefusedSizes();
    RefusedSizes(const RefusedSizes&) = delete;
    RefusedSizes& operator=(const RefusedSizes&) = delete;
};

/// Lets the next calloc of this thread find no memory.
void refuseNextCalloc();

/// Remembers a block so that its release is noticed; at most 256 between two calls of forgetWatchedBlocks.
void watchBlock(const void* block);
int watchedBlocks();
int watchedBlocksFreed();
void forgetWatchedBlocks();

/// Images that the rotations of host-seam made; the plug-in frees them. Frees cannot be counted under a sanitizer,
/// whose own leak check then does the work.
struct RotatedImages {
    static int made() { return watchedBlocks(); }
    static int freed() { return watchedBlocksFreed(); }
    static int notReturned() { return made() - freed(); }
    static bool countsFrees() { return heapIsWatched(); }
};

} // namespace kit
