#include "mmf/Mmf.h"

#include <unistd.h>

#include <algorithm>
#include <cwchar>
#include <exception>
#include <iterator>

#include "mmf/BlockHandle.h"
#include "mmf/MmfManager.h"
#include "mmf/StoreFolder.h"
#include "mmf/TouchBlock.h"
#include "system/System.h"

namespace KX {
namespace {

bool IsStore(int index) {
    return static_cast<unsigned int>(index) < std::size(g_aFixMmfManager);
}

bool AllocInFirstStoreWithRoom(unsigned long size, unsigned int& handle) {
    for (unsigned int store = 0; store < std::size(g_aFixMmfManager); ++store) {
        handle = 0;
        unsigned int local = 0;
        if (!g_aFixMmfManager[store].MemAlloc(size, local)) continue;
        handle = BlockHandle::WithStore(local, store);
        return true;
    }
    return false;
}

}  // namespace

bool CMmf::MemAlloc(unsigned long size, unsigned int& handle, bool bMap, unsigned char** ppAddr) {
    if (size == 0 || (bMap && ppAddr == nullptr)) return false;
    if (!AllocInFirstStoreWithRoom(size, handle)) return false;

    if (size > kTouchWindow) {
        TouchInWindows(GlobalStoreOf(handle), handle, size);
        if (bMap) *ppAddr = Map(handle);
        return true;
    }
    unsigned char* const address = Map(handle);
    if (address == nullptr) return false;
    if (bMap) {
        *ppAddr = address;
    } else {
        UnMap(handle);
    }
    return true;
}

void CMmf::MemFree(unsigned int& handle) {
    if (handle == 0) return;
    (void)GlobalStoreOf(handle).MemFree(handle);  // the facade reports nothing; the handle goes in any case
    handle = 0;
}

unsigned char* CMmf::Map(unsigned int handle) {
    return GlobalStoreOf(handle).Map(handle);
}

void CMmf::UnMap(unsigned int handle) {
    GlobalStoreOf(handle).UnMap(handle);
}

unsigned char* CMmf::MapWindow(unsigned int handle, unsigned long offset, unsigned long length) {
    return GlobalStoreOf(handle).MapWindow(handle, offset, length);
}

void CMmf::UnMapWindow(unsigned int handle, void* address, unsigned long length) {
    GlobalStoreOf(handle).UnMapWindow(handle, address, length);
}

unsigned long CMmf::GetSize(unsigned int handle) {
    return GlobalStoreOf(handle).GetSize(handle);
}

unsigned long CMmf::GetRefCount(unsigned int handle) {
    return GlobalStoreOf(handle).GetRefCount(handle);
}

bool CMmf::SetDirectory(int index, const wchar_t* prefix, const wchar_t* directory, unsigned int sizeLimit) {
    if (!IsStore(index) || !g_aFixMmfManager[index].SetDirectory(prefix, directory)) return false;
    g_aFixMmfManager[index].SetSizeLimit(sizeLimit);
    return true;
}

void CMmf::QueryDirectoryString(int index, wchar_t* buffer, unsigned int /*length*/) {
    if (buffer == nullptr) return;
    buffer[0] = L'\0';
    if (IsStore(index)) std::wcscpy(buffer, g_aFixMmfManager[index].GetDirectory().c_str());
}

unsigned int CMmf::GetDirectoryMMFQuantity(const wchar_t* directory) {
    if (directory == nullptr || *directory == L'\0') return 0;
    try {
        return static_cast<unsigned int>(std::ranges::count_if(ListStoreFolder(directory), IsBackingFileName));
    } catch (const std::exception&) {  // no memory for the listing
        return 0;
    }
}

long CMmf::GetPageSize() {
    return ::sysconf(_SC_PAGESIZE);
}

unsigned long CMmf::GetBlockSize(unsigned int size) {
    const auto page = static_cast<unsigned int>(GetPageSize());
    const unsigned int end = size + page - 1;
    return end - end % page;
}

void CMmf::Finalize() {
    for (CMmfManager& manager : g_aFixMmfManager) manager.Finalize();
}

void CMmf::GetSystemTmpPath(wchar_t* buffer) {
    try {
        CSystem::GetSystemTmpPath(buffer);
    } catch (const std::exception&) {  // no memory for the conversion
        if (buffer != nullptr) *buffer = L'\0';
    }
}

void CMmf::GetTmpDirForOSX(std::string& path) {
    try {
        CSystem::GetTmpDirForOSX(path);
    } catch (const std::exception&) {  // no memory for the text
        path.clear();
    }
}

}  // namespace KX
