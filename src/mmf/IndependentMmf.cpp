#include "mmf/IndependentMmf.h"

#include <new>

#include "io/ResultOf.h"
#include "mmf/MmfManager.h"
#include "mmf/TouchBlock.h"

namespace KX {

CIndependentMmf::CIndependentMmf() = default;
CIndependentMmf::~CIndependentMmf() = default;

void CIndependentMmf::DecrementReferences() {
    if (--referenceCount == 0) delete this;
}

Result CIndependentMmf::Initialize() {
    if (manager != nullptr) return kResultInvalidArgument;
    return ResultOf([this] {
        manager.reset(new (std::nothrow) CMmfManager);
        return manager == nullptr ? kResultOutOfMemory : kResultOk;
    });
}

bool CIndependentMmf::SetDirectory(const wchar_t* prefix, const wchar_t* directory, unsigned int sizeLimit) {
    if (manager == nullptr || manager->SetDirectory(prefix, directory)) return false;
    manager->SetSizeLimit(sizeLimit);  // the reverse of the global stores, as callers have settled on
    return true;
}

bool CIndependentMmf::MemAlloc(unsigned long size, unsigned int& handle) {
    if (manager == nullptr || size == 0) return false;
    handle = 0;
    unsigned int block = 0;
    if (!manager->MemAlloc(size, block)) return false;

    handle = block;
    if (size > kTouchWindow) {
        TouchInWindows(*manager, handle, size);
        return true;
    }
    if (manager->Map(handle) == nullptr) return false;
    manager->UnMap(handle);
    return true;
}

Result CIndependentMmf::MemFree(unsigned int& handle) {
    const Result result = manager == nullptr ? kResultInvalidArgument : manager->MemFree(handle);
    handle = 0;
    return result;
}

void* CIndependentMmf::Map(unsigned int handle) {
    return manager == nullptr ? nullptr : manager->Map(handle);
}

void CIndependentMmf::UnMap(unsigned int handle) {
    if (manager != nullptr) manager->UnMap(handle);
}

void* CIndependentMmf::MapWindow(unsigned int handle, unsigned long offset, unsigned long length) {
    return manager == nullptr ? nullptr : manager->MapWindow(handle, offset, length);
}

void CIndependentMmf::UnMapWindow(unsigned int handle, void* address, unsigned long length) {
    if (manager != nullptr) manager->UnMapWindow(handle, address, length);
}

unsigned long CIndependentMmf::GetSize(unsigned int handle) {
    return manager == nullptr ? 0 : manager->GetSize(handle);
}

Result CIndependentMmf::SaveHeaderFile() {
    return manager == nullptr ? kResultInvalidArgument : manager->SaveHeaderFile();
}

Result CIndependentMmf::LoadHeaderFile() {
    return manager == nullptr ? kResultInvalidArgument : manager->LoadHeaderFile();
}

CIndependentSmartMap::CIndependentSmartMap(unsigned int handle, unsigned int windowSize, CIndependentMmf* store)
    : window(store == nullptr ? nullptr : store->manager.get(), handle, windowSize) {}

CIndependentSmartMap::~CIndependentSmartMap() = default;

unsigned char* CIndependentSmartMap::GetMapAddress(unsigned char* base, unsigned long offset) {
    return window.GetMapAddress(base, offset);
}

}  // namespace KX
