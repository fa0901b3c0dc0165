#include <fstream>
#include <functional>
#include <memory>
#include <numeric>
#include <vector>

#include "io/Buffer.h"
#include "io/FileIo.h"
#include "io/MemoryIoBuffer.h"
#include "mmf/IndependentMmfIo.h"
#include "support/FailingAllocation.h"
#include "support/StoresTest.h"

namespace {

using KX::CIoBuffer;
using KX::Result;
using CPrivateIo = KX::CIndependentMmfIo;

// A kind of buffer, and how it differs from the others.
struct Kind {
    const char* name;
    Result pastEnd;  // what a read past the end gives
    std::function<std::unique_ptr<CIoBuffer>()> make;
    std::function<Result(CIoBuffer&, unsigned long size)> prepare;  // for writing so many bytes
    std::function<Result(CIoBuffer&)> reread;                       // from the start, what was written

    bool IsFile() const { return pastEnd == KX::kResultIoFailed; }  // which grows
    bool IsBlock() const { return pastEnd == KX::kResultFail; }     // which does not count, and fails at its end
};

template <typename T>
std::unique_ptr<CIoBuffer> Make() {
    return std::make_unique<T>();
}

Result PrepareFile(CIoBuffer& buffer, unsigned long size) {
    return static_cast<KX::CFileIo&>(buffer).Save(L"file") | buffer.SetOutputInfo(size, size);
}

Result RereadFile(CIoBuffer& buffer) {
    auto& file = static_cast<KX::CFileIo&>(buffer);
    return file.Close() | file.Open(L"file");
}

Result PrepareMemory(CIoBuffer& buffer, unsigned long size) {
    return buffer.SetOutputInfo(size, 0);
}

Result RereadMemory(CIoBuffer& buffer) {
    auto& memory = static_cast<KX::CMemoryIoBuffer&>(buffer);
    return memory.CreateBuffer(memory.GetSize(), memory.GetMemory());
}

template <typename T>
Result PrepareBlock(CIoBuffer& buffer, unsigned long size) {
    std::ofstream("file") << "x";  // to be found by its name: blocks have none
    (void)static_cast<T&>(buffer).Initialize(L"KX__", L"private/");
    return static_cast<T&>(buffer).Create(size) | buffer.SetOutputInfo(size, size);
}

template <typename T>
Result RereadBlock(CIoBuffer& buffer) {
    return static_cast<T&>(buffer).Save() | buffer.SetOutputInfo(buffer.GetSize(), 0);
}

const Kind kKinds[] = {
    {"File", KX::kResultIoFailed, Make<KX::CFileIo>, PrepareFile, RereadFile},
    {"OwnMemory", KX::kResultOutOfBounds, Make<KX::CMemoryIoBuffer>, PrepareMemory, RereadMemory},
    {"GlobalBlock", KX::kResultFail, Make<CGlobalIo>, PrepareBlock<CGlobalIo>, RereadBlock<CGlobalIo>},
    {"PrivateBlock", KX::kResultFail, Make<CPrivateIo>, PrepareBlock<CPrivateIo>, RereadBlock<CPrivateIo>},
};

class IoBufferTest : public StoresTest, public testing::WithParamInterface<Kind> {
protected:
    void Write(const std::string& bytes) {
        ASSERT_EQ(kind.prepare(*buffer, bytes.size()), 0);
        ASSERT_EQ(buffer->WriteOut(bytes.data(), bytes.size(), nullptr), 0);
    }

    void ExpectRead(unsigned long count) {
        if (kind.IsBlock()) return;
        EXPECT_EQ(buffer->GetReadSize(), count);
        EXPECT_EQ(buffer->GetRemainingSize(), buffer->GetSize() - count);
    }

