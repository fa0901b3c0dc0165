#pragma once

#include <cstddef>

// The bits of a block handle, 0 meaning no block:
//   31..30  index of the global store (0 in the handles of a private store)
//   29..16  index of the backing object in its store, plus 1
//   15..0   number of the block in its object, plus 1
// Taking a handle apart checks nothing: a field that holds 0 gives the largest unsigned number.
namespace BlockHandle {

inline constexpr unsigned int kObjectShift = 16;
inline constexpr unsigned int kStoreShift = 30;
inline constexpr unsigned int kObjectMask = 0x3FFF;
inline constexpr unsigned int kBlockMask = 0xFFFF;

// Objects that a store can number; index + 1 of one more would spill into the store bits.
inline constexpr std::size_t kMaxObjects = kObjectMask;

constexpr unsigned int Make(std::size_t object, unsigned int block) {
    return ((static_cast<unsigned int>(object) + 1) << kObjectShift) | (block + 1);
}

constexpr unsigned int WithStore(unsigned int handle, unsigned int store) {
    return (store << kStoreShift) | handle;
}

constexpr unsigned int StoreOf(unsigned int handle) {
    return handle >> kStoreShift;
}

constexpr unsigned int ObjectOf(unsigned int handle) {
    return ((handle >> kObjectShift) & kObjectMask) - 1;
}

constexpr unsigned int BlockOf(unsigned int handle) {
    return (handle & kBlockMask) - 1;
}

}  // namespace BlockHandle
