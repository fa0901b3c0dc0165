#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "io/ArrayList.h"
#include "io/Result.h"
#include "mmf/BlockHandle.h"
#include "mmf/CriticalSection.h"
#include "mmf/FreeRunIndex.h"
#include "mmf/MmfObj.h"
#include "mmf/StoreInitializer.h"

namespace KX {
class CIoStream;
}

// One block store: its backing objects, and the handles that name the blocks in them (mmf/BlockHandle.h, with 0 in
// the store bits, which are ignored in the handles that come in).
//
// Placing:   a block of at most 64 MiB shares the first object with room for it, a larger one gets an object of its
//            own. The last block to go takes its object with it, and the last object the folder, if that is empty.
// Ownership: owns its objects and their files. The address of a whole block lives until the last UnMap, MemFree or
//            the end of the store, a window until UnMapWindow, which comes before MemFree.
// Units:     bytes.
// Errors:    false, null, 0 or a Result; nothing throws. A mapping that the system refuses comes back as
//            MAP_FAILED. A handle of a block that is gone gives null or 0, or does nothing.
// Threads:   any, but for SetDirectory and the header file, which need a quiet store. Addresses are used without a
//            lock.
class CMmfManager {
public:
    // A store in the folder "KXTmp" under the system's temporary folder, with prefix "KX_" and no size limit.
    CMmfManager();
    virtual ~CMmfManager();

    CMmfManager(const CMmfManager&) = delete;
    CMmfManager& operator=(const CMmfManager&) = delete;

    // Names the folder of the objects to come, by convention with a separator at its end, and their prefix, of
    // which all but the last character is kept, three characters at the most; a prefix of one character leaves the
    // store without one and thus unable to make objects. False, with all as before: either is null or empty, or the
    // folder is the system's temporary folder itself.
    bool SetDirectory(const wchar_t* prefix, const wchar_t* directory);
    // The most that all objects may take together when another one is made; 0 for no limit.
    void SetSizeLimit(unsigned int bytes) { sizeLimit = bytes; }
    // The folder of the objects to come.
    const std::wstring& GetDirectory() const { return directory; }

    // False, with the handle as it was: size is 0, the limit is reached, no memory, or no object number is left.
    bool MemAlloc(unsigned long size, unsigned int& handle);
    // kResultInvalidArgument: the handle names no object or no block of it; kResultOk for a block of an object that has
    // gone. A block still mapped is unmapped.
    KX::Result MemFree(unsigned int handle);

    // Each Map is paired with an UnMap, each MapWindow with an UnMapWindow of its address and length. A window's
    // offset lies on a page boundary.
    unsigned char* Map(unsigned int handle);
    void UnMap(unsigned int handle);
    unsigned char* MapWindow(unsigned int handle, unsigned long offset, unsigned long length);
    void UnMapWindow(unsigned int handle, void* address, unsigned long length);
    // The same, telling also whether the window is one of a heap buffer, and thus not a mapping of its own.
    unsigned char* MapWindow(unsigned int handle, unsigned long offset, unsigned long length, bool& isInMemory);

    // The block's room, which is that of its slots in a shared object, and its number of whole-block maps.
    unsigned long GetSize(unsigned int handle);
    unsigned long GetRefCount(unsigned int handle);
    // A number that no other block has had since the process began, 0 where the handle names none: it tells whether a
    // handle has been given out again. While the number of blocks freed so far stays as it is, none has; Finalize
    // counts as one.
    std::uint64_t GetSerial(unsigned int handle);
    std::uint64_t GetFreedCount() const { return freedCount; }

    // Writes the header file, folder + prefix + ".mmfheader", in place of an earlier one, which is left alone where the
    // header cannot be saved at all; a failure on the way leaves it cut short. docs/header-format.md tells its layout.
    //
    // kResultInvalidArgument  the list of objects has a gap where one has gone
    // kResultOpenFailed       the file cannot be made, or what is in its place is no ordinary one, but a link, say
    // kResultIoFailed, kResultOutOfMemory
    KX::Result SaveHeaderFile();
    // Adds the objects of the header file to the list and opens their backing files, as LoadHeader of each class tells.
    // Made for a store that holds no objects: records address objects by their numbers, and one that is there already
    // is in the way. The total of the sizes does not count what is loaded, but loses it when it is freed, and wraps
    // around, as callers have settled on.
    //
    // kResultOpenFailed       there is no header file, or it cannot be read
    // kResultIoFailed         it is cut short; kResultFail: inside a name
    // kResultMalformed        an object that cannot be; more objects than have a number
    // kResultInvalidArgument  the file has an object, and one is in the way
    // kResultOutOfMemory
    //
    // After a failure the objects that came before it are in the list, perhaps with a last one that holds nothing.
    KX::Result LoadHeaderFile();

    // Destroys every object, with its blocks and its file, and deletes the store's header file. The store can be
    // used again afterwards. Prints what is left in the folder; see DeleteMMFDirectory.
    void Finalize();

    // Prints the names in the folder to standard output, the last one first. Deletes nothing: the suffix that it
    // looks for is never met, as callers have settled on.
    void DeleteMMFDirectory(const wchar_t* folder);

private:
    bool AllocLarge(unsigned long size, unsigned int& handle);
    bool AllocShared(unsigned long size, unsigned int& handle);
    bool AllocInPresentObject(unsigned long size, unsigned int& handle) KX_REQUIRES(lock);
    bool IsOverLimit(unsigned long size) const;
    std::wstring HeaderFilePath() const;
    KX::Result WriteHeader(KX::CIoStream& stream) KX_REQUIRES(lock);
    KX::Result ReadHeader(KX::CIoStream& stream) KX_REQUIRES(lock);
    KX::Result LoadObject(KX::CIoStream& stream, std::size_t index) KX_REQUIRES(lock);
    bool HasFreeNumber();
    std::size_t FirstFreeEntry() KX_REQUIRES(lock);
    bool Record(std::unique_ptr<CMmfObj> object, unsigned int block, unsigned int& handle) KX_REQUIRES(lock);
    CMmfObj* Find(unsigned int handle) KX_REQUIRES(lock);
    void Destroy(std::size_t index) KX_REQUIRES(lock);

    static constexpr std::size_t kPrefixRoom = 4;

    KX::CArrayList<CMmfObj*> objects KX_GUARDED_BY(lock);  // null where an object has gone, until another comes
    wchar_t prefix[kPrefixRoom] = L"KX_";
    std::wstring directory;
    unsigned int sizeLimit = 0;
    std::atomic<std::uint64_t> totalSize = 0;  // file sizes of all objects; atomic, as large requests read it unlocked
    CKXCriticalSection lock;                   // taken before the lock of any object

    std::atomic<std::uint64_t> freedCount = 0;          // atomic, as buffers over blocks read it unlocked
    CFreeRunIndex freeRuns KX_GUARDED_BY(lock);         // FreeRunBound of each object
    std::size_t freeEntryHint KX_GUARDED_BY(lock) = 0;  // no entry below it is null
};

// The four global stores, built before any code that includes this header runs and destroyed after it.
extern CMmfManager (&g_aFixMmfManager)[4];

// The global store that a handle names.
inline CMmfManager& GlobalStoreOf(unsigned int handle) {
    return g_aFixMmfManager[BlockHandle::StoreOf(handle)];
}
