#pragma once

#include <cstdint>

// Whether [offset, offset + length) lies inside a block. Subtracts instead of adding: the sum may pass the top of
// its type and come out small.
constexpr bool IsWindowInside(std::uint64_t blockSize, std::uint64_t offset, std::uint64_t length) {
    return offset <= blockSize && length <= blockSize - offset;
}
