#include "support/GuardedMemory.h"

#include "support/Check.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <optional>

extern "C" {
void* __real_malloc(std::size_t bytes);
void __real_free(void* block);
void* __real__Znam(std::size_t bytes);
void __real__ZdaPv(void* block);
void* __wrap_malloc(std::size_t bytes);
void __wrap_free(void* block);
void* __wrap__Znam(std::size_t bytes);
void __wrap__ZdaPv(void* block);
}

namespace fuzz {

namespace {

constexpr std::size_t kMostBlocks = 8;

std::array<std::optional<GuardedMemory>, kMostBlocks> blocks;
bool active = false;
GuardedMemory::Edge heapEdge = GuardedMemory::Edge::kEnd;

std::size_t pageBytes()
{
    static const auto bytes = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return bytes;
}

void* allocate(std::size_t bytes)
{
    for (std::optional<GuardedMemory>& block : blocks) {
        if (!block) {
            return block.emplace(bytes, heapEdge).data();
        }
    }
    return nullptr;
}

bool release(const void* data)
{
    for (std::optional<GuardedMemory>& block : blocks) {
        if (block && block->data() == data) {
            block.reset();
            return true;
        }
    }
    return false;
}

} // namespace

GuardedMemory::GuardedMemory(std::size_t bytes, Edge edge)
    : _pages(nullptr), _mapped((bytes / pageBytes() + 3) * pageBytes()), _data(nullptr)
{
    void* const pages = mmap(nullptr, _mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    check(pages != MAP_FAILED, "memory for a guarded block");
    _pages = static_cast<std::uint8_t*>(pages);
    std::uint8_t* const lastPage = _pages + _mapped - pageBytes();
    check(mprotect(_pages, pageBytes(), PROT_NONE) == 0 && mprotect(lastPage, pageBytes(), PROT_NONE) == 0,
          "the guard pages are closed");
    _data = edge == Edge::kEnd ? lastPage - bytes : _pages + pageBytes();
}

GuardedMemory::~GuardedMemory()
{
    munmap(_pages, _mapped);
}

GuardedHeap::GuardedHeap(GuardedMemory::Edge edge)
{
    heapEdge = edge;
    active = true;
}

GuardedHeap::~GuardedHeap()
{
    active = false;
    for (std::optional<GuardedMemory>& block : blocks) {
        check(!block, "every block was given back");
    }
}

} // namespace fuzz

void* __wrap_malloc(std::size_t bytes)
{
    return fuzz::active ? fuzz::allocate(bytes) : __real_malloc(bytes);
}

void __wrap_free(void* block)
{
    if (!fuzz::active || !fuzz::release(block)) {
        __real_free(block);
    }
}

void* __wrap__Znam(std::size_t bytes)
{
    return fuzz::active ? fuzz::allocate(bytes) : __real__Znam(bytes);
}

void __wrap__ZdaPv(void* block)
{
    if (!fuzz::active || !fuzz::release(block)) {
        __real__ZdaPv(block);
    }
}
