#pragma once

#include <cstddef>
#include <cstring>

namespace seam_test {

/// The index of a virtual operation in its class' table, read from a pointer to the operation.
///
/// Such a pointer has two words. On x86-64 the first is the table offset plus one and an even value there is a plain
/// function; on AArch64, where code may lie at odd addresses, the flag is the low bit of the second word.
/// @return -1 for an operation that is not virtual.
template <typename Operation>
std::ptrdiff_t slotOf(Operation operation)
{
    struct Words {
        std::ptrdiff_t pointer;
        std::ptrdiff_t adjustment;
    } words{};
    static_assert(sizeof(operation) == sizeof(words), "not the pointer layout that this reads");
    std::memcpy(&words, &operation, sizeof(words));
    constexpr auto kEntryBytes = static_cast<std::ptrdiff_t>(sizeof(void*));
#if defined(__aarch64__) || defined(__arm__)
    return (words.adjustment & 1) != 0 ? words.pointer / kEntryBytes : -1;
#else
    return (words.pointer & 1) != 0 ? (words.pointer - 1) / kEntryBytes : -1;
#endif
}

/// Adds one operation behind those of Base: its slot is the number of entries in Base's table.
template <typename Base>
struct Extended : Base {
    virtual void behindTheLast() = 0;
};

/// Entries in the table of Interface, both entries of a virtual destructor included.
template <typename Interface>
std::ptrdiff_t slotCountOf()
{
    return slotOf(&Extended<Interface>::behindTheLast);
}

} // namespace seam_test
