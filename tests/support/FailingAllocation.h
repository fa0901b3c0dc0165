#pragma once

#include <cstddef>
#include <cstdint>

// Refuses memory for one scope, in this thread alone: every allocation of at least `fromSize` bytes after the first
// `allowed` ones, until `refusals` of them were refused. Covers operator new everywhere, and malloc and calloc where
// the library's own code calls them (on Linux).
class CFailingAllocation {
public:
    explicit CFailingAllocation(std::size_t allowed, std::size_t fromSize = 0, std::size_t refusals = SIZE_MAX);
    ~CFailingAllocation();

    CFailingAllocation(const CFailingAllocation&) = delete;
    CFailingAllocation& operator=(const CFailingAllocation&) = delete;

    // Whether an allocation was refused so far.
    static bool HasFailed();
};
