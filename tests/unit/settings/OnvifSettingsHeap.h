#pragma once

#include <cstddef>

/// As long as it lives, new refuses blocks of these sizes on this thread: the way to let the reading
/// of one text of a known size fail.
class RefusedSizes {
public:
    RefusedSizes(std::size_t from, std::size_t to);
    ~RefusedSizes();
    RefusedSizes(const RefusedSizes&) = delete;
    RefusedSizes& operator=(const RefusedSizes&) = delete;
};
