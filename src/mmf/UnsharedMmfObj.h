#pragma once

#include "mmf/MmfObj.h"

// A backing file that holds one block, number 0, which fills it. For blocks of more than 64 MiB.
//
// Errors and threads as in CMmfObj. UnMap without a Map wraps the count around, so that the next Map only counts and
// gives null; this rule is settled and kept.
class CUnsharedMmfObj : public CMmfObj {
public:
    CUnsharedMmfObj();
    ~CUnsharedMmfObj() override;

    // Makes the backing file; see CreateMemMapFile. Never a heap buffer.
    bool CreateUnShareMemMapFile(const wchar_t* prefix, const wchar_t* directory, unsigned long size);

    bool MemAlloc(unsigned long size, unsigned int& block) override;
    // The block number is ignored: there is only one.
    KX::Result MemFree(int block, bool& bEmpty) override;

    unsigned char* Map(int block) override;
    unsigned char* MapWindow(int block, unsigned long offset, unsigned long length) override;
    void UnMapWindow(void* address, unsigned long length) override;
    void UnMap(int block) override;
    unsigned long GetSize(unsigned int block) override;
    unsigned long GetRefCount(unsigned int block) override;
    // The record adds whether the block is allocated, and the low 32 bits of the count of its maps. A count above 0 is
    // kept, so that the next Map only counts, and gives null: save while nothing is mapped.
    KX::Result SaveHeader(KX::CIoStream& stream, const wchar_t* directory) override;
    KX::Result LoadHeader(KX::CIoStream& stream, const wchar_t* directory) override;

    std::uint64_t GetSerial(unsigned int block) override;

private:
    void UnmapWhole() KX_REQUIRES(lock);

    const std::uint64_t serial = NewSerial();
    bool bAllocated KX_GUARDED_BY(lock) = false;
    std::uint64_t refCount KX_GUARDED_BY(lock) = 0;
    unsigned char* mappedAddress KX_GUARDED_BY(lock) = nullptr;  // the whole block while refCount is above 0
    std::uint64_t mappedLength KX_GUARDED_BY(lock) = 0;          // of the last mapping made, whole or window
};
