#include "mmf/SmartMap.h"

#include <sys/mman.h>

#include "mmf/MmfManager.h"
#include "mmf/Window.h"

namespace KX {
namespace {

// To the users of a view a mapping that the system refused is no mapping.
unsigned char* NullIfRefused(unsigned char* address) {
    return address == MAP_FAILED ? nullptr : address;
}

}  // namespace

CKXSmartMap::CKXSmartMap(unsigned int handle)
    : handle(handle), address(NullIfRefused(GlobalStoreOf(handle).Map(handle))) {}

CKXSmartMap::~CKXSmartMap() {
    GlobalStoreOf(handle).UnMap(handle);
}

unsigned char* CKXSmartMap::GetMapAddress(unsigned char* fallback) {
    return address == nullptr ? fallback : address;
}

const unsigned char* CKXSmartMap::GetMapAddress(const unsigned char* fallback) const {
    return address == nullptr ? fallback : address;
}

CKXSmartWindowMap::CKXSmartWindowMap(unsigned int handle, unsigned int windowSize)
    : windowSize(windowSize), handle(handle) {}

CKXSmartWindowMap::~CKXSmartWindowMap() {
    if (address != nullptr) GlobalStoreOf(handle).UnMapWindow(handle, address, length);
}

unsigned char* CKXSmartWindowMap::GetMapAddress(unsigned char* base, unsigned long offset) {
    if (base != nullptr) return base + offset;
    if (offset == currentOffset) return address;

    CMmfManager& store = GlobalStoreOf(handle);
    store.UnMapWindow(handle, address, length);
    const std::uint64_t blockSize = store.GetSize(handle);
    length =
        IsWindowInside(blockSize, offset, windowSize) ? windowSize : static_cast<std::uint32_t>(blockSize - offset);
    address = NullIfRefused(store.MapWindow(handle, offset, length));
    currentOffset = offset;
    return address;
}

}  // namespace KX
