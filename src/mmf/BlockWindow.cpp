#include "mmf/BlockWindow.h"

#include <sys/mman.h>

#include "mmf/FileMapping.h"
#include "mmf/MmfManager.h"
#include "mmf/Window.h"

namespace KX {

CBlockWindow::CBlockWindow(CMmfManager* store, unsigned int handle, unsigned int windowSize)
    : windowSize(windowSize), handle(handle), store(store) {
    if (store == nullptr) return;
    blocksFreedThen = store->GetFreedCount();
    blockSize = store->GetSize(handle);
}

unsigned char* CBlockWindow::MapAt(unsigned long offset) {
    if (store == nullptr) return nullptr;

    Release();
    const std::uint64_t size = store->GetSize(handle);
    length = IsWindowInside(size, offset, windowSize) ? windowSize : static_cast<std::uint32_t>(size - offset);
    address = store->MapWindow(handle, offset, length, isInMemory);
    if (address == MAP_FAILED) address = nullptr;  // to those who use windows a refused mapping is none
    currentOffset = offset;
    return address;
}

// Not by way of the store, which would unmap nothing where the block's object has gone, and might take a heap buffer
// for a file where another one has come in its place.
void CBlockWindow::Release() {
    if (!isInMemory) UnmapFile(address, length);
    address = nullptr;
    length = 0;
    currentOffset = kNoOffset;
}

std::uint64_t CBlockWindow::CheckBlock() {
    if (store == nullptr) return 0;
    const std::uint64_t blocksFreed = store->GetFreedCount();
    if (blocksFreed == blocksFreedThen) return blockSize;

    Release();
    blocksFreedThen = blocksFreed;
    blockSize = store->GetSize(handle);
    return blockSize;
}

}  // namespace KX
