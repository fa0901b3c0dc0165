#pragma once

#include <memory>
#include <string>

#include "KxApi.h"
#include "mmf/BlockIo.h"
#include "mmf/StoreInitializer.h"

namespace KX {

// A buffer over one block of a global store, in which an object stream can be kept instead of in a file. Abstract: a
// class of the application's adds GetReadSize and GetWriteSize, as examples/block_stream does.
//
// Writing:   Create with the size of all that is to be written, then SetOutputInfo and WriteOut for each piece of it.
// Reading:   Open with the handle of a block.
// Ownership: the block is the application's. It is freed by Create and SetOutputInfo, which replace one that is too
//            small, and by Remove, never by the destructor: note GetHandle, or Remove it. Names are copied.
// Errors:    ReadIn, WriteOut and Skip: see CBlockIo. Nothing throws.
// Threads:   one thread at a time per buffer.
class KX_API CMmfIo : public CBlockIo {
public:
    CMmfIo();
    ~CMmfIo() override;

    // Holds a block of at least that size, under that name, and sets the data size. The position stays, and so does
    // the view, if there is one.
    //
    // kResultNothingDone      the block that was held is large enough, and stays
    // kResultOutOfMemory      no block, and the one that was held is gone; or no memory for the name, and nothing has
    //                         changed: GetHandle tells
    // kResultInvalidArgument  the name is null; nothing has changed
    Result Create(unsigned long size, const wchar_t* name);
    // Takes the block of that handle, and its size for the data size, and starts at its beginning. A block that was
    // held is not freed.
    //
    // kResultInvalidArgument  the handle is 0 or the name is null; nothing has changed
    // kResultOutOfMemory      no memory for the name; nothing has changed
    Result Open(unsigned int block, const wchar_t* name);
    // Ends writing: lets the view go and takes the name. Open it again before reading or writing, which fail until
    // then; Skip still moves the position, and Close answers as if the view were there.
    // kResultInvalidArgument, kResultOutOfMemory: for the name, as in Open.
    Result Save(const wchar_t* name);

    // Copies the name, which tells GetSearchDirectory where the block's data come from, and gives the copy, which lives
    // until the next name. Null: the name is null or there is no memory; the earlier one stays.
    wchar_t* SetFile(const wchar_t* name);

    // The folder of the name; empty without one. kResultOutOfMemory: unchanged.
    Result GetSearchDirectory(std::wstring& directory) const override;
    // Makes room for so many bytes at the position, and opens a view in place of the one that is open. A block that is
    // too small is replaced by one of that size alone, without its content. The data size stays.
    // kResultOutOfMemory: no block; the one that was held is gone, and the view stays.
    Result SetOutputInfo(unsigned long outputSize, unsigned long secondSize) override;

protected:
    CMmfManager* StoreOf(unsigned int block) const override;
    bool Allocate(unsigned long size, unsigned int& block) override;

private:
    Result TakeName(const wchar_t* name);

    std::unique_ptr<wchar_t[]> fileName;
};

}  // namespace KX
