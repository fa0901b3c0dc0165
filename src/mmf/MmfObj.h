#pragma once

#include <cstdint>
#include <string>

#include "io/Result.h"
#include "mmf/CriticalSection.h"

namespace KX {
class CIoStream;
}

// One backing store of the block store: a temporary file that is mapped on demand, or a heap buffer in place of it.
// The base class owns the store and its lock; the classes derived from it place blocks in it.
//
// Ownership: owns the heap buffer, the descriptor and the file on disk, which is deleted with the object. The
//            address of a whole block ends with the last UnMap, with MemFree, or with the object. A window of a
//            file is its caller's and stays mapped until UnMapWindow, which must come before the object goes.
// Units:     sizes, offsets and lengths are in bytes.
// Errors:    null, false, 0 or a Result. A mapping that the system refuses is returned as it came: MAP_FAILED. The
//            operations that make a store may throw std::bad_alloc, and leave it as far as it came.
// Threads:   any; every operation holds the object's lock. A CMmfManager calls in with its own lock held.
class CMmfObj {
public:
    // Builds an object without a store. Only shareable objects are offered requests of at most 64 MiB.
    explicit CMmfObj(bool bShareable);
    virtual ~CMmfObj();

    CMmfObj(const CMmfObj&) = delete;
    CMmfObj& operator=(const CMmfObj&) = delete;

    // Places a block and gives its number. False: no room, or no memory to record it; the number is then 0 in this
    // class, 0xFFFFFFFF in an unshared object, and as it was in a shared one.
    virtual bool MemAlloc(unsigned long size, unsigned int& block);
    // Frees a block, unmapping it under whoever still has it mapped; bEmpty tells whether it was the last one.
    // kResultInvalidArgument: no such block, bEmpty as it was. kResultNotSupported: this class has no blocks, bEmpty
    // is true.
    virtual KX::Result MemFree(int block, bool& bEmpty);

    // Maps the whole block, or counts one more map of it. Null: no such block, or an UnMap too many came before.
    // Each call is paired with an UnMap.
    virtual unsigned char* Map(int block);
    // Maps a part of the block, which is not counted; the offset lies on a page boundary. Null: no such block, or
    // the window does not lie inside it. Paired with UnMapWindow of the same address and length. In a file, a window
    // made while the whole block is mapped sets the length that the last UnMap gives back, as callers have settled
    // on: the rest of the whole map then stays until the process ends.
    virtual unsigned char* MapWindow(int block, unsigned long offset, unsigned long length);
    virtual void UnMapWindow(void* address, unsigned long length);
    virtual void UnMap(int block);

    // The block's room in bytes, and the count of its whole-block maps; 0 for an unknown block.
    virtual unsigned long GetSize(unsigned int block);
    virtual unsigned long GetRefCount(unsigned int block);

    // Writes and reads the object's record in a header file, but for the byte that tells its class. This class has the
    // name of the backing file, without its folder, and the size. Loading is for an object without a store; it opens
    // the file in the folder, making or growing it where it is missing or too short. After a failure the object is
    // without one still. An empty name opens nothing.
    //
    // kResultInvalidArgument  the object has a store already, or the folder is null
    // kResultMalformed        the name is not one of a file in a folder, or what the record says cannot be
    // kResultFail             the record ends inside the name
    //
    // or what the stream answers
    virtual KX::Result SaveHeader(KX::CIoStream& stream, const wchar_t* directory);
    virtual KX::Result LoadHeader(KX::CIoStream& stream, const wchar_t* directory);

    // A length in slots that no run of free slots exceeds; 0 for a class that shares nothing. It may be too large,
    // never too small, so that a request above it need not be tried.
    virtual unsigned int FreeRunBound();
    // A number that no other block has had since the process began; 0 for an unknown block. It tells a block from an
    // earlier one under the same handle.
    virtual std::uint64_t GetSerial(unsigned int block);

    // Names the backing file and makes the store in the folder, which is made if its parent exists: `size` bytes of
    // heap if bInMemory is set and they can be had, else a sparse file. False: prefix or directory is null or
    // empty. A file that cannot be opened is not reported here; mapping it fails later.
    bool CreateMemMapFile(const wchar_t* prefix, const wchar_t* directory, unsigned long size);
    // Makes the store of an object whose name and size came from elsewhere. A file that is long enough stays as it is.
    // Always kResultOk.
    KX::Result MappingFile();
    // Frees the heap buffer, closes and deletes the file.
    void DestroyMemMapFile();

    // As the constructor was told.
    bool IsShareable() const { return bShareable; }
    // Whether the store is a heap buffer.
    bool IsInMemory();
    // The size of the store, 0 when there is none.
    std::uint64_t GetFileSize();

protected:
    std::wstring filePath KX_GUARDED_BY(lock);                // full path of the backing file, empty when there is none
    std::uint64_t fileSize KX_GUARDED_BY(lock) = 0;           // of the store in bytes
    unsigned char* heapBuffer KX_GUARDED_BY(lock) = nullptr;  // null where the store is a file
    const bool bShareable;                                    // see the constructor
    CKXCriticalSection lock;                                  // guards all else
    int fd KX_GUARDED_BY(lock) = -1;                          // of the backing file, -1 while it is not open
    bool bInMemory KX_GUARDED_BY(lock) = false;               // the store is, or is to be, a heap buffer

    // Reopens the backing file; -1 also where memory for its name is short.
    int OpenBackingFile(std::uint64_t size) const noexcept KX_REQUIRES(lock);
    // Maps [offset, offset + length) of the backing file of a store of that size. MAP_FAILED also where the file ends
    // before: touching what is missing would end the process. Only that of a store of 4 GiB or more may, as it is known
    // to be shorter than its store (mmf/BackingFile.h).
    unsigned char* MapBackingFile(std::uint64_t storeSize, unsigned long length, unsigned long offset) const
        KX_REQUIRES(lock);
    // Another one at each call. Never 0.
    static std::uint64_t NewSerial();
    // Takes back the name and the size that LoadHeader has read, after a failure to read the rest.
    void ForgetFile();

private:
    bool HasStore() const KX_REQUIRES(lock);
    bool TakeHeap(std::uint64_t size) KX_REQUIRES(lock);
    void OpenInFolder(const std::string& folder, std::uint64_t size) KX_REQUIRES(lock);
};

// Composes the path of a backing file, unique to the second only: directory + "/" + prefix + the time in seconds +
// ".tmp". `unique` is not used. The caller provides the room; returns out.
wchar_t* GetTempFileName(const wchar_t* directory, const wchar_t* prefix, unsigned char unique, wchar_t* out);

// Opens a backing file for reading and writing, making it if it is missing (mode 0600), and grows it to size + 2
// bytes unless size is 0. Returns the descriptor, which the caller closes, or -1 with the reason in errno. May
// throw std::bad_alloc. All is reckoned in 32 bits: a store of 4 GiB or more has a file of its size modulo 2^32 plus
// 2 bytes, none at all for 4 GiB itself, and 1 byte for 2^32 - 1.
int OpenFile4MMF(std::wstring path, unsigned int size);
