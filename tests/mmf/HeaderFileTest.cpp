#include <sys/mman.h>
#include <sys/resource.h>

#include <csignal>
#include <fstream>
#include <random>

#include "mmf/MmfManager.h"
#include "support/ContainerWriter.h"
#include "support/FailingAllocation.h"
#include "support/TempFolder.h"

namespace fs = std::filesystem;

namespace {

// Records byte by byte, with nothing of the library: what its own reader and writer are held against.
std::string Record(unsigned int kind, const std::wstring& name, std::uint64_t size) {
    std::string bytes = Little(kind, 1) + Little(name.size());
    for (const wchar_t character : name) bytes += Little(static_cast<std::uint32_t>(character), 2);
    return bytes + Little(size);
}

std::string Named(const std::wstring& name, std::uint64_t size = 1, std::uint64_t maps = 0) {
    return Record(0, name, size) + Little(1, 1) + Little(maps);
}

using Blocks = std::vector<std::pair<std::uint64_t, std::uint64_t>>;  // first slot and slots

std::string Shared(const Blocks& blocks, const std::wstring& name = {}, unsigned int kind = 1) {
    std::string bytes = Record(kind, name, 0x4000000) + Little(blocks.size()), flags(1024, '\0');
    for (const auto& [first, slots] : blocks) {
        bytes += Little(first) + Little(slots);
        for (auto slot = first; slot < std::min<std::uint64_t>(first + slots, 1024); ++slot) flags[slot] = 1;
    }
    return bytes + flags;
}

// No file can grow meanwhile.
class CFullDisk {
public:
    CFullDisk() {
        ::getrlimit(RLIMIT_FSIZE, &limit);
        const rlimit none{0, limit.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &none);
    }
    ~CFullDisk() {
        ::setrlimit(RLIMIT_FSIZE, &limit);
        ::signal(SIGXFSZ, handler);
    }

private:
    rlimit limit{};
    void (*const handler)(int) = ::signal(SIGXFSZ, SIG_IGN);
};

class HeaderFileTest : public TempFolderTest {
protected:
    HeaderFileTest() { fs::create_directory("store"); }

    std::unique_ptr<CMmfManager> Load(const std::string& content, KX::Result expected = KX::kResultOk) const {
        std::ofstream(header, std::ios::binary) << content;
        auto store = std::make_unique<CMmfManager>();
        EXPECT_TRUE(store->SetDirectory(L"KX__", StoreFolder().c_str()));
        EXPECT_EQ(store->LoadHeaderFile(), expected);
        unsigned int handle = 0;
        EXPECT_TRUE(expected == 0 || (store->MemAlloc(1, handle) && store->MemFree(handle) == 0)) << "it is of no use";
        return store;
    }

    std::string Saved(CMmfManager& store, KX::Result expected = KX::kResultOk) const {
        EXPECT_EQ(store.SaveHeaderFile(), expected);
        return BytesOf(header);
    }

