#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "io/Map.h"
#include "mmf/MmfObj.h"

// A store of 64 MiB, cut into 1024 slots of 64 KiB, that many blocks share. A block takes a run of slots, the first
// one long enough from the start of the store, and is never moved; its number is its first slot. The store is a
// heap buffer, or a file where that buffer cannot be had.
//
// Cost:    Map and UnMap of a block in a heap buffer are pointer arithmetic;
//          MemAlloc looks at no more than the 1024 slots.
//
// Errors and threads as in CMmfObj. A block's size is that of its slots: 100 bytes report 65536. As in an unshared
// object, UnMap without a Map wraps the count around.
class CShareMmfObj : public CMmfObj {
public:
    // In bytes, but for the number of slots.
    static constexpr unsigned long kSlotSize = 0x10000;
    static constexpr unsigned long kSlotCount = 1024;
    static constexpr unsigned long kStoreSize = kSlotSize * kSlotCount;  // 0x4000000, 64 MiB

    // A block.
    struct CMapping {
        std::uint64_t firstSlot = 0;             // its number
        std::uint64_t slotCount = 0;             // how many it takes
        std::uint64_t refCount = 0;              // whole-block maps
        unsigned char* mappedAddress = nullptr;  // the whole block while refCount is above 0
        std::uint64_t mappedLength = 0;          // of the last view made, whole or window
        std::uint64_t serial = 0;                // of this block alone
    };

    CShareMmfObj();
    ~CShareMmfObj() override;

    // Makes the store; see CreateMemMapFile.
    bool CreateShareMemMapFile(const wchar_t* prefix, const wchar_t* directory);

    bool MemAlloc(unsigned long size, unsigned int& block) override;
    KX::Result MemFree(int block, bool& bEmpty) override;
    unsigned char* Map(int block) override;
    unsigned char* MapWindow(int block, unsigned long offset, unsigned long length) override;
    void UnMapWindow(void* address, unsigned long length) override;
    void UnMap(int block) override;
    unsigned long GetSize(unsigned int block) override;
    unsigned long GetRefCount(unsigned int block) override;
    // The record adds the blocks, by first slot, and the slot flags. What was a heap buffer is a file after loading,
    // and the blocks are zeros unless it was one before. kResultMalformed: a block that has no slots, leads past the
    // last one, or overlaps another. A slot counts as used where its flag says so, and where there is a block.
    KX::Result SaveHeader(KX::CIoStream& stream, const wchar_t* directory) override;
    KX::Result LoadHeader(KX::CIoStream& stream, const wchar_t* directory) override;

    unsigned int FreeRunBound() override;
    std::uint64_t GetSerial(unsigned int block) override;

private:
    using Mappings = KX::CMap<unsigned long, CMapping>;
    using Slots = std::array<unsigned char, kSlotCount>;

    // A run of free slots, or none of the length asked for and the longest one there is.
    struct FreeRun {
        std::size_t start;
        std::size_t length;
    };

    static CMapping MakeMapping(std::uint64_t firstSlot, std::uint64_t slotCount);
    FreeRun FindFirstRun(std::size_t wanted) const KX_REQUIRES(lock);
    std::size_t FreeRunAround(Mappings::iterator block) KX_REQUIRES(lock);
    CMapping* Find(unsigned int block) KX_REQUIRES(lock);
    KX::Result WriteBlocks(KX::CIoStream& stream) const KX_REQUIRES(lock);
    KX::Result ReadBlocks(KX::CIoStream& stream) KX_EXCLUDES(lock);
    static KX::Result ReadPlaces(KX::CIoStream& stream, Mappings& blocks, Slots& used);
    void MapWhole(CMapping& mapping) KX_REQUIRES(lock);
    void UnmapWhole(CMapping& mapping) const KX_REQUIRES(lock);

    Slots slotUsed KX_GUARDED_BY(lock){};                               // 1 where a block stands
    Mappings mappings KX_GUARDED_BY(lock);                              // by first slot
    std::array<CMapping*, kSlotCount> mappingAt KX_GUARDED_BY(lock){};  // the same, found without a search
    std::size_t freeRunBound KX_GUARDED_BY(lock) = kSlotCount;
    bool hasHeapViews KX_GUARDED_BY(lock) = false;  // the store is, or was until it went, a heap buffer
};
