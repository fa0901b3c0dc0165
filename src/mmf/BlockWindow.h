#pragma once

#include <cstdint>

class CMmfManager;

namespace KX {

// One window at a time of a block in a store: what the views of blocks and the buffers over them are made of.
//
// Ownership: a window of a file is mapped for this object alone and given back by it, also where the block has gone
//            meanwhile. A window of a heap buffer goes with its block. Store and block must be there when a window is
//            asked for.
// Threads:   one thread at a time per object.
class CBlockWindow {
public:
    // Maps nothing yet. The window size is in bytes. Without a store there is no block.
    CBlockWindow(CMmfManager* store, unsigned int handle, unsigned int windowSize);
    ~CBlockWindow() { Release(); }

    CBlockWindow(const CBlockWindow&) = delete;
    CBlockWindow& operator=(const CBlockWindow&) = delete;

    // base + offset if the caller has a mapping already. Otherwise the address of the window that starts at the offset,
    // which lies on a page boundary; the window is cut where the block ends, and lives until another offset is asked
    // for. Null: it could not be mapped, and is not tried again before another offset was asked for.
    unsigned char* GetMapAddress(unsigned char* base, unsigned long offset) {
        if (base != nullptr) return base + offset;
        return offset == currentOffset ? address : MapAt(offset);
    }

    // Gives the window back; the next one that is asked for is mapped afresh.
    void Release();

    // Whether the block is still the one that it was when this object came, or first found one. False, with the window
    // given back: it was freed, even if its handle was given out again.
    bool CheckBlock();
    // The bytes of the block that can be touched, as of the last CheckBlock: all of them, unless its file is shorter by
    // the rules of stores of 4 GiB and more.
    std::uint64_t GetRoom() const { return room; }

private:
    unsigned char* MapAt(unsigned long offset);

    static constexpr std::uint64_t kNoOffset = 0xFFFFFFFF;

    std::uint64_t currentOffset = kNoOffset;
    unsigned int windowSize;
    unsigned int handle;
    unsigned char* address = nullptr;
    std::uint64_t length = 0;

    CMmfManager* store;
    bool isInMemory = false;   // the window is one of a heap buffer, and nothing to unmap
    std::uint64_t serial = 0;  // of the block, 0 before it was there
    std::uint64_t room = 0;
    std::uint64_t checkedAt = 0;  // when the store had freed so many blocks
};

}  // namespace KX
