#pragma once

#include <cstdint>

/// One number that stands for a long row of integers and depends on their order (FNV-1a over 32-bit words).
class Digest {
public:
    void add(std::uint32_t value) { _state = (_state ^ value) * 0x100000001b3U; }
    std::uint64_t value() const { return _state; }

private:
    std::uint64_t _state = 0xcbf29ce484222325U;
};
