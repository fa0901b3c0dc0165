#pragma once

#include <string>

#include "KxApi.h"
#include "mmf/BlockIo.h"
#include "mmf/IndependentMmf.h"
#include "stream/Pointer.h"

namespace KX {

// A buffer over one block of a private store, which it makes for itself or shares with another buffer. Writing and
// reading go as with CMmfIo.
//
// Ownership: the store is counted, and goes with the last buffer or other holder that lets it go, and its blocks and
//            files with it. The block is freed by Create and SetOutputInfo, which replace one that is too small, and by
//            Remove.
// Errors:    ReadIn, WriteOut and Skip: see CBlockIo. Create, Open, SetOutputInfo and the header file give
//            kResultInvalidArgument before Initialize has succeeded. Nothing throws.
// Threads:   one thread at a time per buffer, and for all buffers that share a store.
class KX_API CIndependentMmfIo : public CBlockIo {
public:
    CIndependentMmfIo();
    ~CIndependentMmfIo() override;

    // Makes a private store with that prefix and folder (see CIndependentMmf::SetDirectory). Where they are refused the
    // store keeps its defaults, as callers have settled on. Once per buffer.
    // kResultOutOfMemory. kResultInvalidArgument: the buffer has a store already.
    Result Initialize(const wchar_t* prefix, const wchar_t* directory);
    // Shares the store and the block of another buffer, its position and its data size, but not its view: Open one.
    // kResultInvalidArgument: this buffer has a store already, or the other one has none.
    Result Initialize(const CIndependentMmfIo& other);

    // Holds a block of at least that size, sets the data size and moves to the beginning. The view stays, if there is
    // one. kResultNothingDone: the block that was held is large enough, and stays. kResultOutOfMemory: no block; the
    // one that was held is gone.
    Result Create(unsigned long size);
    // Takes the block of that handle, and its size for the data size, and starts at its beginning. A block that was
    // held is not freed. kResultInvalidArgument: the handle is 0.
    Result Open(unsigned int block);
    // Ends writing: closes the view and moves to the beginning. Always 0.
    Result Save();

    // CIndependentMmf::SaveHeaderFile and LoadHeaderFile, but that 0 is returned also where they fail, as callers have
    // settled on. kResultInvalidArgument: there is no store.
    Result SaveHeaderFile();
    Result LoadHeaderFile();

    // Sets the empty text: a block of a private store has no name.
    Result GetSearchDirectory(std::wstring& directory) const override;
    // Makes room for so many bytes at the position, and opens a view where none is open. A block that is too small is
    // replaced by one of that size alone, without its content, and the view with it. The data size stays.
    // kResultOutOfMemory: no block; the one that was held is gone, and the view stays.
    Result SetOutputInfo(unsigned long outputSize, unsigned long secondSize) override;
    // The data size, wherever the position.
    unsigned long GetReadSize() const override { return GetSize() - GetRemainingSize(); }
    // Always 0.
    unsigned long GetWriteSize() const override { return 0; }

protected:
    CMmfManager* StoreOf(unsigned int block) const override;
    bool Allocate(unsigned long size, unsigned int& block) override;

private:
    CPointer<CIndependentMmf> store;
};

}  // namespace KX
