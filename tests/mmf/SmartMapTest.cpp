#include "mmf/SmartMap.h"

#include <type_traits>

#include "support/StoresTest.h"

namespace {

constexpr unsigned int kWindow = 0x1000000;
constexpr unsigned long kSize = 5UL * kWindow + 100;

static_assert(!std::is_copy_constructible_v<KX::CKXSmartMap>);
static_assert(!std::is_copy_constructible_v<KX::CKXSmartWindowMap>);

class SmartMapTest : public StoresTest {
protected:
    unsigned int Alloc(unsigned long size) {
        unsigned int handle = 0;
        EXPECT_TRUE(KX::CMmf::MemAlloc(size, handle, false, nullptr));
        return handle;
    }

    unsigned char fallback = 0;
};

TEST_F(SmartMapTest, MapsAWholeBlockForItsLifetime) {
    for (const unsigned int store : {0U, 1U, 2U}) SetLimit(store, 1);
    const unsigned int handle = Alloc(100);
    ASSERT_EQ(handle >> 30, 3U);
    {
        KX::CKXSmartMap map(handle);
        unsigned char* const address = map.GetMapAddress(&fallback);
        EXPECT_EQ(KX::CMmf::GetRefCount(handle), 1U);
        EXPECT_EQ(KX::CKXSmartWindowMap(handle, 0x10000).GetMapAddress(nullptr, 0), address);
        EXPECT_NE(address, &fallback);
        EXPECT_EQ(std::as_const(map).GetMapAddress(static_cast<const unsigned char*>(nullptr)), address);
    }
    EXPECT_EQ(KX::CMmf::GetRefCount(handle), 0U);
}

TEST_F(SmartMapTest, FallsBackWhereNothingCanBeMapped) {
    ASSERT_TRUE(KX::CMmf::SetDirectory(0, L"KX__", StoreFolder(L"missing/store").c_str(), 0));
    for (const unsigned int handle : {0x00050001U, Alloc(kSize)}) {
        KX::CKXSmartMap map(handle);
        EXPECT_EQ(map.GetMapAddress(&fallback), &fallback) << handle;
        EXPECT_EQ(KX::CKXSmartWindowMap(handle, kWindow).GetMapAddress(nullptr, 0), nullptr) << handle;
    }
}

// A view keeps to what it has seen, also when a block comes under its handle later.
TEST_F(SmartMapTest, AFailedMappingIsNotTriedAgainButUnmapped) {
    constexpr unsigned int kNext = 0x00010001;
    KX::CKXSmartWindowMap windows(kNext, 0x10000);
    EXPECT_EQ(windows.GetMapAddress(nullptr, 0), nullptr);
    {
        KX::CKXSmartMap map(kNext);
        ASSERT_EQ(Alloc(0x20000), kNext);
        KX::CMmf::Map(kNext);
        EXPECT_EQ(map.GetMapAddress(&fallback), &fallback);
    }
    EXPECT_EQ(KX::CMmf::GetRefCount(kNext), 0U);
    EXPECT_EQ(windows.GetMapAddress(nullptr, 0), nullptr);
    EXPECT_NE(windows.GetMapAddress(nullptr, 0x10000), nullptr);
    EXPECT_NE(windows.GetMapAddress(nullptr, 0), nullptr);
}

TEST_F(SmartMapTest, TheWindowMovesOnRequestAndEndsWithTheBlock) {
    const unsigned int handle = Alloc(kSize);
    unsigned char* last = nullptr;
    {
        KX::CKXSmartWindowMap windows(handle, kWindow);
        unsigned char callers[10];
        EXPECT_EQ(windows.GetMapAddress(callers, 7), callers + 7) << "a caller's mapping is taken as it is";
        EXPECT_EQ(windows.GetMapAddress(nullptr, 0xFFFFFFFF), nullptr);  // the mark for no window yet
        for (unsigned long offset = 0; offset < kSize; offset += kWindow) {
            last = windows.GetMapAddress(nullptr, offset);
            ASSERT_NE(last, nullptr);
            EXPECT_EQ(windows.GetMapAddress(nullptr, offset), last);
            *last = static_cast<unsigned char>(offset / kWindow + 1);
        }
        EXPECT_TRUE(IsMapped(last));
        EXPECT_EQ(windows.GetMapAddress(nullptr, kSize + kWindow), nullptr);
        EXPECT_FALSE(IsMapped(last));
        last = windows.GetMapAddress(nullptr, kWindow);
        EXPECT_EQ(*last, 2);
    }
    EXPECT_FALSE(IsMapped(last));
    EXPECT_EQ(KX::CKXSmartMap(handle).GetMapAddress(&fallback)[4UL * kWindow], 5);
}

}  // namespace
