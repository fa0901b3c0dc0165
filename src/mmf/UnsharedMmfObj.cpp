#include "mmf/UnsharedMmfObj.h"

#include "mmf/FileMapping.h"
#include "mmf/Window.h"
#include "stream/StreamText.h"

CUnsharedMmfObj::CUnsharedMmfObj() : CMmfObj(false) {}

CUnsharedMmfObj::~CUnsharedMmfObj() {
    const CKXCriticalSectionSmartLock guard(lock);
    UnmapWhole();
}

bool CUnsharedMmfObj::CreateUnShareMemMapFile(const wchar_t* prefix, const wchar_t* directory, unsigned long size) {
    {
        const CKXCriticalSectionSmartLock guard(lock);
        bInMemory = false;
    }
    return CreateMemMapFile(prefix, directory, size);
}

bool CUnsharedMmfObj::MemAlloc(unsigned long size, unsigned int& block) {
    const CKXCriticalSectionSmartLock guard(lock);
    const bool hasRoom = !bAllocated && fileSize >= size;
    if (hasRoom) bAllocated = true;
    block = hasRoom ? 0 : 0xFFFFFFFFU;
    return hasRoom;
}

KX::Result CUnsharedMmfObj::MemFree(int /*block*/, bool& bEmpty) {
    const CKXCriticalSectionSmartLock guard(lock);
    UnmapWhole();
    bAllocated = false;
    bEmpty = true;
    return KX::kResultOk;
}

unsigned char* CUnsharedMmfObj::Map(int block) {
    const CKXCriticalSectionSmartLock guard(lock);
    if (block != 0) return nullptr;

    if (refCount == 0) {
        mappedLength = fileSize;
        mappedAddress = MapBackingFile(fileSize, fileSize, 0);
    }
    ++refCount;
    return mappedAddress;
}

unsigned char* CUnsharedMmfObj::MapWindow(int block, unsigned long offset, unsigned long length) {
    const CKXCriticalSectionSmartLock guard(lock);
    if (block != 0 || !IsWindowInside(fileSize, offset, length)) return nullptr;

    mappedLength = length;
    return MapBackingFile(fileSize, length, offset);
}

void CUnsharedMmfObj::UnMapWindow(void* address, unsigned long length) {
    const CKXCriticalSectionSmartLock guard(lock);
    UnmapFile(address, length);
}

void CUnsharedMmfObj::UnMap(int block) {
    const CKXCriticalSectionSmartLock guard(lock);
    if (block != 0) return;

    if (refCount == 1) UnmapWhole();
    --refCount;
}

unsigned long CUnsharedMmfObj::GetSize(unsigned int block) {
    const CKXCriticalSectionSmartLock guard(lock);
    return block == 0 ? fileSize : 0;
}

unsigned long CUnsharedMmfObj::GetRefCount(unsigned int block) {
    const CKXCriticalSectionSmartLock guard(lock);
    return block == 0 ? refCount : 0;
}

KX::Result CUnsharedMmfObj::SaveHeader(KX::CIoStream& stream, const wchar_t* directory) {
    KX::Result result = CMmfObj::SaveHeader(stream, directory);
    const CKXCriticalSectionSmartLock guard(lock);
    if (!KX::Failed(result)) result = KX::StreamWrite(stream, static_cast<std::uint8_t>(bAllocated));
    return KX::Failed(result) ? result : KX::StreamWrite(stream, static_cast<std::uint32_t>(refCount));
}

KX::Result CUnsharedMmfObj::LoadHeader(KX::CIoStream& stream, const wchar_t* directory) {
    KX::Result result = CMmfObj::LoadHeader(stream, directory);
    if (KX::Failed(result)) return result;
    std::uint8_t allocated = 0;
    std::uint32_t maps = 0;
    result = KX::StreamRead(stream, allocated);
    if (!KX::Failed(result)) result = KX::StreamRead(stream, maps);
    if (KX::Failed(result)) {
        ForgetFile();
        return result;
    }
    {
        const CKXCriticalSectionSmartLock guard(lock);
        bAllocated = allocated != 0;
        refCount = maps;
    }
    return MappingFile();
}

std::uint64_t CUnsharedMmfObj::GetSerial(unsigned int block) {
    return block == 0 ? serial : 0;
}

void CUnsharedMmfObj::UnmapWhole() {
    UnmapFile(mappedAddress, mappedLength);
    mappedAddress = nullptr;
}
