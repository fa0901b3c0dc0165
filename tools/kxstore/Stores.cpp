#include "Stores.h"

#include <fmt/format.h>

#include <stdexcept>

#include "Signals.h"
#include "mmf/BlockHandle.h"
#include "mmf/Mmf.h"

namespace KxStore {
namespace {

void SetFolders(const std::wstring& parent, const std::wstring& prefix) {
    for (int store = 0; store < 4; ++store) {
        const std::wstring folder = parent + L'/' + std::to_wstring(store) + L'/';
        if (KX::CMmf::SetDirectory(store, prefix.c_str(), folder.c_str(), 0)) continue;
        throw std::runtime_error("a store does not take its folder");
    }
}

unsigned int ObjectKey(unsigned int handle) {
    return handle >> BlockHandle::kObjectShift;
}

}  // namespace

std::wstring PrefixOf(std::size_t object) {
    constexpr wchar_t kDigits[] = L"0123456789abcdefghijklmnopqrstuvwxyz";
    return {kDigits[object / 1296 % 36], kDigits[object / 36 % 36], kDigits[object % 36], L'_'};
}

void PointStoresNowhere() {
    SetFolders(L"/dev/null", PrefixOf(0));
}

CStores::CStores(const std::string& parent) : folder(parent) {
    SetFolderAtRisk(folder.Path());
    SetFolders(folder.WidePath(), PrefixOf(0));
}

CStores::~CStores() {
    try {
        Close();
    } catch (const std::exception&) {
        // Whoever has not closed the stores is on the way to report a failure already.
    }
}

unsigned int CStores::Allocate(std::uint64_t size) {
    if (size > kLargestBlock) {
        throw std::runtime_error(fmt::format("{} bytes are more than a block can hold, {}", size, kLargestBlock));
    }
    if (size > kLargestSharedBlock) folder.RequireRoom(size);

    unsigned int handle = 0;
    if (!KX::CMmf::MemAlloc(size, handle, false, nullptr)) {
        KX::CMmf::MemFree(handle);  // a block that could not be mapped stays allocated
        throw std::runtime_error(fmt::format("no memory for a block of {} bytes", size));
    }
    if (++blocksOfObject[ObjectKey(handle)] == 1) SetFolders(folder.WidePath(), PrefixOf(++objectsMade));
    return handle;
}

void CStores::Free(unsigned int handle) {
    if (handle == 0) return;
    const auto object = blocksOfObject.find(ObjectKey(handle));
    if (--object->second == 0) blocksOfObject.erase(object);
    KX::CMmf::MemFree(handle);
}

void CStores::Close() {
    PointStoresNowhere();
    KX::CMmf::Finalize();
    folder.Remove();
}

}  // namespace KxStore
