#include "mmf/ShareMmfObj.h"

#include <sys/mman.h>

#include <algorithm>
#include <vector>

#include "support/FailingAllocation.h"
#include "support/TempFolder.h"

namespace {

constexpr unsigned long kSlot = CShareMmfObj::kSlotSize;

// Both kinds of store: a heap buffer, and the file that takes its place where the buffer cannot be had.
class ShareMmfObjTest : public TempFolderTest, public testing::WithParamInterface<bool> {
protected:
    void SetUp() override {
#if !defined(KXMMF_MALLOC_IS_WRAPPED)
        if (IsFile()) GTEST_SKIP() << "memory cannot be refused here";
#endif
        const CFailingAllocation failing(0, IsFile() ? CShareMmfObj::kStoreSize : SIZE_MAX);
        ASSERT_TRUE(object.CreateShareMemMapFile(L"KX_", StoreFolder().c_str()));
        ASSERT_EQ(NamesIn(folder / "store").size(), IsFile() ? 1U : 0U);
    }

    static bool IsFile() {
        return GetParam();
    }

    // The number of the block that the request gets, or -1.
    int Alloc(unsigned long size) {
        unsigned int block = 12345;
        const bool isPlaced = object.MemAlloc(size, block);
        EXPECT_TRUE(isPlaced || block == 12345U);
        return isPlaced ? static_cast<int>(block) : -1;
    }

    // Whether that was the last block.
    bool Free(int block) {
        bool isEmpty = false;
        EXPECT_EQ(object.MemFree(block, isEmpty), KX::kResultOk);
        return isEmpty;
    }

    CShareMmfObj object;
};

TEST_P(ShareMmfObjTest, BlocksKeepTheirBytesApart) {
    std::vector<int> blocks;
    for (const unsigned long slots : {1UL, 3UL, 2UL}) {
        blocks.push_back(Alloc(slots * kSlot));
        unsigned char* const address = object.Map(blocks.back());
        ASSERT_NE(address, MAP_FAILED);
        std::fill_n(address, slots * kSlot, static_cast<unsigned char>(blocks.back() + 1));
        object.UnMap(blocks.back());
    }
    for (const int block : blocks) {
        const unsigned long size = object.GetSize(static_cast<unsigned int>(block));
        const unsigned char* const address = object.Map(block);
        EXPECT_EQ(std::count(address, address + size, block + 1), static_cast<long>(size)) << block;
    }
    EXPECT_EQ(object.GetRefCount(1), 1U);
}

TEST_P(ShareMmfObjTest, MapsCountAndTheLastUnMapLetsGo) {
    ASSERT_EQ(Alloc(1), 0);
    const int block = Alloc(100);
    unsigned char* const address = object.Map(block);
    EXPECT_EQ(object.Map(block), address);
    EXPECT_EQ(object.GetRefCount(1), 2U);
    object.UnMap(block);
    EXPECT_TRUE(IsMapped(address));
    object.UnMap(block);
    EXPECT_EQ(IsMapped(address), !IsFile());

    object.UnMap(block);
    EXPECT_EQ(object.GetRefCount(1), ~0UL);
    EXPECT_EQ(object.Map(block), nullptr);
}

TEST_P(ShareMmfObjTest, WindowsLieInsideTheirBlock) {
    ASSERT_EQ(Alloc(kSlot), 0);
    const int block = Alloc(2 * kSlot);
    unsigned char* const whole = object.Map(block);
    whole[kSlot] = 7;
    unsigned char* const window = object.MapWindow(block, kSlot, kSlot);
    ASSERT_NE(window, MAP_FAILED);
    EXPECT_EQ(window[0], 7);
    EXPECT_EQ(window == whole + kSlot, !IsFile());
    object.UnMapWindow(window, kSlot);
    EXPECT_EQ(IsMapped(window), !IsFile());

    EXPECT_NE(object.MapWindow(block, 2 * kSlot, 0), nullptr);
    for (const auto& [offset, length] :
         {std::pair{1UL, 2 * kSlot}, {0UL, 2 * kSlot + 1}, {2 * kSlot + 1, 0UL}, {kSlot, ~0UL}}) {
        EXPECT_EQ(object.MapWindow(block, offset, length), nullptr) << offset << " " << length;
    }
}

TEST_P(ShareMmfObjTest, FreeingUnmapsABlockUnderItsUser) {
    ASSERT_EQ(Alloc(1), 0);
    const int block = Alloc(1);
    const unsigned char* const address = object.Map(block);
    EXPECT_FALSE(Free(block));
    EXPECT_EQ(IsMapped(address), !IsFile());
    EXPECT_TRUE(Free(0));
}

// Reopening the file takes memory for its name. Without it the map is refused and nothing else is harmed.
TEST_P(ShareMmfObjTest, NoMemoryForMappingIsARefusal) {
    ASSERT_EQ(Alloc(1), 0);
    unsigned char* address = nullptr;
    std::size_t allowed = 0;
    do {
        ASSERT_LT(allowed, 100U);
        const CFailingAllocation failing(allowed++);
        address = object.Map(0);
        object.UnMap(0);
    } while (CFailingAllocation::HasFailed());
    EXPECT_NE(address, MAP_FAILED);
    EXPECT_EQ(allowed > 1, IsFile());
}

INSTANTIATE_TEST_SUITE_P(Store, ShareMmfObjTest, testing::Bool(),
                         [](const auto& info) { return info.param ? "File" : "Heap"; });

}  // namespace
