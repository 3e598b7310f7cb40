// Stands alone: a compiler that sees these bodies beside their callers takes the pairs for mismatched.
#include "OnvifSettingsHeap.h"

#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t refusedFrom = 0;
thread_local std::size_t refusedTo = 0;

} // namespace

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

void* operator new(std::size_t size)
{
    void* const block = size >= refusedFrom && size < refusedTo ? nullptr : std::malloc(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}