    const Kind& kind = GetParam();
    std::unique_ptr<CIoBuffer> buffer = kind.make();
    char byte = 0;
};

TEST_P(IoBufferTest, GivesBackWhatWasWrittenPieceByPiece) {
    const std::vector<unsigned long> pieces = {1, 7, 64, 4095, 4096, 0, 65535, 65536, 65537, 200000, 3};
    const std::string data = Pattern(std::reduce(pieces.begin(), pieces.end()));
    ASSERT_EQ(kind.prepare(*buffer, data.size()), 0);
    unsigned long at = 0;
    for (const unsigned long piece : pieces) {
        ASSERT_EQ(buffer->WriteOut(data.data() + at, piece, nullptr), 0) << piece;
        at += piece;
        EXPECT_EQ(buffer->GetWriteSize(), kind.IsBlock() ? 0 : at);
    }

    for (const std::size_t skipped : {0U, 1U}) {
        ASSERT_EQ(kind.reread(*buffer), 0);
        EXPECT_EQ(buffer->GetSize(), data.size());
        at = 0;
        for (std::size_t i = pieces.size(); i > 0; --i) {
            const unsigned long piece = pieces[i - 1];
            EXPECT_FALSE(buffer->IsBufferEnd());
            std::string read(piece + 1, '\xFF'), wanted = read;
            if (i % 2 == skipped) {
                ASSERT_EQ(buffer->Skip(piece), 0) << piece;
            } else {
                ASSERT_EQ(buffer->ReadIn(read.data(), piece, piece, nullptr), 0) << piece;
                wanted.replace(0, piece, data, at, piece);
            }
            EXPECT_EQ(read, wanted) << piece;
            at += piece;
            ExpectRead(at);
        }
        EXPECT_TRUE(buffer->IsBufferEnd());
    }
}

TEST_P(IoBufferTest, WhatWouldPassTheEndAndNullFailAndAreNotCounted) {
    Write(Pattern(100));
    EXPECT_EQ(buffer->WriteOut(nullptr, 1, nullptr), KX::kResultInvalidArgument);
    if (!kind.IsFile()) {
        EXPECT_EQ(buffer->WriteOut(&byte, 1, nullptr), kind.pastEnd);
        EXPECT_EQ(buffer->WriteOut(&byte, ~0UL - 99, nullptr), kind.pastEnd) << "a sum that wraps to 0";
    }
    EXPECT_EQ(buffer->GetWriteSize(), kind.IsBlock() ? 0 : 100);

    ASSERT_EQ(kind.reread(*buffer), 0);
    EXPECT_EQ(buffer->ReadIn(nullptr, 1, 1, nullptr), KX::kResultInvalidArgument);
    ASSERT_EQ(buffer->Skip(60), 0);
    EXPECT_EQ(buffer->Skip(~0UL - 59), kind.pastEnd) << "a sum that wraps to 0";
    std::string read(41, '\0');
    EXPECT_EQ(buffer->ReadIn(read.data(), 41, 41, nullptr), kind.pastEnd);
    EXPECT_EQ(buffer->IsBufferEnd(), kind.IsBlock());
    ExpectRead(60);
}

TEST_P(IoBufferTest, OneThatHoldsNothingFailsTidily) {
    EXPECT_LT(buffer->ReadIn(&byte, 1, 1, nullptr), 0);
    EXPECT_LT(buffer->WriteOut(&byte, 1, nullptr), 0);
    EXPECT_LT(buffer->Skip(1), 0);
    EXPECT_TRUE(buffer->IsBufferEnd());
    ExpectRead(0);
    std::wstring directory = L"before";
    EXPECT_TRUE(buffer->GetSearchDirectory(directory) == 0 && directory.empty());
    EXPECT_FALSE(buffer->CheckFileExist(L"file"));
    Write(Pattern(1));
    EXPECT_TRUE(buffer->CheckFileExist(L"file"));
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, IoBufferTest, testing::ValuesIn(kKinds),
                         [](const auto& info) { return std::string(info.param.name); });

std::string TextOf(const unsigned char* bytes, std::size_t size) {
    return {reinterpret_cast<const char*>(bytes), size};
}

TEST(MemoryIoBufferTest, NewMemoryIsZeroAndReadFromItsStartButWrittenFromWhereItWas) {
    KX::CMemoryIoBuffer buffer(L"folder");
    std::wstring directory;
    EXPECT_TRUE(buffer.GetSearchDirectory(directory) == 0 && directory == L"folder");

    ASSERT_EQ(buffer.CreateBuffer(8) | buffer.WriteOut("abcde", 5, nullptr) | buffer.Skip(2), 0);
    unsigned char* const earlier = buffer.GetMemory();
    ASSERT_EQ(buffer.SetOutputInfo(6, 99), 0);
    EXPECT_EQ(TextOf(earlier, 8), std::string("abcde\0\0\0", 8));
    EXPECT_EQ(TextOf(buffer.GetMemory(), 6), std::string(6, '\0'));
    char read[6];
    EXPECT_EQ(buffer.ReadIn(read, 5, 6, nullptr), KX::kResultInvalidArgument) << "the destination is too small";
    EXPECT_EQ(buffer.ReadIn(read, 6, 5, nullptr), 0);
    EXPECT_EQ(buffer.WriteOut("xy", 2, nullptr), KX::kResultOutOfBounds);
    EXPECT_EQ(buffer.WriteOut("x", 1, nullptr), 0);
    EXPECT_EQ(buffer.GetMemory()[5], 'x');

    ASSERT_EQ(buffer.CreateBuffer(3, earlier), 0);
    EXPECT_EQ(buffer.WriteOut("", 0, nullptr), KX::kResultOutOfBounds) << "the write position is past the end";
}

TEST(MemoryIoBufferTest, WithoutMemoryThereIsOnlyTheSize) {
    KX::CMemoryIoBuffer buffer;
    ASSERT_EQ(buffer.CreateBuffer(10, nullptr), 0);
    char byte = 0;
    EXPECT_EQ(buffer.ReadIn(&byte, 1, 1, nullptr), KX::kResultInvalidArgument);
    EXPECT_EQ(buffer.WriteOut(&byte, 1, nullptr), KX::kResultInvalidArgument);
    EXPECT_EQ(buffer.ReadIn(&byte, 0, 0, nullptr) | buffer.Skip(10), 0);

#if defined(KXMMF_MALLOC_IS_WRAPPED)
    for (const std::size_t allowed : {0U, 1U}) {
        ASSERT_EQ(buffer.CreateBuffer(10), 0);
        const CFailingAllocation refusal(allowed);
        EXPECT_EQ(buffer.CreateBuffer(20), KX::kResultOutOfMemory);
        EXPECT_FALSE(buffer.CheckFileExist({}));
        EXPECT_EQ(buffer.ReadIn(&byte, 1, 1, nullptr), KX::kResultInvalidArgument);
    }
#endif
}

TEST(BufferTest, TakesCopiesOrZerosAndKeepsAnArrayOfTheSameLength) {
    KX::CBuffer<char> buffer;
    const auto text = [&] { return std::string(buffer.GetBuffer(), buffer.GetCount()); };
    const auto isEmpty = [&] { return buffer.GetCount() == 0 && buffer.GetBuffer() == nullptr; };
    EXPECT_TRUE(buffer.CreateBuffer(0, "abc") == KX::kResultNothingDone && isEmpty());
    ASSERT_EQ(buffer.CreateBuffer(3, nullptr), 0);
    EXPECT_EQ(text(), std::string(3, '\0'));
    const char* const array = buffer.GetBuffer();
    ASSERT_EQ(buffer.CreateBuffer(3, "abc"), 0);
    EXPECT_EQ(buffer.CreateBuffer(0, nullptr), KX::kResultNothingDone);
    EXPECT_TRUE(buffer.GetBuffer() == array && text() == "abc");
    ASSERT_EQ(buffer.CreateBuffer(2, "de"), 0);
    EXPECT_EQ(text(), "de");

    {
        const CFailingAllocation refusal(0);
        EXPECT_THROW(buffer.CreateBuffer(4, nullptr), std::bad_alloc);
    }
    EXPECT_TRUE(isEmpty());
    ASSERT_EQ(buffer.CreateBuffer(1, nullptr), 0);
    buffer.DestroyBuffer();
    EXPECT_TRUE(isEmpty());
}

}  // namespace
