#include "mmf/SmartMap.h"

#include <sys/mman.h>

#include "mmf/MmfManager.h"

namespace KX {

CKXSmartMap::CKXSmartMap(unsigned int handle) : handle(handle), address(GlobalStoreOf(handle).Map(handle)) {
    if (address == MAP_FAILED) address = nullptr;  // to the users of a view a refused mapping is none
}

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
    : window(&GlobalStoreOf(handle), handle, windowSize) {}

CKXSmartWindowMap::~CKXSmartWindowMap() = default;

unsigned char* CKXSmartWindowMap::GetMapAddress(unsigned char* base, unsigned long offset) {
    return window.GetMapAddress(base, offset);
}

}  // namespace KX
