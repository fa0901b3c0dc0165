#include "mmf/MmfManager.h"

#include <sys/mman.h>

#include <fstream>
#include <random>
#include <tuple>
#include <vector>

#include "mmf/BlockHandle.h"
#include "mmf/Mmf.h"
#include "mmf/ShareMmfObj.h"
#include "support/FailingAllocation.h"
#include "support/StoreModel.h"
#include "support/TempFolder.h"

namespace fs = std::filesystem;

// Objects that the store leaves behind by its rules are no news to the leak checker.
extern "C" {
void __lsan_disable() __attribute__((weak));
void __lsan_enable() __attribute__((weak));
}

namespace {

constexpr unsigned long kSlot = CShareMmfObj::kSlotSize;
constexpr unsigned long kMiB = 1UL << 20;
constexpr unsigned long kLargestShared = CShareMmfObj::kStoreSize;
constexpr unsigned int kUntouched = 77;

class MmfManagerTest : public TempFolderTest {
protected:
    void SetUp() override { ASSERT_TRUE(manager.SetDirectory(L"KX__", StoreFolder().c_str())); }

    // The handle of a new block, or kUntouched where there is none.
    unsigned int Alloc(unsigned long size) {
        unsigned int handle = kUntouched;
        const bool isPlaced = manager.MemAlloc(size, handle);
        EXPECT_EQ(isPlaced, handle != kUntouched);
        return handle;
    }

    std::vector<std::string> StoreNames() const { return NamesIn(folder / "store"); }

