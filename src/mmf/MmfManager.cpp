#include "mmf/MmfManager.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <exception>
#include <new>
#include <utility>
#include <vector>

#include "io/FileIo.h"
#include "io/ResultOf.h"
#include "mmf/BlockHandle.h"
#include "mmf/HeaderFormat.h"
#include "mmf/ShareMmfObj.h"
#include "mmf/StoreFolder.h"
#include "mmf/UnsharedMmfObj.h"
#include "stream/Stream.h"
#include "stream/StreamText.h"
#include "string/Path.h"
#include "system/NarrowPath.h"
#include "system/System.h"

namespace {

constexpr wchar_t kFolderName[] = L"KXTmp";

std::wstring DefaultDirectory() {
    std::wstring path;
    KX::CSystem::GetSystemTmpPath(path);
    return KX::GetPlatformSlashFolderPath(KX::GetPlatformSlashFolderPath(std::move(path)) + kFolderName);
}

bool IsSystemTmpPath(const wchar_t* directory) {
    std::wstring path;
    KX::CSystem::GetSystemTmpPath(path);
    return path == directory;
}

int BlockNumber(unsigned int handle) {
    return static_cast<int>(BlockHandle::BlockOf(handle));
}

// Whether something that is no ordinary file is in the way of one that is to be written. Through a link somebody else's
// choice of file would be overwritten, as the name can be foreseen; a pipe would have the writer wait. One that is put
// there right after the look is not noticed.
bool IsBlocked(const std::wstring& path) {
    struct stat there {};
    return ::lstat(KX::NarrowPath(path).c_str(), &there) == 0 && !S_ISREG(there.st_mode);
}

// Without a store. Null: out of memory.
std::unique_ptr<CMmfObj> NewObject(bool isShareable) {
    if (isShareable) return std::unique_ptr<CMmfObj>(new (std::nothrow) CShareMmfObj);
    return std::unique_ptr<CMmfObj>(new (std::nothrow) CUnsharedMmfObj);
}

}  // namespace

CMmfManager::CMmfManager() : directory(DefaultDirectory()) {}

CMmfManager::~CMmfManager() {
    Finalize();
}

bool CMmfManager::SetDirectory(const wchar_t* newPrefix, const wchar_t* newDirectory) {
    if (newDirectory == nullptr || *newDirectory == L'\0') return false;
    if (newPrefix == nullptr || *newPrefix == L'\0') return false;
    try {
        if (IsSystemTmpPath(newDirectory)) return false;
        directory = newDirectory;
    } catch (const std::exception&) {  // out of memory
        return false;
    }
    // The last character goes: the copy has always been given the prefix's own length as its room, and the names
    // of existing files follow from that.
    const std::size_t kept = std::min(std::wcslen(newPrefix) - 1, kPrefixRoom - 1);
    std::wmemcpy(prefix, newPrefix, kept);
    prefix[kept] = L'\0';
    return true;
}

bool CMmfManager::MemAlloc(unsigned long size, unsigned int& handle) {
    if (size == 0) return false;
    try {
        return size > CShareMmfObj::kStoreSize ? AllocLarge(size, handle) : AllocShared(size, handle);
    } catch (const std::exception&) {  // out of memory
        return false;
    }
}

KX::Result CMmfManager::MemFree(unsigned int handle) {
    const CKXCriticalSectionSmartLock guard(lock);
    const std::size_t index = BlockHandle::ObjectOf(handle);
    if (index >= objects.size()) return KX::kResultInvalidArgument;

    if (CMmfObj* const object = objects[index]) {
        bool isEmpty = false;
        const KX::Result result = object->MemFree(BlockNumber(handle), isEmpty);
        if (KX::Failed(result)) return result;
        ++freedCount;
        if (isEmpty) {
            totalSize -= object->GetFileSize();
            Destroy(index);
        } else {
            freeRuns.Set(index, object->FreeRunBound());
        }
    }
    if (totalSize == 0) {
        try {
            ::rmdir(KX::NarrowPath(directory).c_str());  // stays where it is not empty, or no folder
        } catch (const std::exception&) {
            // No memory for the name: the folder stays.
        }
    }
    return KX::kResultOk;
}

unsigned char* CMmfManager::Map(unsigned int handle) {
    const CKXCriticalSectionSmartLock guard(lock);
    CMmfObj* const object = Find(handle);
    return object == nullptr ? nullptr : object->Map(BlockNumber(handle));
}

void CMmfManager::UnMap(unsigned int handle) {
    const CKXCriticalSectionSmartLock guard(lock);
    if (CMmfObj* const object = Find(handle)) object->UnMap(BlockNumber(handle));
}

unsigned char* CMmfManager::MapWindow(unsigned int handle, unsigned long offset, unsigned long length) {
    bool isInMemory = false;
    return MapWindow(handle, offset, length, isInMemory);
}

