#pragma once

#include <string>

#include "KxApi.h"
#include "mmf/StoreInitializer.h"

namespace KX {

// The four global block stores, numbered 0 to 3: very large working data as numbered blocks, in heap buffers or in
// temporary files that are mapped only while needed. Blocks of at most 64 MiB share buffers of 64 MiB; a larger
// block has a sparse file of its own, which is deleted with the block.
//
// Handles:   32 bits that name a block, 0 for none (mmf/BlockHandle.h). A handle that names nothing gives null or
//            0, or does nothing.
// Ownership: the stores own the memory. An address lives until its UnMap or UnMapWindow; one of the whole block also
//            ends with MemFree. Windows are to be given back before MemFree: those of a file would stay mapped, and
//            keep its room on disk, until the process ends.
// Units:     bytes.
// Errors:    false, null or 0; nothing throws. Where the system refuses a mapping (no file could be made, say), the
//            address is MAP_FAILED, not null: check for both. A disk that is full shows only when pages are
//            written. Of a block of more than 0xFFFFFFFE bytes only the first (size modulo 2^32) bytes have a file
//            behind them; touching more ends the process. One of 0xFFFFFFFF bytes cannot be mapped.
// Files:     named by folder, prefix and second. Objects made in one second under one folder and prefix, those of
//            small blocks included, share a name: two large blocks overwrite each other, and the first object to go
//            deletes the file of the others. Give them different stores, folders, prefixes or seconds.
// Threads:   any, but for SetDirectory, which needs a quiet store. Addresses are used without a lock. Threads that use
//            the stores end before the static objects of the program do.
// Processes: a forked child can read what is mapped and should leave the stores alone; at its end they stay as they
//            are.
class KX_API CMmf {
public:
    CMmf() = delete;

    // Allocates a block in the first store that has room. With bMap it is mapped and its address stored in *ppAddr,
    // and the caller owes one UnMap. False: size is 0 or ppAddr is missing, with the handle as it was; no store has
    // room, with a handle of 0; or a block of at most 16 MiB could not be mapped, which stays allocated under its
    // handle.
    static bool MemAlloc(unsigned long size, unsigned int& handle, bool bMap, unsigned char** ppAddr);
    // Frees the block, unmapping it under whoever still has it mapped, and sets the handle to 0 in any case.
    static void MemFree(unsigned int& handle);

    // The address of the block. Maps are counted; each one is paired with an UnMap.
    static unsigned char* Map(unsigned int handle);
    static void UnMap(unsigned int handle);
    // The address of [offset, offset + length) of the block; null where that is not inside it. The offset lies on a
    // page boundary. Paired with UnMapWindow of the same address and length. Not to be made while a block above 64 MiB
    // is mapped whole: the last UnMap would give back no more than the length of the window.
    static unsigned char* MapWindow(unsigned int handle, unsigned long offset, unsigned long length);
    static void UnMapWindow(unsigned int handle, void* address, unsigned long length);

    // The room of the block: its size rounded up to 64 KiB, or exactly its size above 64 MiB.
    static unsigned long GetSize(unsigned int handle);
    // How often the whole block is mapped.
    static unsigned long GetRefCount(unsigned int handle);

    // Gives the objects to come of a store a folder (an absolute path with a separator at its end, whose parent must
    // exist; the store removes it whenever it is empty of blocks and of anything else), a prefix,
    // of which all but the last character is kept, three characters at the most, and a limit for the size of all
    // its objects, 0 for none. False, with all as before: no store of that number, a null or empty text, or the
    // system's temporary folder itself.
    static bool SetDirectory(int index, const wchar_t* prefix, const wchar_t* directory, unsigned int sizeLimit);
    // Copies the folder of a store with its terminator, the empty text for a wrong number. The caller provides room
    // for the whole path; length is not looked at.
    static void QueryDirectoryString(int index, wchar_t* buffer, unsigned int length);
    // Always 0: see IsBackingFileName in mmf/StoreFolder.h.
    static unsigned int GetDirectoryMMFQuantity(const wchar_t* directory);

    // Of the system.
    static long GetPageSize();
    // The size rounded up to whole pages, in 32 bits.
    static unsigned long GetBlockSize(unsigned int size);

    // Destroys all blocks of all stores, with their files. To be called before the program ends; the stores can be
    // used again. What is left in the stores' folders is printed to standard output.
    static void Finalize();

    // The system's temporary folder: TMPDIR, or "Ferrovance" in the user's home folder. The caller of the first
    // provides the room.
    static void GetSystemTmpPath(wchar_t* buffer);
    static void GetTmpDirForOSX(std::string& path);
};

}  // namespace KX