    CMmfManager manager;
};

TEST_F(MmfManagerTest, HandlesOfNothingDoNothing) {
    const unsigned int gone = Alloc(kLargestShared), kept = Alloc(1);
    ASSERT_EQ(manager.MemFree(gone), KX::kResultOk);
    for (const unsigned int handle : {0U, ~0U, 0x00030001U, gone, kept + 1, kept - 1, kept + 1024}) {
        SCOPED_TRACE(handle);
        EXPECT_EQ(manager.Map(handle), nullptr);
        EXPECT_EQ(manager.MapWindow(handle, 0, 1), nullptr);
        manager.UnMapWindow(handle, nullptr, 0);
        manager.UnMap(handle);
        EXPECT_EQ(manager.GetSize(handle) + manager.GetRefCount(handle), 0U);
        EXPECT_EQ(manager.MemFree(handle), handle == gone ? KX::kResultOk : KX::kResultInvalidArgument);
    }
    EXPECT_NE(manager.Map(kept | 0xC0000000), nullptr);  // the store bits are not the manager's
    EXPECT_EQ(manager.GetRefCount(kept), 1U);
}

TEST_F(MmfManagerTest, TheLimitCountsWholeObjectsAndTheRequestBeforeANewOne) {
    using Case = std::tuple<unsigned int, unsigned long, unsigned long, bool, bool>;
    const unsigned int hundred = 100 * kMiB;
    for (const auto& [limit, first, second, isFirstPlaced, isSecondPlaced] :
         {Case{hundred, 30 * kMiB, 40 * kMiB, true, false}, Case{hundred, 30 * kMiB, 30 * kMiB, true, true},
          Case{hundred, 64 * kMiB, 36 * kMiB, true, true}, Case{hundred, 64 * kMiB, 36 * kMiB + 1, true, false},
          Case{hundred, hundred, 1, true, false}, Case{hundred, hundred, ~0UL, true, false},
          Case{hundred, hundred + 1, ~0UL, false, false}, Case{1, 1, 64 * kMiB - kSlot, true, true},
          Case{1, 2, kSlot, false, false}, Case{0, hundred, ~0UL >> 1, true, true}}) {
        CMmfManager limited;
        ASSERT_TRUE(limited.SetDirectory(L"KX__", StoreFolder(L"limited").c_str()));
        limited.SetSizeLimit(limit);
        unsigned int handle = 0;
        EXPECT_EQ(limited.MemAlloc(first, handle), isFirstPlaced) << limit << " " << first;
        EXPECT_EQ(limited.MemAlloc(second, handle), isSecondPlaced) << limit << " " << second;
    }
}

TEST_F(MmfManagerTest, TheFolderGoesWithTheLastBlockUnlessSomethingElseIsInIt) {
    const unsigned int shared = Alloc(1);
    const unsigned int large = Alloc(kLargestShared + 1);
    EXPECT_EQ(manager.MemFree(large), KX::kResultOk);
    EXPECT_TRUE(fs::exists(folder / "store"));
    std::ofstream(folder / "store" / "other") << "x";
    EXPECT_EQ(manager.MemFree(shared), KX::kResultOk);
    EXPECT_EQ(StoreNames(), std::vector<std::string>{"other"});

    fs::remove(folder / "store" / "other");
    EXPECT_EQ(manager.MemFree(Alloc(kLargestShared + 1)), KX::kResultOk);
    EXPECT_FALSE(fs::exists(folder / "store"));
    fs::create_directory(folder / "store");
    EXPECT_EQ(manager.MemFree(shared), KX::kResultOk);  // gone already, but the folder is looked at again
    EXPECT_FALSE(fs::exists(folder / "store"));
}

TEST_F(MmfManagerTest, AFileAndFolderThatVanishTakeNothingWithThem) {
    const unsigned int handle = Alloc(kLargestShared + 1);
    fs::remove_all(folder / "store");
    manager.Map(handle)[kLargestShared] = 5;
    manager.UnMap(handle);
    EXPECT_EQ(*manager.MapWindow(handle, kLargestShared, 1), 5);
    EXPECT_EQ(manager.MemFree(handle), KX::kResultOk);
}

TEST_F(MmfManagerTest, SetDirectoryKeepsAllButTheLastCharacterOfThePrefix) {
    for (const auto& [given, kept] : {std::pair{L"AB", "A"}, {L"ABCD", "ABC"}, {L"ABCDEFGH", "ABC"}}) {
        ASSERT_TRUE(manager.SetDirectory(given, StoreFolder().c_str()));
        const unsigned int handle = Alloc(kLargestShared + 1);
        ASSERT_EQ(StoreNames().size(), 1U);
        const std::string name = StoreNames().front();
        EXPECT_EQ(name.substr(0, name.find_first_of("0123456789")), kept);
        EXPECT_EQ(manager.MemFree(handle), KX::kResultOk);
    }
    ASSERT_TRUE(manager.SetDirectory(L"A", StoreFolder().c_str()));
    EXPECT_EQ(Alloc(1), kUntouched);  // no backing object goes without a prefix
}

TEST_F(MmfManagerTest, SetDirectoryRefusesAndKeepsWhatItHad) {
    const std::wstring tmp = folder.wstring(), other = StoreFolder(L"other");
    using Given = std::pair<const wchar_t*, const wchar_t*>;
    for (const auto& [prefix, directory] :
         {Given{nullptr, other.c_str()}, Given{L"", other.c_str()}, Given{L"KX__", nullptr}, Given{L"KX__", L""},
          Given{L"KX__", tmp.c_str()}}) {
        EXPECT_FALSE(manager.SetDirectory(prefix, directory));
    }
    EXPECT_EQ(manager.GetDirectory(), StoreFolder());
    EXPECT_EQ(manager.MemFree(Alloc(kLargestShared + 1)), KX::kResultOk);  // no objects without the prefix
    EXPECT_TRUE(manager.SetDirectory(L"KX__", (tmp + L"/").c_str()));      // another text for the same folder passes
    EXPECT_EQ(CMmfManager().GetDirectory(), tmp + L"/KXTmp/");
    ::setenv("TMPDIR", "/t/", 1);
    EXPECT_EQ(CMmfManager().GetDirectory(), L"/t/KXTmp/");
}

TEST_F(MmfManagerTest, FinalizeDestroysAllAndPrintsWhatIsLeft) {
    ASSERT_TRUE(manager.SetDirectory(L"ABC_", StoreFolder().c_str()));
    const unsigned int mapped = Alloc(1);
    manager.Map(mapped);
    Alloc(kLargestShared + 1);
    for (const char* const name : {"ABC.mmfheader", "b.tmp.kept", "nodot"})
        std::ofstream(folder / "store" / name) << "x";

    testing::internal::CaptureStdout();
    manager.Finalize();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "nodot\nb.tmp.kept\n..\n.\n");
    EXPECT_EQ(StoreNames(), (std::vector<std::string>{"b.tmp.kept", "nodot"}));
    EXPECT_EQ(manager.Map(mapped), nullptr);
    EXPECT_EQ(Alloc(1), 0x00010001U);
    manager.SetSizeLimit(256 * kMiB);  // the total still counts what is gone: 64 MiB twice, and now as much again
    EXPECT_EQ(Alloc(kLargestShared), kUntouched);
}