unsigned char* CMmfManager::MapWindow(unsigned int handle, unsigned long offset, unsigned long length,
                                      bool& isInMemory) {
    const CKXCriticalSectionSmartLock guard(lock);
    CMmfObj* const object = Find(handle);
    if (object == nullptr) return nullptr;
    isInMemory = object->IsInMemory();
    return object->MapWindow(BlockNumber(handle), offset, length);
}

void CMmfManager::UnMapWindow(unsigned int handle, void* address, unsigned long length) {
    const CKXCriticalSectionSmartLock guard(lock);
    if (CMmfObj* const object = Find(handle)) object->UnMapWindow(address, length);
}

unsigned long CMmfManager::GetSize(unsigned int handle) {
    const CKXCriticalSectionSmartLock guard(lock);
    CMmfObj* const object = Find(handle);
    return object == nullptr ? 0 : object->GetSize(BlockHandle::BlockOf(handle));
}

unsigned long CMmfManager::GetRefCount(unsigned int handle) {
    const CKXCriticalSectionSmartLock guard(lock);
    CMmfObj* const object = Find(handle);
    return object == nullptr ? 0 : object->GetRefCount(BlockHandle::BlockOf(handle));
}

std::uint64_t CMmfManager::GetSerial(unsigned int handle) {
    const CKXCriticalSectionSmartLock guard(lock);
    CMmfObj* const object = Find(handle);
    return object == nullptr ? 0 : object->GetSerial(BlockHandle::BlockOf(handle));
}

void CMmfManager::Finalize() {
    const CKXCriticalSectionSmartLock guard(lock);
    for (std::size_t index = 0; index < objects.size(); ++index) {
        if (objects[index] != nullptr) Destroy(index);
    }
    ++freedCount;
    try {
        const std::wstring headerFile = HeaderFilePath();
        if (KX::CSystem::FileExists(headerFile, false)) KX::CSystem::DeleteFileByName(headerFile);
    } catch (const std::exception&) {
        // No memory for the name: the header file stays.
    }
    DeleteMMFDirectory(directory.c_str());
}

void CMmfManager::DeleteMMFDirectory(const wchar_t* folder) {
    if (folder == nullptr || *folder == L'\0') return;
    try {
        std::vector<std::string> names = ListStoreFolder(folder);
        std::ranges::reverse(names);
        for (const std::string& name : names) {
            std::puts(name.c_str());
            if (IsBackingFileName(name)) std::remove(name.c_str());
        }
    } catch (const std::exception&) {
        // No memory for the listing: nothing is printed.
    }
}

// Gaps are looked for first, so that the file of an earlier save is not emptied for nothing.
KX::Result CMmfManager::SaveHeaderFile() {
    return KX::ResultOf([this] {
        const CKXCriticalSectionSmartLock guard(lock);
        if (std::ranges::count(objects, nullptr) > 0) return KX::kResultInvalidArgument;

        const std::wstring path = HeaderFilePath();
        if (IsBlocked(path)) return KX::kResultOpenFailed;

        KX::CFileIo file;
        KX::CStream stream;
        (void)stream.SetIoBuffer(&file);  // cannot fail
        KX::Result result = file.Save(path.c_str());
        if (KX::Failed(result)) return result;
        result = WriteHeader(stream);
        if (KX::Failed(result)) return result;
        result = file.Flush();  // what Close does not tell
        return KX::Failed(result) ? result : file.Close();
    });
}

KX::Result CMmfManager::LoadHeaderFile() {
    return KX::ResultOf([this] {
        const CKXCriticalSectionSmartLock guard(lock);
        KX::CFileIo file;
        KX::CStream stream;
        (void)stream.SetIoBuffer(&file);  // cannot fail
        KX::Result result = file.Open(HeaderFilePath().c_str());
        if (KX::Failed(result)) return result;
        // Nothing but gaps is no object: the loaded ones are to have the numbers that they had.
        if (std::ranges::all_of(objects, [](const CMmfObj* object) { return object == nullptr; })) objects = {};
        result = ReadHeader(stream);
        return KX::Failed(result) ? result : file.Close();
    });
}

// The file is made without the lock, as it may take long; the limit is read without it, too.
bool CMmfManager::AllocLarge(unsigned long size, unsigned int& handle) {
    if (IsOverLimit(size) || !HasFreeNumber()) return false;

    std::unique_ptr<CUnsharedMmfObj> object(new (std::nothrow) CUnsharedMmfObj);
    unsigned int block = 0;
    if (object == nullptr || !object->CreateUnShareMemMapFile(prefix, directory.c_str(), size)) return false;
    if (!object->MemAlloc(size, block)) return false;

    const CKXCriticalSectionSmartLock guard(lock);
    return Record(std::move(object), block, handle);
}

bool CMmfManager::AllocShared(unsigned long size, unsigned int& handle) {
    const CKXCriticalSectionSmartLock guard(lock);
    if (AllocInPresentObject(size, handle)) return true;
    if (IsOverLimit(size) || FirstFreeEntry() == BlockHandle::kMaxObjects) return false;

    std::unique_ptr<CShareMmfObj> object(new (std::nothrow) CShareMmfObj);
    unsigned int block = 0;
    if (object == nullptr || !object->CreateShareMemMapFile(prefix, directory.c_str())) return false;
    return object->MemAlloc(size, block) && Record(std::move(object), block, handle);
}

