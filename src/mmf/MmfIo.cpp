#include "mmf/MmfIo.h"

#include <cwchar>
#include <new>
#include <utility>

#include "io/ResultOf.h"
#include "mmf/Mmf.h"
#include "mmf/MmfManager.h"
#include "string/Path.h"

namespace KX {

CMmfIo::CMmfIo() = default;
CMmfIo::~CMmfIo() = default;

Result CMmfIo::Create(unsigned long size, const wchar_t* name) {
    const Result result = TakeName(name);
    if (Failed(result)) return result;

    dataSize = size;
    return HasRoom(0, size) ? kResultNothingDone : ReplaceBlock(size);
}

Result CMmfIo::Open(unsigned int block, const wchar_t* name) {
    if (block == 0) return kResultInvalidArgument;
    const Result result = TakeName(name);
    if (Failed(result)) return result;

    TakeBlock(block);
    dataSize = CMmf::GetSize(block);
    OpenView();
    position = 0;
    return kResultOk;
}

Result CMmfIo::Save(const wchar_t* name) {
    const Result result = TakeName(name);
    if (Failed(result)) return result;

    ReleaseView();
    position = 0;
    return kResultOk;
}

// The old name goes last: the new one may be the text itself.
wchar_t* CMmfIo::SetFile(const wchar_t* name) {
    if (name == nullptr) return nullptr;
    const std::size_t room = std::wcslen(name) + 1;
    std::unique_ptr<wchar_t[]> copy(new (std::nothrow) wchar_t[room]);
    if (copy == nullptr) return nullptr;
    std::wmemcpy(copy.get(), name, room);
    fileName = std::move(copy);
    return fileName.get();
}

Result CMmfIo::GetSearchDirectory(std::wstring& directory) const {
    return ResultOf([&] {
        directory = fileName == nullptr ? std::wstring() : GetPathDirectory(std::wstring(fileName.get()));
        return kResultOk;
    });
}

Result CMmfIo::SetOutputInfo(unsigned long outputSize, unsigned long /*secondSize*/) {
    if (!HasRoom(position, outputSize)) {
        const Result result = ReplaceBlock(outputSize);
        if (Failed(result)) return result;
    }
    OpenView();
    return kResultOk;
}

CMmfManager* CMmfIo::StoreOf(unsigned int block) const {
    return &GlobalStoreOf(block);
}

bool CMmfIo::Allocate(unsigned long size, unsigned int& block) {
    return CMmf::MemAlloc(size, block, false, nullptr);
}

Result CMmfIo::TakeName(const wchar_t* name) {
    if (name == nullptr) return kResultInvalidArgument;
    return SetFile(name) == nullptr ? kResultOutOfMemory : kResultOk;
}

}  // namespace KX
