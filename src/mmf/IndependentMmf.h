#pragma once

#include <memory>

#include "KxApi.h"
#include "io/Result.h"
#include "mmf/BlockWindow.h"
#include "stream/Pointer.h"

class CMmfManager;

namespace KX {

// A private block store, which its users share by KX::CPointer<CIndependentMmf>. Blocks are placed, mapped and freed as
// in the global stores (see CMmf for addresses, windows, files and disks that are full); handles are the store's own.
// Its blocks can outlive the process: see SaveHeaderFile.
//
// Ownership: counted. The last holder to let go deletes the store with all its blocks, their files and the header file.
// Units:     bytes.
// Errors:    nothing throws. Without an Initialize that succeeded, operations give kResultInvalidArgument, null, 0 or
//            false. A handle of nothing gives null or 0, or does nothing.
// Threads:   blocks are used from any thread, as in CMmf. The count, Initialize, SetDirectory and the header file
//            belong to one thread at a time, with no other one in the store.
class KX_API CIndependentMmf {
public:
    CIndependentMmf();
    // For a store that is not counted. One that is deletes itself.
    ~CIndependentMmf();

    CIndependentMmf(const CIndependentMmf&) = delete;
    CIndependentMmf& operator=(const CIndependentMmf&) = delete;

    // Counts the holders.
    void IncrementReferences() { ++referenceCount; }
    void DecrementReferences();

    // Makes the store, in the folder "KXTmp" under the system's temporary folder with prefix "KX_": choose others by
    // SetDirectory, lest its files share their names with those of the global stores.
    // kResultOutOfMemory. kResultInvalidArgument: it is there already, and stays.
    Result Initialize();

    // Chooses prefix and folder of the objects to come and of the header file, as CMmf::SetDirectory does, but answers
    // the other way round, as callers have settled on: false when both were taken, and the size limit was not; true
    // when they were refused, and the limit was taken (bytes, 0 for none).
    bool SetDirectory(const wchar_t* prefix, const wchar_t* directory, unsigned int sizeLimit);

    // Allocates a block and touches it once, a large one in windows of 16 MiB. False: size is 0, with the handle as it
    // was; no room, with a handle of 0; or a block of at most 16 MiB could not be mapped (but a mapping that the system
    // refuses is no such case, see Map), which stays allocated.
    bool MemAlloc(unsigned long size, unsigned int& handle);
    // Frees the block, and sets the handle to 0 in any case. kResultInvalidArgument: it named no object, or no block of
    // a shared one; kResultOk where the object has gone.
    Result MemFree(unsigned int& handle);

    // As in CMmf. An address is void here, and may be MAP_FAILED.
    void* Map(unsigned int handle);
    void UnMap(unsigned int handle);
    void* MapWindow(unsigned int handle, unsigned long offset, unsigned long length);
    void UnMapWindow(unsigned int handle, void* address, unsigned long length);
    unsigned long GetSize(unsigned int handle);

    // Writes down which backing files there are and which blocks they hold (docs/header-format.md), in the file
    // folder + prefix + ".mmfheader", in place of an earlier one. Bytes that are written to the blocks afterwards need
    // no other save; blocks that are allocated or freed do. Blocks of more than 64 MiB survive the process if it ends
    // without destroying the store: killed, by _exit, or with a holder that is never let go. Smaller blocks live in
    // heap buffers and are lost with the process: put what is to survive into a block of more than 64 MiB.
    //
    // kResultInvalidArgument  a freed object has left a gap among the objects: allocate until it is filled
    // kResultOpenFailed       the file cannot be made, for instance because there is no folder yet; or what is in its
    //                         place is no ordinary file, but a link, say
    // kResultIoFailed         the file is cut short, on a full disk for instance
    // kResultOutOfMemory
    Result SaveHeaderFile();
    // Opens the blocks of a header file under the handles that they had. For a store that holds nothing yet, with the
    // folder and prefix of the one that was saved. A backing file that is missing is made, and one that is too short
    // grows, with zeros; kxstore inspect tells beforehand. The size limit counts only what is allocated afterwards.
    //
    // kResultOpenFailed       there is no header file, or it cannot be read
    // kResultIoFailed         the header file is cut short; kResultFail: inside a name
    // kResultMalformed        a name that is none, a block outside its store or upon another one, or too many objects
    // kResultInvalidArgument  the store holds objects already, which stay as they are, and the file has one
    // kResultOutOfMemory
    //
    // After a failure the objects read before it are there. Like all others they go with the store, files included:
    // who wants to try again copies the folder first.
    Result LoadHeaderFile();

private:
    friend class CIndependentSmartMap;
    friend class CIndependentMmfIo;

    unsigned int referenceCount = 0;
    std::unique_ptr<CMmfManager> manager;
};

// Maps one window of a block of a private store at a time; all else as in CKXSmartWindowMap. The store is not counted
// and must outlive the view; it must be initialized.
class KX_API CIndependentSmartMap {
public:
    // Maps nothing yet. The window size is in bytes.
    CIndependentSmartMap(unsigned int handle, unsigned int windowSize, CIndependentMmf* store);
    ~CIndependentSmartMap();

    CIndependentSmartMap(const CIndependentSmartMap&) = delete;
    CIndependentSmartMap& operator=(const CIndependentSmartMap&) = delete;

    // As CKXSmartWindowMap::GetMapAddress.
    unsigned char* GetMapAddress(unsigned char* base, unsigned long offset);

private:
    CBlockWindow window;
};

}  // namespace KX
