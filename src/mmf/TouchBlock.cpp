#include "mmf/TouchBlock.h"

#include <algorithm>

#include "mmf/MmfManager.h"

namespace {

// Where no backing file has bytes any more, whatever the size of its block (see OpenFile4MMF).
constexpr unsigned long kLongestFile = 0x100000000;

}  // namespace

void TouchInWindows(CMmfManager& store, unsigned int handle, unsigned long size) {
    for (unsigned long offset = 0; offset < std::min(size, kLongestFile); offset += kTouchWindow) {
        const unsigned long length = std::min(kTouchWindow, size - offset);
        store.UnMapWindow(handle, store.MapWindow(handle, offset, length), length);
    }
}