// First fit by object index. An object that has no room after all lowers its bound, so that it is not tried again
// before one of its blocks is freed.
bool CMmfManager::AllocInPresentObject(unsigned long size, unsigned int& handle) {
    const auto slots = static_cast<unsigned int>((size - 1) / CShareMmfObj::kSlotSize + 1);
    for (std::size_t next = 0;;) {
        const std::size_t index = freeRuns.FindFirst(slots, next);
        if (index == CFreeRunIndex::kNone) return false;

        unsigned int block = 0;
        if (objects[index]->MemAlloc(size, block)) {
            handle = BlockHandle::Make(index, block);
            return true;
        }
        freeRuns.Set(index, objects[index]->FreeRunBound());
        next = index + 1;
    }
}

// Whether another object would find a number that its handles can carry.
bool CMmfManager::HasFreeNumber() {
    const CKXCriticalSectionSmartLock guard(lock);
    return FirstFreeEntry() < BlockHandle::kMaxObjects;
}

bool CMmfManager::IsOverLimit(unsigned long size) const {
    if (sizeLimit == 0) return false;
    // The sum wraps around once blocks of a loaded header have been freed, as the total has by then.
    return size > sizeLimit || totalSize + size > sizeLimit;
}

// The entry that the next object takes: the first null one, or the end of the list.
std::size_t CMmfManager::FirstFreeEntry() {
    while (freeEntryHint < objects.size() && objects[freeEntryHint] != nullptr) ++freeEntryHint;
    return freeEntryHint;
}

// Takes over an object with its first block in place, and gives that block's handle. False: no number is left for it,
// and it is destroyed; or the list could not grow, and it stays behind with its file, counted in the total, as callers
// have settled on.
bool CMmfManager::Record(std::unique_ptr<CMmfObj> object, unsigned int block, unsigned int& handle) {
    const std::size_t index = FirstFreeEntry();
    if (index == BlockHandle::kMaxObjects) return false;

    CMmfObj* const recorded = object.release();
    totalSize += recorded->GetFileSize();
    if (!freeRuns.Reserve(index + 1)) return false;
    if (index < objects.size()) {
        objects[index] = recorded;
    } else if (KX::Failed(objects.Add(recorded))) {
        return false;
    }
    freeRuns.Set(index, recorded->FreeRunBound());
    handle = BlockHandle::Make(index, block);
    return true;
}

// The object that a handle names; null where there is none or it has gone.
CMmfObj* CMmfManager::Find(unsigned int handle) {
    const std::size_t index = BlockHandle::ObjectOf(handle);
    return index < objects.size() ? objects[index] : nullptr;
}

void CMmfManager::Destroy(std::size_t index) {
    delete objects[index];
    objects[index] = nullptr;
    freeRuns.Set(index, 0);
    freeEntryHint = std::min(freeEntryHint, index);
}

std::wstring CMmfManager::HeaderFilePath() const {
    return directory + prefix + HeaderFormat::kSuffix;
}

KX::Result CMmfManager::WriteHeader(KX::CIoStream& stream) {
    KX::Result result = KX::StreamWrite(stream, static_cast<std::uint32_t>(objects.size()));
    for (CMmfObj* const object : objects) {
        if (KX::Failed(result)) return result;
        result = KX::StreamWrite(stream, object->IsShareable() ? HeaderFormat::kShared : HeaderFormat::kUnshared);
        if (!KX::Failed(result)) result = object->SaveHeader(stream, directory.c_str());
    }
    return result;
}

KX::Result CMmfManager::ReadHeader(KX::CIoStream& stream) {
    std::uint32_t count = 0;
    KX::Result result = KX::StreamRead(stream, count);
    for (std::uint32_t index = 0; index < count && !KX::Failed(result); ++index) result = LoadObject(stream, index);
    return result;
}

// Until it is loaded the new object holds nothing, and is offered no blocks. Records address the objects by their
// numbers: where the next one to come has another, some object is in the way.
KX::Result CMmfManager::LoadObject(KX::CIoStream& stream, std::size_t index) {
    std::uint8_t kind = 0;
    KX::Result result = KX::StreamRead(stream, kind);
    if (KX::Failed(result)) return result;
    if (index != objects.size()) return KX::kResultInvalidArgument;
    if (index == BlockHandle::kMaxObjects) return KX::kResultMalformed;

    std::unique_ptr<CMmfObj> object = NewObject(kind != HeaderFormat::kUnshared);
    if (object == nullptr || !freeRuns.Reserve(index + 1)) return KX::kResultOutOfMemory;
    result = objects.Add(object.get());
    if (KX::Failed(result)) return result;
    (void)object.release();

    result = objects[index]->LoadHeader(stream, directory.c_str());
    if (!KX::Failed(result)) freeRuns.Set(index, objects[index]->FreeRunBound());
    return result;
}
