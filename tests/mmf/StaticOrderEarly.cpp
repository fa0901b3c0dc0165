#include "mmf/StaticOrder.h"

#include <cstdlib>
#include <filesystem>

#include "mmf/Mmf.h"

CEarlyUser::CEarlyUser() {
    unsigned char* address = nullptr;
    if (!KX::CMmf::MemAlloc(100, handle, true, &address)) std::abort();
    *address = 42;
    KX::CMmf::UnMap(handle);
}

CEarlyUser::~CEarlyUser() {
    const unsigned char* const address = KX::CMmf::Map(handle);
    if (address == nullptr || *address != 42) std::abort();
    KX::CMmf::MemFree(handle);
}

bool HoldsItsBlock(const CEarlyUser& user) {
    return KX::CMmf::GetSize(user.handle) == 65536;
}

bool LeaveALargeBlock() {
    wchar_t directory[4096];
    KX::CMmf::QueryDirectoryString(0, directory, 4096);
    if (!KX::CMmf::SetDirectory(0, L"BIG_", directory, 0)) return false;  // or its file would go with the early block
    unsigned int handle = 0;
    return KX::CMmf::MemAlloc(0x4000001, handle, false, nullptr);
}

bool HasBackingFile() {
    return !std::filesystem::is_empty("KXTmp");
}
