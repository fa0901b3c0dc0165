#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

// How long a store makes its backing file: 2 bytes longer than itself, reckoned in 32 bits, as the size of the store is
// taken. So the files of stores of 4 GiB and more are shorter than these, as callers have settled on; that of 4 GiB
// itself, and of no size, has no length given, and that of 2^32 - 1 bytes has 1 byte.
constexpr std::uint64_t BackingFileLength(std::uint64_t storeSize) {
    const auto size = static_cast<std::uint32_t>(storeSize);
    return size == 0 ? 0 : std::uint64_t{size + 1} + 1;
}

// How much of a store can be touched when its file is as long as that. Shorter than the store only from 4 GiB on.
constexpr std::uint64_t ReachableLength(std::uint64_t storeSize) {
    if (storeSize <= std::numeric_limits<std::uint32_t>::max()) return storeSize;
    return std::min(storeSize, BackingFileLength(storeSize));
}
