#include <sys/mman.h>

#include <algorithm>
#include <random>
#include <thread>
#include <vector>

#include "mmf/MmfManager.h"
#include "support/StoresTest.h"

namespace {

class StoreThreadsTest : public StoresTest {
protected:
    // Of any kind, in the folders of all stores; an earlier Finalize keeps the folders themselves from going.
    long FilesLeft() const {
        const auto isFile = [](const auto& entry) { return entry.is_regular_file(); };
        return std::ranges::count_if(std::filesystem::recursive_directory_iterator(folder), isFile);
    }
};

constexpr unsigned long kMiB = 1UL << 20;

struct Held {
    unsigned int handle;
    unsigned long size;
    unsigned char mark;
};

void ForEachEnd(const Held& block, void (*visit)(unsigned char& byte, unsigned char mark)) {
    unsigned char* const address = GlobalStoreOf(block.handle).Map(block.handle);
    ASSERT_NE(address, nullptr);
    for (const unsigned long at : {0UL, block.size / 2, block.size - 1}) visit(address[at], block.mark);
    GlobalStoreOf(block.handle).UnMap(block.handle);
}

void Fill(const Held& block) {
    ForEachEnd(block, [](unsigned char& byte, unsigned char mark) { byte = mark; });
}

void CheckAndFree(const Held& block) {
    ForEachEnd(block, [](unsigned char& byte, unsigned char mark) { EXPECT_EQ(byte, mark); });
    EXPECT_EQ(GlobalStoreOf(block.handle).MemFree(block.handle), KX::kResultOk);
}

// Two threads to a store: blocks of all sizes are made, filled, checked and freed in random order.
void Work(unsigned int store, unsigned int seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::vector<Held> held;
    for (int step = 0; step < 300; ++step) {
        unsigned int large = 0;  // a large request reads the total while the other thread may change it
        if (step % 50 == 0 && g_aFixMmfManager[store].MemAlloc(70 * kMiB, large)) {
            EXPECT_EQ(g_aFixMmfManager[store].MemFree(large), KX::kResultOk);
        }
        if (held.size() < 20) {
            Held block{0, 1 + random() % (3 * kMiB), static_cast<unsigned char>(random())};
            ASSERT_TRUE(g_aFixMmfManager[store].MemAlloc(block.size, block.handle));
            block.handle = BlockHandle::WithStore(block.handle, store);
            Fill(block);
            held.push_back(block);
        } else {
            std::swap(held[random() % held.size()], held.back());
            CheckAndFree(held.back());
            held.pop_back();
        }
    }
    for (const Held& block : held) CheckAndFree(block);
}

TEST_F(StoreThreadsTest, FourStoresUnderEightThreads) {
    const auto seed = std::random_device{}();
    for (const unsigned int store : {0U, 1U, 2U, 3U}) SetLimit(store, 1024 * kMiB);
    std::vector<std::thread> threads;
    for (unsigned int index = 0; index < 8; ++index) threads.emplace_back(Work, index % 4, seed + index);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(FilesLeft(), 0);
}

// Each free that empties its store removes the folder, perhaps between the making of the folder and that of the
// file on another thread: no block may end up without its file.
TEST_F(StoreThreadsTest, FoldersThatVanishMeanwhileComeBack) {
    for (const int store : {0, 1, 2, 3}) {
        const wchar_t prefix[] = {static_cast<wchar_t>(L'A' + store), L'_', L'\0'};
        ASSERT_TRUE(KX::CMmf::SetDirectory(store, prefix, StoreFolder(L"common").c_str(), 0));
    }
    const auto allocAndFree = [](unsigned int store) {
        CMmfManager& manager = g_aFixMmfManager[store];
        for (int round = 0; round < 2000; ++round) {
            unsigned int handle = 0;
            ASSERT_TRUE(manager.MemAlloc(65 * kMiB, handle));
            unsigned char* const window = manager.MapWindow(handle, 64 * kMiB, kMiB);
            ASSERT_NE(window, MAP_FAILED);
            manager.UnMapWindow(handle, window, kMiB);
            ASSERT_EQ(manager.MemFree(handle), KX::kResultOk);
        }
    };
    std::vector<std::thread> threads;
    for (unsigned int store = 0; store < 4; ++store) threads.emplace_back(allocAndFree, store);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(FilesLeft(), 0);
}

}  // namespace
