#include "mmf/Mmf.h"

#include <sys/mman.h>
#include <unistd.h>

#include <fstream>

#include "support/StoresTest.h"

namespace {

constexpr unsigned long kWindow = 0x1000000;
constexpr unsigned long kLarge = 0x4000001;

using MmfTest = StoresTest;

TEST_F(MmfTest, AllocatesInTheFirstStoreWithRoomAndMapsOnRequest) {
    for (const unsigned int store : {0U, 1U, 2U, 3U}) SetLimit(store, 1);
    for (const unsigned int store : {0U, 1U, 2U, 3U}) {
        unsigned int handle = 77;
        unsigned char* address = nullptr;
        EXPECT_FALSE(KX::CMmf::MemAlloc(2, handle, true, &address)) << "no store may grow by 2 bytes";
        EXPECT_EQ(handle, 0U);
        SetLimit(store, 0);
        ASSERT_TRUE(KX::CMmf::MemAlloc(2, handle, true, &address));
        EXPECT_EQ(handle, (store << 30) | 0x00010001);
        EXPECT_EQ(KX::CMmf::GetRefCount(handle), 1U);
        EXPECT_EQ(KX::CMmf::Map(handle), address);
        KX::CMmf::MemFree(handle);
        SetLimit(store, 1);
    }
}

TEST_F(MmfTest, TakesNoEmptyBlockAndNoMissingAddress) {
    unsigned int handle = 77;
    EXPECT_FALSE(KX::CMmf::MemAlloc(0, handle, false, nullptr) || KX::CMmf::MemAlloc(1, handle, true, nullptr));
    EXPECT_EQ(handle, 77U);
    for (const unsigned int unknown : {0x00050001U, 0U}) {
        handle = unknown;
        KX::CMmf::MemFree(handle);  // the store refuses, and the handle goes all the same
        EXPECT_EQ(handle, 0U);
    }
}

TEST_F(MmfTest, BlocksOfAnySizeKeepTheirBytes) {
    for (const unsigned long size : {1UL, kWindow, kWindow + 1, kLarge - 1, kLarge, 5 * kWindow}) {
        SCOPED_TRACE(size);
        unsigned int handle = 0;
        unsigned char* address = nullptr;
        ASSERT_TRUE(KX::CMmf::MemAlloc(size, handle, false, &address));
        EXPECT_TRUE(address == nullptr && KX::CMmf::GetRefCount(handle) == 0);
        address = KX::CMmf::Map(handle);
        ASSERT_NE(address, MAP_FAILED);
        address[0] = 1;
        address[size - 1] = 2;
        KX::CMmf::UnMap(handle);
        const unsigned long last = (size - 1) / kWindow * kWindow;
        unsigned char* const window = KX::CMmf::MapWindow(handle, last, size - last);
        EXPECT_EQ(window[size - 1 - last], 2);
        KX::CMmf::UnMapWindow(handle, window, size - last);
        EXPECT_EQ(IsMapped(window), size < kLarge) << "in memory";
        KX::CMmf::MemFree(handle);
    }
    // The largest numbers are refused by the system, not walked through window by window.
    unsigned int handle = 0;
    unsigned char* address = nullptr;
    EXPECT_TRUE(KX::CMmf::MemAlloc(~0UL, handle, true, &address) && address == MAP_FAILED);
}

TEST_F(MmfTest, StoresAreNumbered0To3) {
    wchar_t buffer[1024] = L"before";
    for (const int index : {4, -1}) {
        EXPECT_FALSE(KX::CMmf::SetDirectory(index, L"KX__", StoreFolder().c_str(), 0));
        KX::CMmf::QueryDirectoryString(index, buffer, 0);
        EXPECT_STREQ(buffer, L"");
    }
    EXPECT_FALSE(KX::CMmf::SetDirectory(0, L"KX__", folder.wstring().c_str(), 1));
    unsigned int handle = 0;
    EXPECT_TRUE(KX::CMmf::MemAlloc(2, handle, false, nullptr)) << "the limit came with a refused folder";
    EXPECT_EQ(handle, 0x00010001U);
    KX::CMmf::QueryDirectoryString(3, buffer, 0);
    EXPECT_EQ(buffer, StoreFolder(L"store3"));
    KX::CMmf::QueryDirectoryString(3, nullptr, 0);
}

TEST_F(MmfTest, CountsNoBackingFilesAndPrintsNothing) {
    for (const char* const name : {"KX_1.tmp", "nodot"}) std::ofstream(name) << "x";
    testing::internal::CaptureStdout();
    for (const wchar_t* const directory : {L".", L"missing", L"", static_cast<const wchar_t*>(nullptr)}) {
        EXPECT_EQ(KX::CMmf::GetDirectoryMMFQuantity(directory), 0U);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    std::filesystem::remove("KX_1.tmp");
}

TEST_F(MmfTest, BlockSizesAreWholePagesIn32Bits) {
    const auto page = static_cast<unsigned int>(KX::CMmf::GetPageSize());
    ASSERT_EQ(page, static_cast<unsigned int>(::sysconf(_SC_PAGESIZE)));
    for (const auto& [size, rounded] :
         {std::pair{0U, 0UL}, {1U, 1UL * page}, {page, 1UL * page}, {page + 1, 2UL * page}, {0xFFFFFFFFU, 0UL}}) {
        EXPECT_EQ(KX::CMmf::GetBlockSize(size), rounded) << size;
    }
}

TEST_F(MmfTest, FinalizeEmptiesAllFourStores) {
    unsigned int handles[4] = {};
    for (const unsigned int store : {0U, 1U, 2U, 3U}) {
        ASSERT_TRUE(KX::CMmf::MemAlloc(kLarge, handles[store], false, nullptr));
        EXPECT_EQ(handles[store] >> 30, store);
        SetLimit(store, 1);
    }
    testing::internal::CaptureStdout();
    KX::CMmf::Finalize();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "..\n.\n..\n.\n..\n.\n..\n.\n");
    for (const unsigned int handle : handles) EXPECT_EQ(KX::CMmf::GetSize(handle), 0U);
}

}  // namespace
