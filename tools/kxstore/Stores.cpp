#include "Stores.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "Signals.h"
#include "mmf/BlockHandle.h"
#include "mmf/Mmf.h"

namespace KxStore {
namespace {

constexpr std::uint64_t kRoomToSpare = 0x1000000;  // for the file system's own records

// Converted by the library, whose own conversion alone is sure to lead back to the folder. It is on offer for the
// system's temporary folder only, so the folder becomes that.
std::wstring ToWide(const std::string& folder) {
    std::wstring wide(folder.size() + 1, L'\0');
    ::setenv("TMPDIR", folder.c_str(), 1);
    KX::CMmf::GetSystemTmpPath(wide.data());
    wide.resize(std::wcslen(wide.c_str()));
    return wide;
}

std::string MakePrivateFolder(const std::string& parent) {
    std::string folder = std::filesystem::path(parent) / "kxstore-XXXXXX";
    if (!ToWide(folder).ends_with(L"XXXXXX")) {  // the conversion ends where it fails
        throw std::runtime_error(fmt::format("the stores cannot use '{}': no name for their locale", parent));
    }
    if (::mkdtemp(folder.data()) != nullptr) return folder;
    throw std::system_error(errno, std::generic_category(), fmt::format("cannot make a folder in '{}'", parent));
}

// The name of an object's file is its prefix and the second; two objects of one name would overwrite each other.
// Three digits count, and the stores drop the last character: that comes around after 46656 objects.
std::wstring PrefixOf(std::size_t object) {
    constexpr wchar_t kDigits[] = L"0123456789abcdefghijklmnopqrstuvwxyz";
    return {kDigits[object / 1296 % 36], kDigits[object / 36 % 36], kDigits[object % 36], L'_'};
}

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

void PointStoresNowhere() {
    SetFolders(L"/dev/null", PrefixOf(0));
}

CStores::CStores(const std::string& parent) : folder(MakePrivateFolder(parent)), wideFolder(ToWide(folder)) {
    SetFolderAtRisk(folder);
    SetFolders(wideFolder, PrefixOf(0));
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
    if (size > kLargestSharedBlock) RequireRoom(size);

    unsigned int handle = 0;
    if (!KX::CMmf::MemAlloc(size, handle, false, nullptr)) {
        KX::CMmf::MemFree(handle);  // a block that could not be mapped stays allocated
        throw std::runtime_error(fmt::format("no memory for a block of {} bytes", size));
    }
    if (++blocksOfObject[ObjectKey(handle)] == 1) SetFolders(wideFolder, PrefixOf(++objectsMade));
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
    std::filesystem::remove_all(folder);
}

// Backing files are sparse: that the disk is full would show only when their pages are written.
void CStores::RequireRoom(std::uint64_t size) const {
    const std::uint64_t available = std::filesystem::space(folder).available;
    if (available > kRoomToSpare && available - kRoomToSpare >= size) return;
    throw std::runtime_error(fmt::format("the disk has no room: {} bytes and {} to spare are needed, {} are free", size,
                                         kRoomToSpare, available));
}

}  // namespace KxStore
