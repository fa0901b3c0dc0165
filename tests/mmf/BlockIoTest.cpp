#include "mmf/IndependentMmfIo.h"
#include "support/StoresTest.h"

namespace {

constexpr unsigned long kSlot = 0x10000, kWindow = 0x1000000;
constexpr unsigned long kLarge = 0x4000001;  // in a file of its own, not in a heap buffer

template <typename T>
class BlockIoTest : public StoresTest {
protected:
    BlockIoTest() { EXPECT_EQ(io.Initialize(L"KX__", L"private/") | other.Initialize(io), 0); }

    void CreateAndWrite(unsigned long size) {
        io.Remove();
        io.Reset();
        EXPECT_EQ(io.Create(size) | io.SetOutputInfo(size, 0) | io.WriteOut("\1", 1, nullptr), 0);
    }

    int Find(unsigned long offset) {
        unsigned char found = 0;
        T reader;
        EXPECT_EQ(reader.Initialize(io) | reader.Open(io.GetHandle()) | reader.Skip(offset), 0);
        EXPECT_EQ(reader.ReadIn(&found, 1, 1, nullptr), 0);
        return found;
    }

    void ExpectNoView() {
        EXPECT_EQ(io.WriteOut("x", 1, nullptr), KX::kResultInvalidArgument);
        EXPECT_EQ(BytesOf("/proc/self/maps").find(".tmp"), std::string::npos);
    }

