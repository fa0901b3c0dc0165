// Stores a block, maps it, reads it back and frees it.
#include <cstdio>
#include <cstring>

#include "mmf/Mmf.h"
#include "mmf/SmartMap.h"

int main() {
    unsigned int block = 0;  // the handle: 0 names no block
    if (!KX::CMmf::MemAlloc(1'000'000, block, false, nullptr)) return 1;
    {
        KX::CKXSmartMap view(block);  // mapped until the end of this scope
        unsigned char* const bytes = view.GetMapAddress(nullptr);
        if (bytes == nullptr) return 1;
        std::memcpy(bytes, "hello", sizeof "hello");
    }
    {
        const KX::CKXSmartMap view(block);  // perhaps elsewhere in the program: the handle is all it takes
        const unsigned char* const bytes = view.GetMapAddress(nullptr);
        if (bytes == nullptr) return 1;
        std::printf("block %08X has room for %lu bytes and says %s\n", block, KX::CMmf::GetSize(block),
                    reinterpret_cast<const char*>(bytes));
    }
    KX::CMmf::MemFree(block);  // and sets the handle to 0
}
