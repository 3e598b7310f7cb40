#pragma once

#include <cstddef>
#include <cstdint>

namespace fuzz {

/**
 * A block between two pages that nobody may touch, for code that no sanitizer sees: it ends at one guard page or
 * begins behind the other, so that the first byte beyond is a fault.
 */
class GuardedMemory {
public:
    enum class Edge { kEnd, kBegin };

    GuardedMemory(std::size_t bytes, Edge edge);
    ~GuardedMemory();
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;

    std::uint8_t* data() const { return _data; }

private:
    std::uint8_t* _pages;
    std::size_t _mapped;
    std::uint8_t* _data;
};

/// While one of these lives, malloc, free and arrays of new in code that is linked with --wrap end at guard pages too.
/// Blocks are given back by the end of it.
class GuardedHeap {
public:
    explicit GuardedHeap(GuardedMemory::Edge edge);
    ~GuardedHeap();
    GuardedHeap(const GuardedHeap&) = delete;
    GuardedHeap& operator=(const GuardedHeap&) = delete;
};

} // namespace fuzz
