#pragma once

#include <cstddef>

namespace kit {

/// Whether this build counts heap traffic; under a sanitizer the allocator is the sanitizer's.
bool heapIsWatched();

/// Blocks that this thread asked the heap for so far, by malloc and its relatives or by new.
std::size_t allocationsOfThisThread();

/// Lets the next calloc of this thread find no memory; without effect where the heap is not watched.
void refuseNextCalloc();

/// Remembers a block so that its release is noticed; at most 256 between two calls of forgetWatchedBlocks.
void watchBlock(void* block);
int watchedBlocks();
int watchedBlocksFreed();
void forgetWatchedBlocks();

} // namespace kit
