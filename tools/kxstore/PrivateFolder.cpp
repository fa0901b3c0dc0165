#include "PrivateFolder.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <stdexcept>
#include <system_error>

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

std::string ParentFor(const std::string& given) {
    std::string parent = given;
    if (parent.empty()) KX::CMmf::GetTmpDirForOSX(parent);
    return parent;
}

std::string MakePrivateFolder(const std::string& parent) {
    std::string folder = std::filesystem::path(parent) / "kxstore-XXXXXX";
    if (!ToWide(folder).ends_with(L"XXXXXX")) {  // the conversion ends where it fails
        throw std::runtime_error(fmt::format("the stores cannot use '{}': no name for their locale", parent));
    }
    if (::mkdtemp(folder.data()) != nullptr) return folder;
    throw std::system_error(errno, std::generic_category(), fmt::format("cannot make a folder in '{}'", parent));
}

}  // namespace

CPrivateFolder::CPrivateFolder(const std::string& parent)
    : path(MakePrivateFolder(ParentFor(parent))), widePath(ToWide(path)) {}

CPrivateFolder::~CPrivateFolder() {
    std::error_code ignored;  // whoever has not called Remove is on the way to report a failure already
    std::filesystem::remove_all(path, ignored);
}

// Backing files are sparse: that the disk is full would show only when their pages are written.
void CPrivateFolder::RequireRoom(std::uint64_t size) const {
    const std::uint64_t available = std::filesystem::space(path).available;
    if (available > kRoomToSpare && available - kRoomToSpare >= size) return;
    throw std::runtime_error(fmt::format("the disk has no room: {} bytes and {} to spare are needed, {} are free", size,
                                         kRoomToSpare, available));
}

void CPrivateFolder::Remove() {
    std::filesystem::remove_all(path);
}

}  // namespace KxStore
