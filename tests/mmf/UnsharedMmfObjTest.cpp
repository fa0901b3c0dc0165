#include "mmf/UnsharedMmfObj.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <fstream>

#include "support/TempFolder.h"

namespace fs = std::filesystem;

namespace {

const auto kPage = static_cast<unsigned long>(::sysconf(_SC_PAGESIZE));
const unsigned long kSize = 4 * kPage + 100;

class UnsharedMmfObjTest : public TempFolderTest {
protected:
    void SetUp() override {
        ASSERT_TRUE(object.CreateUnShareMemMapFile(L"KX_", StoreFolder().c_str(), kSize));
        ASSERT_TRUE(object.MemAlloc(kSize, block));
        ASSERT_EQ(block, 0U);
    }

    CUnsharedMmfObj object;
    unsigned int block = 9;
};

TEST_F(UnsharedMmfObjTest, HoldsOneBlockThatFillsItsFile) {
    const auto names = NamesIn(folder / "store");
    ASSERT_EQ(names.size(), 1U);
    EXPECT_EQ(fs::file_size(folder / "store" / names.front()), kSize + 2);
    EXPECT_EQ(fs::status(folder / "store").permissions(), fs::perms::owner_all);
    EXPECT_EQ(object.GetFileSize(), kSize);
    EXPECT_EQ(object.GetSize(0), kSize);
    EXPECT_FALSE(object.MemAlloc(1, block));
    EXPECT_EQ(block, 0xFFFFFFFFU);

    EXPECT_EQ(object.Map(1), nullptr);
    EXPECT_EQ(object.MapWindow(1, 0, kPage), nullptr);
    object.UnMap(1);
    EXPECT_EQ(object.GetSize(1), 0U);
    EXPECT_EQ(object.GetRefCount(1), 0U);
}

TEST_F(UnsharedMmfObjTest, MapsOnceAndCounts) {
    unsigned char* const address = object.Map(0);
    ASSERT_NE(address, MAP_FAILED);
    EXPECT_EQ(object.Map(0), address);
    EXPECT_EQ(object.GetRefCount(0), 2U);
    object.UnMap(0);
    EXPECT_TRUE(IsMapped(address) && IsMapped(address + kSize - 1));
    object.UnMap(0);
    EXPECT_FALSE(IsMapped(address) || IsMapped(address + kSize - 1));
}

#if defined(__linux__)
TEST_F(UnsharedMmfObjTest, MappingsMayBeExecuted) {
    const auto start = reinterpret_cast<std::uintptr_t>(object.Map(0));
    std::ifstream maps("/proc/self/maps");
    std::string line;
    while (std::getline(maps, line) && std::stoull(line, nullptr, 16) != start) {
    }
    EXPECT_NE(line.find(" rwxs "), std::string::npos) << line;
}
#endif

TEST_F(UnsharedMmfObjTest, WindowsShowTheBlockFromTheirOffset) {
    unsigned char* const whole = object.Map(0);
    for (unsigned long offset = 0; offset < kSize; ++offset) whole[offset] = static_cast<unsigned char>(offset % 251);
    for (const auto& [offset, length] : {std::pair{0UL, kSize}, {kPage, kPage}, {4 * kPage, 100UL}, {4 * kPage, 1UL}}) {
        unsigned char* const window = object.MapWindow(0, offset, length);
        ASSERT_NE(window, MAP_FAILED);
        EXPECT_EQ(std::memcmp(window, whole + offset, length), 0) << offset;
        window[length - 1] ^= 0xFF;
        EXPECT_EQ(whole[offset + length - 1], window[length - 1]);
        object.UnMapWindow(window, length);
        EXPECT_FALSE(IsMapped(window));
    }
    EXPECT_EQ(object.GetRefCount(0), 1U);
    object.UnMapWindow(nullptr, 0);
}

TEST_F(UnsharedMmfObjTest, WindowsOutsideTheBlockAreRefused) {
    for (const auto& [offset, length] :
         {std::pair{0UL, kSize + 1}, {4 * kPage, 101UL}, {kSize + 1, 0UL}, {kPage, ~0UL}, {~0UL, 1UL}, {~0UL, ~0UL}}) {
        EXPECT_EQ(object.MapWindow(0, offset, length), nullptr) << offset << " " << length;
    }
    EXPECT_NE(object.MapWindow(0, kSize, 0), nullptr);  // inside, though the system maps nothing of no length
}

// The length of the last mapping, window or whole, is what the last UnMap gives back.
TEST_F(UnsharedMmfObjTest, AWindowCutsTheLastUnMapShort) {
    unsigned char* const address = object.Map(0);
    object.UnMapWindow(object.MapWindow(0, 0, kPage), kPage);
    object.UnMap(0);
    EXPECT_FALSE(IsMapped(address));
    EXPECT_TRUE(IsMapped(address + kPage));
    ::munmap(address + kPage, kSize - kPage);
}

TEST_F(UnsharedMmfObjTest, OneUnMapTooManyWrapsTheCount) {
    object.UnMap(0);
    EXPECT_EQ(object.GetRefCount(0), ~0UL);
    EXPECT_EQ(object.Map(0), nullptr);
    EXPECT_NE(object.Map(0), nullptr);
}

TEST_F(UnsharedMmfObjTest, FreeingUnmapsAndReportsEmpty) {
    unsigned char* const address = object.Map(0);
    bool isEmpty = false;
    EXPECT_EQ(object.MemFree(5, isEmpty), KX::kResultOk);
    EXPECT_TRUE(isEmpty);
    EXPECT_FALSE(IsMapped(address));
    EXPECT_TRUE(object.MemAlloc(kSize, block));
}

TEST_F(UnsharedMmfObjTest, MapsOnAFileSystemThatForbidsExecution) {
    const CMount noexec(folder / "noexec", "size=1m,noexec");
    if (!noexec.IsMounted()) GTEST_SKIP() << "mounting is not allowed here";
    CUnsharedMmfObj guest;
    ASSERT_TRUE(guest.CreateUnShareMemMapFile(L"KX_", StoreFolder(L"noexec/store").c_str(), kSize));
    unsigned char* const address = guest.Map(0);
    ASSERT_NE(address, MAP_FAILED);
    address[kSize - 1] = 1;
    guest.UnMap(0);
    guest.DestroyMemMapFile();
}

}  // namespace