TEST_F(MmfManagerTest, PlacesBlocksLikeTheModelOverALongSequence) {
    const auto seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    CStoreModel model;
    std::vector<unsigned int> live;
    for (int step = 0; step < 6000; ++step) {
        const bool isFilling = step / 1000 % 2 == 0;
        if (live.empty() || random() % 100 < (isFilling ? 70 : 30)) {
            const std::size_t slots = random() % 10 == 0 ? 1 + random() % 1030 : 1 + random() % 40;
            live.push_back(Alloc(std::min(slots * kSlot - random() % kSlot, slots <= 1024 ? kLargestShared : ~0UL)));
            ASSERT_EQ(live.back(), model.Alloc(slots)) << "step " << step;
        } else {
            std::swap(live[random() % live.size()], live.back());
            ASSERT_EQ(manager.MemFree(live.back()), KX::kResultOk) << "step " << step;
            model.Free(live.back());
            live.pop_back();
        }
    }
}

TEST_F(MmfManagerTest, ObjectNumbersEndBeforeTheStoreBits) {
    // Without a parent for its folder the store has no files, so that no system limit comes first.
    ASSERT_TRUE(manager.SetDirectory(L"KX__", StoreFolder(L"missing/store").c_str()));
    for (unsigned int object = 1; object <= 16383; ++object) ASSERT_EQ(Alloc(kLargestShared + 1), object << 16 | 1);
    EXPECT_EQ(Alloc(kLargestShared + 1), kUntouched);
    EXPECT_EQ(Alloc(1), kUntouched);
    EXPECT_EQ(manager.MemFree(BlockHandle::Make(5, 0)), KX::kResultOk);
    EXPECT_EQ(Alloc(1), BlockHandle::Make(5, 0));
    EXPECT_EQ(Alloc(1), BlockHandle::Make(5, 1));
}

TEST_F(MmfManagerTest, AnyAllocationMayFailAndTheStoreGoesOn) {
    if (__lsan_disable != nullptr) __lsan_disable();
    bool wasLeftBehind = false;
    for (const unsigned long size : {1UL, kLargestShared + 1}) {
        bool isDone = false;
        for (std::size_t allowed = 0; !isDone; ++allowed) {
            ASSERT_LT(allowed, 1000U);
            CMmfManager store;
            ASSERT_TRUE(store.SetDirectory(L"KX__", StoreFolder(L"failing").c_str()));
            unsigned int handle = kUntouched;
            {
                const CFailingAllocation failing(allowed, 0, 1);
                const bool isPlaced = store.MemAlloc(size, handle);
                isDone = !CFailingAllocation::HasFailed();
                EXPECT_TRUE(isPlaced == (handle != kUntouched) && (isPlaced || !isDone)) << allowed;
                EXPECT_TRUE(!isPlaced || store.Map(handle) != MAP_FAILED) << allowed;
                wasLeftBehind = wasLeftBehind || (!isPlaced && !NamesIn(folder / "failing").empty());
            }
            EXPECT_TRUE(store.MemAlloc(size, handle) && store.MemFree(handle) == KX::kResultOk) << allowed;
        }
    }
    if (__lsan_enable != nullptr) __lsan_enable();
    EXPECT_TRUE(wasLeftBehind);  // the object that could not be recorded keeps its file
    fs::remove_all(folder / "failing");
}

