#include "mmf/BlockWindow.h"

#include <sys/mman.h>

#include "mmf/BackingFile.h"
#include "mmf/FileMapping.h"
#include "mmf/MmfManager.h"
#include "mmf/Window.h"

namespace KX {

CBlockWindow::CBlockWindow(CMmfManager* store, unsigned int handle, unsigned int windowSize)
    : windowSize(windowSize), handle(handle), store(store) {
    (void)CheckBlock();  // notes which block it is
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

bool CBlockWindow::CheckBlock() {
    if (store == nullptr) return false;
    const std::uint64_t freed = store->GetFreedCount();
    if (freed == checkedAt && serial != 0) return true;

    const std::uint64_t now = store->GetSerial(handle);
    if (serial == 0) serial = now;
    if (now == 0 || now != serial) {
        Release();
        return false;
    }
    checkedAt = freed;
    room = ReachableLength(store->GetSize(handle));
    return true;
}

}  // namespace KX
