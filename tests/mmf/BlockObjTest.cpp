#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <memory>

#include "mmf/ShareMmfObj.h"
#include "mmf/UnsharedMmfObj.h"
#include "support/FailingAllocation.h"
#include "support/TempFolder.h"

namespace fs = std::filesystem;

namespace {

const auto kPage = static_cast<unsigned long>(::sysconf(_SC_PAGESIZE));
constexpr unsigned long kSlot = CShareMmfObj::kSlotSize;

// The stores of blocks: a heap buffer, the file that takes its place where it cannot be had, and the file of one block.
enum class Store { kHeap, kFile, kUnshared };

class BlockObjTest : public TempFolderTest, public testing::WithParamInterface<Store> {
protected:
    void SetUp() override {
#if !defined(KXMMF_MALLOC_IS_WRAPPED)
        if (GetParam() == Store::kFile) GTEST_SKIP() << "memory cannot be refused here";
#endif
        if (isUnshared) {
            auto unshared = std::make_unique<CUnsharedMmfObj>();
            ASSERT_TRUE(unshared->CreateUnShareMemMapFile(L"KX_", StoreFolder().c_str(), size));
            object = std::move(unshared);
        } else {
            auto shared = std::make_unique<CShareMmfObj>();
            const CFailingAllocation failing(0, isHeap ? SIZE_MAX : CShareMmfObj::kStoreSize);
            ASSERT_TRUE(shared->CreateShareMemMapFile(L"KX_", StoreFolder().c_str()));
            object = std::move(shared);
            ASSERT_TRUE(object->MemAlloc(1, before) && before == 0);
        }
        ASSERT_EQ(NamesIn(folder / "store").size(), isHeap ? 0U : 1U);
        ASSERT_TRUE(object->MemAlloc(size, block));
        whole = object->Map(Number());
        ASSERT_NE(whole, MAP_FAILED);
    }

    int Number() const {
        return static_cast<int>(block);
    }
    bool AreEndsMapped() const {
        return IsMapped(whole) && IsMapped(whole + size - 1);
    }