// Where one object has no memory for the record of a block, the next one with room gets its turn.
TEST_F(MmfManagerTest, ARefusedRecordPassesTheBlockOn) {
    for (const unsigned int object : {1U, 2U}) ASSERT_EQ(Alloc(kLargestShared - kSlot), (object << 16) | 1);
    unsigned int handle = kUntouched;
    {
        const CFailingAllocation failing(0, 0, 1);
        EXPECT_TRUE(manager.MemAlloc(1, handle));
    }
    EXPECT_EQ(handle, 0x00020400U);
    EXPECT_EQ(Alloc(1), 0x00010400U);
}

TEST_F(MmfManagerTest, NoMemoryLetsNoExceptionOut) {
    const unsigned int large = Alloc(kLargestShared + 1);
    const std::wstring other = StoreFolder(L"other");
    {
        const CFailingAllocation failing(0);
        EXPECT_FALSE(manager.SetDirectory(L"KX__", other.c_str()));
        EXPECT_EQ(KX::CMmf::GetDirectoryMMFQuantity(other.c_str()), 0U);
        EXPECT_EQ(manager.MemFree(large), KX::kResultOk);
        manager.Finalize();
        EXPECT_TRUE(CFailingAllocation::HasFailed());
    }
    EXPECT_EQ(manager.GetDirectory(), StoreFolder());
    EXPECT_EQ(StoreNames().size(), 1U);  // the file stays where its name cannot be converted
    fs::remove_all(folder / "store");
}

// Blocks come without a file, and maps are refused; nothing breaks and nothing is left behind.
TEST_F(MmfManagerTest, RefusedFoldersShowWhenMapping) {
    std::ofstream("in the way") << "x";
    const CMount readOnly(folder / "read-only", "size=1m,ro");
    std::vector<std::wstring> refused = {StoreFolder(L"missing/store"), StoreFolder(L"in the way")};
    if (readOnly.IsMounted()) refused.push_back(StoreFolder(L"read-only/store"));
    for (const std::wstring& directory : refused) {
        ASSERT_TRUE(manager.SetDirectory(L"KX__", directory.c_str()));
        const unsigned int handle = Alloc(kLargestShared + 1);
        EXPECT_EQ(manager.Map(handle), MAP_FAILED);
        EXPECT_EQ(manager.MapWindow(handle, 0, kSlot), MAP_FAILED);
        manager.UnMap(handle);
        EXPECT_EQ(manager.MemFree(handle), KX::kResultOk);
    }
    EXPECT_TRUE(fs::is_regular_file("in the way"));
    ASSERT_TRUE(manager.SetDirectory(L"KX__", (folder / "in the way").wstring().c_str()));
    EXPECT_EQ(manager.MemFree(Alloc(1)), KX::kResultOk);
    EXPECT_TRUE(fs::is_regular_file("in the way")) << "taken for an emptied folder";
}

TEST_F(MmfManagerTest, AFullDiskTakesNoFileAndLeavesNone) {
    const CMount small(folder / "small", "size=64k");
    if (!small.IsMounted()) GTEST_SKIP() << "mounting is not allowed here";
    std::ofstream("small/filler") << std::string(1 << 20, 'x');
    ASSERT_TRUE(manager.SetDirectory(L"KX__", StoreFolder(L"small/store").c_str()));
    const unsigned int handle = Alloc(kLargestShared + 1);
    EXPECT_EQ(manager.GetSize(handle), kLargestShared + 1);
    EXPECT_EQ(manager.MemFree(handle), KX::kResultOk);
    EXPECT_EQ(NamesIn(folder / "small"), std::vector<std::string>{"filler"});
}

}  // namespace