    static constexpr bool isGlobal = std::is_same_v<T, CGlobalIo>;
    T io, other;
};

using Buffers = testing::Types<CGlobalIo, KX::CIndependentMmfIo>;
TYPED_TEST_SUITE(BlockIoTest, Buffers, );

TYPED_TEST(BlockIoTest, BlocksWithRoomStayOthersAreReplacedByOnesOfThatSizeAlone) {
    auto& io = this->io;
    EXPECT_TRUE(io.Create(0) == KX::kResultOutOfMemory && io.Open(0) == KX::kResultInvalidArgument);
    this->CreateAndWrite(kSlot);
    EXPECT_EQ(io.Create(kSlot), KX::kResultNothingDone);
    EXPECT_EQ(io.Skip(kSlot), this->isGlobal ? KX::kResultFail : 0) << "one keeps its position";
    io.Reset();
    EXPECT_EQ(io.Skip(kSlot - 10) | io.SetOutputInfo(10, 0), 0);
    EXPECT_EQ(this->Find(0), 1);
    EXPECT_EQ(io.Create(2 * kSlot), 0);
    io.Reset();
    EXPECT_EQ(io.Skip(2 * kSlot - 10) | io.SetOutputInfo(11, 0), 0);
    io.Reset();
    EXPECT_EQ(io.WriteOut(std::string(kSlot + 1, 'x').data(), kSlot + 1, nullptr), KX::kResultFail)
        << "more than the block, less than the data";
    EXPECT_TRUE(io.IsBufferEnd());
    io.Reset();
    EXPECT_EQ(io.WriteOut(std::string(kSlot, 'x').data(), kSlot, nullptr), 0);
}

TYPED_TEST(BlockIoTest, PiecesMeetWhereWindowsDo) {
    auto& io = this->io;
    const std::string data = Pattern(2 * kWindow + 20);
    std::string read = data;
    this->CreateAndWrite(kLarge);
    EXPECT_EQ(io.Skip(kWindow - 7) | io.WriteOut(data.data(), data.size(), nullptr), 0);
    for (const unsigned long at : {0UL, 5UL, 6UL, kWindow + 5, kWindow + 6, 2 * kWindow + 6}) {
        EXPECT_EQ(static_cast<char>(this->Find(kWindow - 6 + at)), data[at]) << at;
    }
    io.Reset();
    EXPECT_EQ(io.Skip(kWindow - 6) | io.ReadIn(read.data(), 0, read.size(), nullptr) | io.Save(), 0);
    EXPECT_TRUE(read == data);  // too long to be printed
    this->ExpectNoView();
    EXPECT_EQ(io.Close(), this->isGlobal ? 0 : KX::kResultNothingDone);
}

TYPED_TEST(BlockIoTest, AnOpenViewGoesToTheBlockThatIsHeldNow) {
    auto& io = this->io;
    for (const unsigned long size : {kSlot, kLarge}) {
        this->CreateAndWrite(size);
        io.Remove();
        this->ExpectNoView();
        EXPECT_GE(this->other.Create(kSlot), 0) << "where the block was";
        for (const unsigned long times : {1UL, 2UL, 3UL}) {
            if (times > 1) this->CreateAndWrite(size);
            EXPECT_EQ(times == 3 ? io.SetOutputInfo(times * size, 0) : io.Create(times * size), 0);
            io.Reset();
            EXPECT_EQ(io.WriteOut("x", 1, nullptr), 0);
            EXPECT_EQ(this->Find(0), 'x');
        }
        this->CreateAndWrite(size);
        TypeParam thief;
        EXPECT_EQ(thief.Initialize(io) | thief.Open(io.GetHandle()), 0);
        thief.Remove();
        EXPECT_TRUE(thief.Create(size) == 0 && thief.GetHandle() == io.GetHandle());
        this->ExpectNoView();  // of the new block with that handle
        EXPECT_NE(this->Find(0), 'x');
        EXPECT_TRUE(io.Create(kSlot) == 0 && thief.GetHandle() != io.GetHandle()) << "it is another's";
        io.Reset();
        EXPECT_EQ(io.WriteOut("x", 1, nullptr), 0);
        EXPECT_EQ(thief.SetOutputInfo(size, 0), 0);
        thief.Remove();
    }
}

TEST_F(StoresTest, AGlobalBufferHasANameAPrivateOneAStore) {
    CGlobalIo named;
    EXPECT_STREQ(named.SetFile(named.SetFile(L"/a/b/c.txt") + 2), L"/b/c.txt") << "of its own text";
    KX::CIndependentMmfIo io, none;
    for (const KX::Result result : {io.Create(1), io.Open(1), io.SetOutputInfo(1, 1), io.SaveHeaderFile(),
                                    io.LoadHeaderFile(), io.Initialize(none), io.ReadIn(nullptr, 0, 0, nullptr)}) {
        EXPECT_EQ(result, KX::kResultInvalidArgument);
    }
    EXPECT_EQ(io.Initialize(L"KX__", L"missing/private/") | io.SaveHeaderFile() | io.LoadHeaderFile(), 0);
    EXPECT_EQ(io.Create(kLarge) | io.SetOutputInfo(1, 1) | io.WriteOut("x", 1, nullptr), KX::kResultIoFailed);

    unsigned int handle = 77, second = 77;
    KX::CPointer<KX::CIndependentMmf> store = new KX::CIndependentMmf;
    EXPECT_FALSE(store->MemAlloc(1, handle) || store->SetDirectory(nullptr, nullptr, 1) || store->Map(1) != nullptr);
    EXPECT_TRUE(store->Initialize() == 0 && store->Initialize() == KX::kResultInvalidArgument);
    EXPECT_FALSE(store->SetDirectory(L"KX__", L"store/", 1) || store->MemAlloc(0, handle) || handle != 77);
    EXPECT_TRUE(store->MemAlloc(kLarge, handle)) << "no limit came with the folder";
    EXPECT_TRUE(store->SetDirectory(L"KX__", L"", 1) && !store->MemAlloc(2, second)) << "but without one";
    static_cast<char*>(store->Map(handle))[kWindow] = 5;
    EXPECT_EQ(*KX::CIndependentSmartMap(handle, kSlot, store.Get()).GetMapAddress(nullptr, kWindow), 5);
}

}  // namespace