    const bool isHeap = GetParam() == Store::kHeap, isUnshared = GetParam() == Store::kUnshared;
    const unsigned long size = isUnshared ? 4 * kPage + 100 : 2 * kSlot;
    std::unique_ptr<CMmfObj> object;
    unsigned int before = 9, block = 9;
    unsigned char* whole = nullptr;
};

using UnsharedObjTest = BlockObjTest;

TEST_P(BlockObjTest, MapsCountAndTheLastUnMapLetsGo) {
    EXPECT_EQ(object->Map(Number()), whole);
    EXPECT_EQ(object->GetRefCount(block), 2U);
    object->UnMap(Number());
    EXPECT_TRUE(AreEndsMapped());
    object->UnMap(Number());
    EXPECT_EQ(AreEndsMapped(), isHeap);

    object->UnMap(Number());
    EXPECT_EQ(object->GetRefCount(block), ~0UL);
    EXPECT_EQ(object->Map(Number()), nullptr);
    EXPECT_NE(object->Map(Number()), nullptr);
}

TEST_P(BlockObjTest, WindowsShowTheBlockFromTheirOffset) {
    const std::string pattern = Pattern(size);
    std::copy(pattern.begin(), pattern.end(), whole);
    const unsigned long last = (size - 1) / kPage * kPage;
    for (const auto& [offset, length] : {std::pair{0UL, size}, {kPage, kPage}, {last, size - last}, {last, 1UL}}) {
        unsigned char* const window = object->MapWindow(Number(), offset, length);
        ASSERT_NE(window, MAP_FAILED);
        EXPECT_TRUE(std::equal(window, window + length, whole + offset)) << offset;
        window[length - 1] ^= 0xFF;
        EXPECT_EQ(whole[offset + length - 1], window[length - 1]);
        object->UnMapWindow(window, length);
        EXPECT_EQ(IsMapped(window), isHeap);
    }
    EXPECT_EQ(object->GetRefCount(block), 1U);
    object->UnMapWindow(nullptr, 0);

    for (const auto& [offset, length] : {std::pair{0UL, size + 1},
                                         {last, size - last + 1},
                                         {size + 1, 0UL},
                                         {kPage, ~0UL},
                                         {~0UL, 1UL},
                                         {~0UL, ~0UL}}) {
        EXPECT_EQ(object->MapWindow(Number(), offset, length), nullptr) << offset << " " << length;
    }
    EXPECT_NE(object->MapWindow(Number(), size, 0), nullptr);  // inside, though the system maps nothing of no length
}

TEST_P(BlockObjTest, FreeingUnmapsABlockUnderItsUserAndTellsWhichIsTheLast) {
    bool isEmpty = false;
    EXPECT_EQ(object->MemFree(Number(), isEmpty), KX::kResultOk);
    EXPECT_EQ(isEmpty, isUnshared);
    EXPECT_EQ(AreEndsMapped(), isHeap);
    EXPECT_EQ(object->MemFree(0, isEmpty), KX::kResultOk);
    EXPECT_TRUE(isEmpty);
    EXPECT_TRUE(object->MemAlloc(size, block));
    EXPECT_EQ(block, 0U);
}

// Reopening a shared file takes memory for its name. Without it the map is refused and nothing else is harmed.
TEST_P(BlockObjTest, NoMemoryForMappingIsARefusal) {
    unsigned char* address = nullptr;
    std::size_t allowed = 0;
    do {
        ASSERT_LT(allowed, 100U);
        const CFailingAllocation failing(allowed++);
        object->UnMap(Number());
        address = object->Map(Number());
    } while (CFailingAllocation::HasFailed());
    EXPECT_NE(address, MAP_FAILED);
    EXPECT_EQ(allowed > 1, GetParam() == Store::kFile);
}

TEST_P(UnsharedObjTest, HoldsOneBlockThatFillsItsFile) {
    EXPECT_EQ(fs::file_size(folder / "store" / NamesIn(folder / "store").front()), size + 2);
    EXPECT_EQ(fs::status(folder / "store").permissions(), fs::perms::owner_all);
    EXPECT_EQ(object->GetFileSize(), size);
    EXPECT_EQ(object->GetSize(0), size);
    EXPECT_FALSE(object->MemAlloc(1, block));
    EXPECT_EQ(block, 0xFFFFFFFFU);

    EXPECT_EQ(object->Map(1), nullptr);
    EXPECT_EQ(object->MapWindow(1, 0, kPage), nullptr);
    object->UnMap(1);
    EXPECT_EQ(object->GetSize(1) + object->GetRefCount(1), 0U);
}

#if defined(__linux__)
TEST_P(UnsharedObjTest, MappingsMayBeExecuted) {
    std::ifstream maps("/proc/self/maps");
    std::string line;
    while (std::getline(maps, line) && std::stoull(line, nullptr, 16) != reinterpret_cast<std::uintptr_t>(whole)) {
    }
    EXPECT_NE(line.find(" rwxs "), std::string::npos) << line;
}
#endif

// The length of the last mapping, window or whole, is what the last UnMap gives back.
TEST_P(UnsharedObjTest, AWindowCutsTheLastUnMapShort) {
    object->UnMapWindow(object->MapWindow(0, 0, kPage), kPage);
    object->UnMap(0);
    EXPECT_FALSE(IsMapped(whole));
    EXPECT_TRUE(IsMapped(whole + kPage));
    ::munmap(whole + kPage, size - kPage);
}

TEST_P(UnsharedObjTest, MapsOnAFileSystemThatForbidsExecution) {
    const CMount noexec(folder / "noexec", "size=1m,noexec");
    if (!noexec.IsMounted()) GTEST_SKIP() << "mounting is not allowed here";
    CUnsharedMmfObj guest;
    ASSERT_TRUE(guest.CreateUnShareMemMapFile(L"KX_", StoreFolder(L"noexec/store").c_str(), size));
    unsigned char* const address = guest.Map(0);
    ASSERT_NE(address, MAP_FAILED);
    address[size - 1] = 1;
    guest.UnMap(0);
    guest.DestroyMemMapFile();
}

constexpr auto kNameOf = [](const auto& info) {
    const char* const names[] = {"Heap", "File", "Unshared"};
    return std::string(names[static_cast<int>(info.param)]);
};
INSTANTIATE_TEST_SUITE_P(Of, BlockObjTest, testing::Values(Store::kHeap, Store::kFile, Store::kUnshared), kNameOf);
INSTANTIATE_TEST_SUITE_P(Of, UnsharedObjTest, testing::Values(Store::kUnshared), kNameOf);

}  // namespace