    const std::string header = "store/KX_.mmfheader";
    const std::string bytes = Little(4) + Named(L"\u540d.tmp", 5000) + Shared({{0, 1}, {3, 2}, {1023, 1}}, L"b.tmp") +
                              Named(L"", 0x40000000, 0x87654321) + Record(0, {}, 2) + Little(0, 5);
};

TEST_F(HeaderFileTest, IsSavedAsItWasLoadedOrNotAtAll) {
    const auto store = Load(bytes), empty = Load(Little(0));
    EXPECT_EQ(Saved(*empty), Little(0));
    EXPECT_EQ(Saved(*store), bytes);
    EXPECT_EQ(store->LoadHeaderFile(), KX::kResultInvalidArgument) << "it has objects";
    EXPECT_EQ(Saved(*store), bytes);
    EXPECT_NE(store->Map(0x00010001), MAP_FAILED) << "its file was missing, and is made and grown";
    EXPECT_TRUE(store->GetSize(0x00010001) == 5000 && store->MemFree(0x00010001) == 0);
    EXPECT_EQ(Saved(*store, KX::kResultInvalidArgument), bytes) << "with a gap in the list";
    for (std::size_t allowed = 0; allowed < 99; ++allowed, empty->Finalize()) {
        std::ofstream(header, std::ios::binary) << bytes;
        const CFailingAllocation failing(allowed, 0, 1);
        const KX::Result results[] = {empty->LoadHeaderFile(), empty->SaveHeaderFile()};
        for (const KX::Result result : results) EXPECT_TRUE(result == 0 || result == KX::kResultOutOfMemory) << allowed;
    }
    EXPECT_EQ(empty->LoadHeaderFile(), KX::kResultOpenFailed);
    const auto other = Load(bytes);
    fs::rename(header, "elsewhere");
    fs::create_symlink("../elsewhere", header);
    EXPECT_EQ(Saved(*other, KX::kResultOpenFailed), bytes) << "through a link";
    fs::remove(header);
    const CFullDisk full;
    EXPECT_EQ(other->SaveHeaderFile(), KX::kResultIoFailed);
}

TEST_F(HeaderFileTest, WhatCannotBeIsFoundOutAndHarmsNothing) {
    std::ofstream("store/kept") << "x";
    std::vector<std::pair<KX::Result, std::string>> cases = {
        {KX::kResultIoFailed, Record(0, L"kept", 1)},
        {KX::kResultFail, Little(0, 1) + Little(0xFFFFFFFF)},
        {KX::kResultIoFailed, Record(1, {}, 0) + Little(0xFFFFFFFF) + Little(0) + Little(1)}};
    const std::wstring names[] = {L"/a", L"a\\b", L".", L"..", std::wstring(L"a\0", 2), L"KX_.mmfheader"};
    for (const std::wstring& name : names) cases.emplace_back(KX::kResultMalformed, Named(name));
    const Blocks places = {{1024, 1}, {1023, 2}, {0, 0}, {2, 0xFFFFFFFF}, {7, 1}, {6, 2}};
    for (const auto& place : places) cases.emplace_back(KX::kResultMalformed, Shared({{7, 1}, place}, L"kept"));
    for (const auto& [result, damaged] : cases) {
        SCOPED_TRACE(testing::PrintToString(damaged.substr(0, 40)));
        const CFailingAllocation whatTheFileDoesNotHold(0, 0x4000001, 1);
        EXPECT_EQ(Load(Little(0xFFFFFFFF) + Named(L"first") + damaged, result)->GetSize(0x00010001), 1U);
        EXPECT_TRUE(!CFailingAllocation::HasFailed() && fs::exists("store/kept"));
    }
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        const bool isInName = length - 9 < 10 || length - bytes.find(std::string("b\0.\0t", 5)) < 10;
        Load(bytes.substr(0, length), isInName ? KX::kResultFail : KX::kResultIoFailed);
    }
    EXPECT_EQ(Load(Little(1) + Named(L"a", 0xFFFFFFFF))->Map(0x00010001), MAP_FAILED) << "its file has 1 byte";
    std::string flags = Little(1) + Shared({{0, 1}, {2, 1}}, {}, 7);
    flags.replace(flags.size() - 1024 + 1, 2, {5, 0});
    unsigned int handle = 0;
    EXPECT_TRUE(Load(flags)->MemAlloc(1, handle) && handle == 0x00010004) << "flags and blocks both take slots";
}

// Of damaged ones the fuzz target header_load makes use.
TEST_F(HeaderFileTest, RandomStoresComeBack) {
    const auto seed = std::random_device{}();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    const auto below = [&](unsigned long limit) { return std::uniform_int_distribution(0UL, limit - 1)(random); };
    for (int round = 0; round < 30; ++round) {
        CMmfManager store;
        store.SetDirectory(L"KX__", StoreFolder().c_str());
        std::vector<unsigned int> handles;
        for (int i = 0; i < 60; ++i) {
            const unsigned long size = below(9) == 0 ? 0x4000001 + below(99) : 1 + below(0x1000000);
            EXPECT_TRUE(store.MemAlloc(size, handles.emplace_back()));
        }
        for (const unsigned int handle : handles) {  // without gaps: the first block of an object stays
            EXPECT_TRUE((handle & 0xFFFF) == 1 || below(2) == 0 || store.MemFree(handle) == 0);
        }
        const std::string saved = Saved(store);
        const auto loaded = Load(saved);
        EXPECT_EQ(Saved(*loaded), saved);
        for (const unsigned int handle : handles) EXPECT_EQ(loaded->GetSize(handle), store.GetSize(handle));
        for (int i = 0; i < 40; ++i) {
            unsigned int ours = 0, theirs = 0;
            const unsigned long size = 1 + below(0x1000000);
            EXPECT_TRUE(store.MemAlloc(size, ours) && loaded->MemAlloc(size, theirs) && ours == theirs);
        }
    }
}

}  // namespace
