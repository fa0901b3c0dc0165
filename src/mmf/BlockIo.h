#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "KxApi.h"
#include "io/IoBuffer.h"
#include "mmf/BlockWindow.h"

class CMmfManager;

namespace KX {

// What the buffers over a block of a store have in common. The block is reached through a view, of which at most one
// window of 16 MiB is mapped at any time. Block and view come and go independently of each other.
//
// Units:  bytes. One position serves reading, writing and skipping. The data size bounds all three; it is not always
//         that of the block.
// Errors: Skip asks for a view alone: kResultInvalidArgument, or kResultFail with the position as it was. ReadIn and
//         WriteOut give, and copy nothing but in the last case:
//         kResultInvalidArgument  no view is open, no block is held, it was freed by somebody else, or a null is to be
//                                 copied from or to
//         kResultFail             the data size would be passed, or the block where that is smaller, or its file where
//                                 it has 4 GiB and more (see CMmf). The position is moved to the data size
//         kResultIoFailed         the system refuses to map a window; what came before it is copied and counted
// Blocks: where the buffer frees its block under its open view, the next access goes to the block that is held then. A
//         block that somebody else frees is found out, also where its handle is given out again: the buffer neither
//         touches nor frees the new one before it is opened. Each block freed in a store costs its buffers a look-up.
class KX_API CBlockIo : public CIoBuffer {
public:
    ~CBlockIo() override;

    // The block that is held, 0 for none.
    unsigned int GetHandle() const { return handle; }
    // Frees the block, if one is held. The view stays open.
    void Remove() { FreeBlock(); }
    // Moves to the beginning.
    void Reset() { position = 0; }
    // Closes the view; the block is kept. kResultNothingDone: none was open.
    Result Close();

    bool IsBufferEnd() const override { return position == dataSize; }
    // Whether a file of that name exists, as CFileIo tells.
    bool CheckFileExist(std::wstring name) const override;
    // The data size.
    unsigned long GetSize() const override { return dataSize; }
    // Always 0.
    unsigned long GetRemainingSize() const override { return 0; }
    // Neither capacity nor progress are looked at.
    Result ReadIn(void* destination, unsigned long capacity, unsigned long count, CProgress* progress) override;
    Result WriteOut(const void* source, unsigned long count, CProgress* progress) override;

    Result Skip(unsigned long count) override;

protected:
    CBlockIo();

    // The store that the block of that handle is in.
    virtual CMmfManager* StoreOf(unsigned int block) const = 0;
    // False: no block, with a handle of 0; or one that could not be mapped.
    virtual bool Allocate(unsigned long size, unsigned int& block) = 0;

    // Holds the block of that handle from now on.
    void TakeBlock(unsigned int block);
    // Whether the block that is held has room for so many bytes from that position on.
    bool HasRoom(unsigned long from, unsigned long count);
    // Frees the block that is held, its window first. An open view stays open.
    void FreeBlock();
    // Takes a new block in place of the one that is held, whose content is gone. kResultOutOfMemory.
    Result ReplaceBlock(unsigned long size);
    // Opens a view of the block that is held, in place of one that is open.
    void OpenView();
    // Lets the view go.
    void ReleaseView() { view.reset(); }

    unsigned int handle = 0;     // of the block, 0 for none
    std::uint64_t serial = 0;    // of the block; 0 before one was found
    std::uint64_t position = 0;  // where the next byte is read or written
    std::uint64_t dataSize = 0;  // the position that none passes
    bool hasView = false;        // as callers are told; after CMmfIo::Save one that is gone

private:
    bool IsBlockThere();
    Result RefusePastEnd();
    template <typename Copy>
    Result Transfer(unsigned long count, Copy copy);

    static constexpr unsigned int kWindowSize = 0x1000000;

    std::optional<CBlockWindow> view;
};

}  // namespace KX
