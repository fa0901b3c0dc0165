#include "mmf/IndependentMmfIo.h"

#include <new>

#include "mmf/MmfManager.h"

namespace KX {

CIndependentMmfIo::CIndependentMmfIo() = default;

// The view goes before the store that it is of.
CIndependentMmfIo::~CIndependentMmfIo() {
    Close();
}

Result CIndependentMmfIo::Initialize(const wchar_t* prefix, const wchar_t* directory) {
    if (store) return kResultInvalidArgument;
    const CPointer<CIndependentMmf> made = new (std::nothrow) CIndependentMmf;
    if (!made) return kResultOutOfMemory;
    const Result result = made->Initialize();
    if (Failed(result)) return result;
    (void)made->SetDirectory(prefix, directory, 0);  // where it is refused the defaults stay, as settled
    store = made;
    return kResultOk;
}

Result CIndependentMmfIo::Initialize(const CIndependentMmfIo& other) {
    if (store || !other.store) return kResultInvalidArgument;
    store = other.store;
    handle = other.handle;
    serial = other.serial;
    position = other.position;
    dataSize = other.dataSize;
    return kResultOk;
}

Result CIndependentMmfIo::Create(unsigned long size) {
    if (!store) return kResultInvalidArgument;
    dataSize = size;
    position = 0;
    return HasRoom(0, size) ? kResultNothingDone : ReplaceBlock(size);
}

Result CIndependentMmfIo::Open(unsigned int block) {
    if (!store || block == 0) return kResultInvalidArgument;
    TakeBlock(block);
    dataSize = store->GetSize(block);
    OpenView();
    position = 0;
    return kResultOk;
}

Result CIndependentMmfIo::Save() {
    Close();
    position = 0;
    return kResultOk;
}

Result CIndependentMmfIo::SaveHeaderFile() {
    if (!store) return kResultInvalidArgument;
    (void)store->SaveHeaderFile();  // callers have settled on success
    return kResultOk;
}

Result CIndependentMmfIo::LoadHeaderFile() {
    if (!store) return kResultInvalidArgument;
    (void)store->LoadHeaderFile();  // callers have settled on success
    return kResultOk;
}

Result CIndependentMmfIo::GetSearchDirectory(std::wstring& directory) const {
    directory.clear();
    return kResultOk;
}

// Unlike that of the buffer over a global store this one leaves an open view alone where there is room.
Result CIndependentMmfIo::SetOutputInfo(unsigned long outputSize, unsigned long /*secondSize*/) {
    if (!store) return kResultInvalidArgument;
    const bool hasRoom = HasRoom(position, outputSize);
    if (hasRoom && hasView) return kResultOk;
    if (!hasRoom) {
        const Result result = ReplaceBlock(outputSize);
        if (Failed(result)) return result;
    }
    OpenView();
    return kResultOk;
}

CMmfManager* CIndependentMmfIo::StoreOf(unsigned int /*block*/) const {
    return store->manager.get();
}

bool CIndependentMmfIo::Allocate(unsigned long size, unsigned int& block) {
    return store->MemAlloc(size, block);
}

}  // namespace KX
