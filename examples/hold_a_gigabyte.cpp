// Holds 1 GiB of working data as one block and walks through it 16 MiB at a time.
#include <algorithm>
#include <cstdio>

#include "mmf/Mmf.h"
#include "mmf/SmartMap.h"

int main() {
    constexpr unsigned long kSize = 1UL << 30;
    constexpr unsigned int kWindow = 16U << 20;

    unsigned int block = 0;  // the handle by which the block is known
    if (!KX::CMmf::MemAlloc(kSize, block, false, nullptr)) return 1;
    {
        KX::CKXSmartWindowMap view(block, kWindow);  // maps one window at a time, and none when it goes
        for (unsigned long offset = 0; offset < kSize; offset += kWindow) {
            unsigned char* const window = view.GetMapAddress(nullptr, offset);
            if (window == nullptr) return 1;  // no room for a backing file, say
            std::fill_n(window, kWindow, static_cast<unsigned char>(offset / kWindow));
        }
        constexpr unsigned long kByte = 500'000'000;
        const unsigned char* const window = view.GetMapAddress(nullptr, kByte / kWindow * kWindow);
        std::printf("byte %lu is %d\n", kByte, window[kByte % kWindow]);
    }
    KX::CMmf::MemFree(block);  // the backing file goes with it
}
