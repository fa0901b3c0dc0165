#include "mmf/StaticOrder.h"

#include <cstdlib>

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
    unsigned int handle = 0;
    return KX::CMmf::MemAlloc(0x4000001, handle, false, nullptr);
}
