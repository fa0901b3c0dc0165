#include "mmf/BlockIo.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "io/FileIo.h"
#include "mmf/MmfManager.h"
#include "mmf/Window.h"

namespace KX {

CBlockIo::CBlockIo() = default;
CBlockIo::~CBlockIo() = default;

Result CBlockIo::Close() {
    if (!hasView) return kResultNothingDone;

    ReleaseView();
    hasView = false;
    return kResultOk;
}

bool CBlockIo::CheckFileExist(std::wstring name) const {
    return CFileIo().CheckFileExist(std::move(name));
}

Result CBlockIo::ReadIn(void* destination, unsigned long /*capacity*/, unsigned long count, CProgress* /*progress*/) {
    if (destination == nullptr && count > 0) return kResultInvalidArgument;
    auto* to = static_cast<unsigned char*>(destination);
    return Transfer(count, [&to](const unsigned char* block, unsigned long piece) {
        std::memcpy(to, block, piece);
        to += piece;
    });
}

Result CBlockIo::WriteOut(const void* source, unsigned long count, CProgress* /*progress*/) {
    if (source == nullptr && count > 0) return kResultInvalidArgument;
    const auto* from = static_cast<const unsigned char*>(source);
    return Transfer(count, [&from](unsigned char* block, unsigned long piece) {
        std::memcpy(block, from, piece);
        from += piece;
    });
}

Result CBlockIo::Skip(unsigned long count) {
    if (!hasView) return kResultInvalidArgument;
    if (!IsWindowInside(dataSize, position, count)) return kResultFail;

    position += count;
    return kResultOk;
}

void CBlockIo::TakeBlock(unsigned int block) {
    handle = block;
    serial = block == 0 ? 0 : StoreOf(block)->GetSerial(block);
}

bool CBlockIo::HasRoom(unsigned long from, unsigned long count) {
    return IsBlockThere() && IsWindowInside(StoreOf(handle)->GetSize(handle), from, count);
}

void CBlockIo::FreeBlock() {
    if (handle == 0) return;

    if (view) view->Release();
    if (IsBlockThere()) (void)StoreOf(handle)->MemFree(handle);
    TakeBlock(0);
}

Result CBlockIo::ReplaceBlock(unsigned long size) {
    FreeBlock();
    unsigned int block = 0;
    const bool isAllocated = Allocate(size, block);
    TakeBlock(block);
    if (view && handle != 0) OpenView();  // the open one is of the old block
    return isAllocated ? kResultOk : kResultOutOfMemory;
}

void CBlockIo::OpenView() {
    view.emplace(StoreOf(handle), handle, kWindowSize);
    hasView = true;
}

// The handle may stand for another block by now. One that named nothing when it was taken stands for the first block
// that is found under it: a header may have been loaded since.
bool CBlockIo::IsBlockThere() {
    if (handle == 0) return false;
    const std::uint64_t now = StoreOf(handle)->GetSerial(handle);
    if (serial == 0) serial = now;
    return now != 0 && now == serial;
}

// The position is left at the end on purpose: a reader that goes by it stops.
Result CBlockIo::RefusePastEnd() {
    position = dataSize;
    return kResultFail;
}

// Windows start at multiples of their size, so that each one is mapped once in a pass.
template <typename Copy>
Result CBlockIo::Transfer(unsigned long count, Copy copy) {
    if (!view || handle == 0) return kResultInvalidArgument;
    if (!IsWindowInside(dataSize, position, count)) return RefusePastEnd();
    if (count == 0) return kResultOk;
    if (serial == 0 && !IsBlockThere()) return kResultInvalidArgument;
    if (!view->CheckBlock()) return kResultInvalidArgument;
    if (!IsWindowInside(view->GetRoom(), position, count)) return RefusePastEnd();

    while (count > 0) {
        const unsigned long inWindow = position % kWindowSize;
        const unsigned long piece = std::min(count, kWindowSize - inWindow);
        unsigned char* const window = view->GetMapAddress(nullptr, position - inWindow);
        if (window == nullptr) {
            view->Release();  // so that the next access tries again
            return kResultIoFailed;
        }
        copy(window + inWindow, piece);
        position += piece;
        count -= piece;
    }
    return kResultOk;
}

}  // namespace KX
