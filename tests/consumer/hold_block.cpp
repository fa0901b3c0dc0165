// Holds a block that has a file of its own, by the shared library.
#include <cstdio>

#include "mmf/Mmf.h"
#include "mmf/SmartMap.h"

int main() {
    constexpr unsigned long kSize = 100'000'000;
    unsigned int block = 0;
    if (!KX::CMmf::MemAlloc(kSize, block, false, nullptr)) return 1;
    for (const bool isWriting : {true, false}) {
        KX::CKXSmartMap view(block);
        unsigned char* const bytes = view.GetMapAddress(static_cast<unsigned char*>(nullptr));
        if (bytes == nullptr) return 2;
        if (isWriting) bytes[kSize - 1] = 42;
        if (bytes[kSize - 1] != 42) return 3;
    }
    std::printf("held %lu bytes\n", KX::CMmf::GetSize(block));
    KX::CMmf::MemFree(block);
    return KX::CMmf::GetSize(block) == 0 ? 0 : 4;
}
