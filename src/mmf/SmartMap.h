#pragma once

#include "KxApi.h"
#include "mmf/BlockWindow.h"
#include "mmf/StoreInitializer.h"

namespace KX {

// Maps a whole block of a global store for its own lifetime. One thread per object; the block must stay allocated.
class KX_API CKXSmartMap {
public:
    // Maps the block.
    explicit CKXSmartMap(unsigned int handle);
    ~CKXSmartMap();

    CKXSmartMap(const CKXSmartMap&) = delete;
    CKXSmartMap& operator=(const CKXSmartMap&) = delete;

    // The block's address, which lives as long as this object; the fallback if the block could not be mapped.
    unsigned char* GetMapAddress(unsigned char* fallback);
    const unsigned char* GetMapAddress(const unsigned char* fallback) const;

private:
    unsigned int handle;
    unsigned char* address;  // null if the block could not be mapped
};

// Maps one window of a block of a global store at a time and moves it on request, to walk through a block that is
// larger than the address space to be spent on it. One thread per object; the block must stay allocated.
class KX_API CKXSmartWindowMap {
public:
    // Maps nothing yet. The window size is in bytes.
    CKXSmartWindowMap(unsigned int handle, unsigned int windowSize);
    ~CKXSmartWindowMap();

    CKXSmartWindowMap(const CKXSmartWindowMap&) = delete;
    CKXSmartWindowMap& operator=(const CKXSmartWindowMap&) = delete;

    // base + offset if the caller has a mapping already. Otherwise the address of the window at that offset of the
    // block, shorter than the window size where the block ends first; it lives until the next call with another
    // offset. The offset lies on a page boundary. Null: the window could not be mapped, and is not tried again
    // before another offset was asked for.
    unsigned char* GetMapAddress(unsigned char* base, unsigned long offset);

private:
    CBlockWindow window;
};

}  // namespace KX
