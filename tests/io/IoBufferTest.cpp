#include <algorithm>
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

using Bytes = std::vector<unsigned char>;

// Every byte tells its place: the period is a prime.
Bytes Pattern(unsigned long size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i % 251);
    return bytes;
}

// A kind of buffer, and how it differs from the others.
struct Kind {
    const char* name;
    Result pastEnd;        // what a read past the end gives
    bool isBounded;        // whether skips and writes fail where the size ends
    bool countsRemaining;  // whether it tells what is left to read
    bool countsWritten;
    bool endsWhereItFails;  // whether a read past the end moves it there
    std::function<std::unique_ptr<CIoBuffer>()> make;
    std::function<Result(CIoBuffer&, unsigned long size)> prepare;  // for writing so many bytes
    std::function<Result(CIoBuffer&)> reread;                       // from the start, what was written
};

template <typename T>
std::unique_ptr<CIoBuffer> Make() {
    return std::make_unique<T>();
}

Result PrepareFile(CIoBuffer& buffer, unsigned long size) {
    const Result made = static_cast<KX::CFileIo&>(buffer).Save(L"file");
    return KX::Failed(made) ? made : buffer.SetOutputInfo(size, size);
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
    {"File", KX::kResultIoFailed, false, true, true, false, Make<KX::CFileIo>, PrepareFile, RereadFile},
    {"OwnMemory", KX::kResultOutOfBounds, true, true, true, false, Make<KX::CMemoryIoBuffer>, PrepareMemory,
     RereadMemory},
    {"GlobalBlock", KX::kResultFail, true, false, false, true, Make<CGlobalIo>, PrepareBlock<CGlobalIo>,
     RereadBlock<CGlobalIo>},
    {"PrivateBlock", KX::kResultFail, true, false, false, true, Make<CPrivateIo>, PrepareBlock<CPrivateIo>,
     RereadBlock<CPrivateIo>},
};

class IoBufferTest : public StoresTest, public testing::WithParamInterface<Kind> {
protected:
    void Write(const Bytes& bytes) {
        ASSERT_EQ(GetParam().prepare(*buffer, bytes.size()), 0);
        ASSERT_EQ(buffer->WriteOut(bytes.data(), bytes.size(), nullptr), 0);
    }

    void ExpectRead(unsigned long count) {
        if (!GetParam().countsRemaining) return;
        EXPECT_EQ(buffer->GetReadSize(), count);
        EXPECT_EQ(buffer->GetRemainingSize(), buffer->GetSize() - count);
    }

    std::unique_ptr<CIoBuffer> buffer = GetParam().make();
};

TEST_P(IoBufferTest, GivesBackWhatWasWrittenPieceByPiece) {
    const std::vector<unsigned long> pieces = {1, 7, 64, 4095, 4096, 0, 65535, 65536, 65537, 200000, 3};
    const Bytes data = Pattern(std::reduce(pieces.begin(), pieces.end()));
    ASSERT_EQ(GetParam().prepare(*buffer, data.size()), 0);
    unsigned long at = 0;
    for (const unsigned long piece : pieces) {
        ASSERT_EQ(buffer->WriteOut(data.data() + at, piece, nullptr), 0) << piece;
        at += piece;
        EXPECT_EQ(buffer->GetWriteSize(), GetParam().countsWritten ? at : 0);
    }

    for (const std::size_t skipped : {0U, 1U}) {
        ASSERT_EQ(GetParam().reread(*buffer), 0);
        EXPECT_EQ(buffer->GetSize(), data.size());
        at = 0;
        for (std::size_t i = pieces.size(); i > 0; --i) {
            const unsigned long piece = pieces[i - 1];
            EXPECT_FALSE(buffer->IsBufferEnd());
            Bytes read(piece + 1, 0xFF);
            Bytes wanted(data.begin() + static_cast<long>(at), data.begin() + static_cast<long>(at + piece));
            if (i % 2 == skipped) {
                ASSERT_EQ(buffer->Skip(piece), 0) << piece;
                wanted.assign(piece, 0xFF);
            } else {
                ASSERT_EQ(buffer->ReadIn(read.data(), piece, piece, nullptr), 0) << piece;
            }
            wanted.push_back(0xFF);
            EXPECT_EQ(read, wanted) << piece;
            at += piece;
            ExpectRead(at);
        }
        EXPECT_TRUE(buffer->IsBufferEnd());
    }
}

TEST_P(IoBufferTest, WhatWouldPassTheEndAndNullFailAndAreNotCounted) {
    Write(Pattern(100));
    unsigned char byte = 0;
    EXPECT_EQ(buffer->WriteOut(nullptr, 1, nullptr), KX::kResultInvalidArgument);
    if (GetParam().isBounded) {
        EXPECT_EQ(buffer->WriteOut(&byte, 1, nullptr), GetParam().pastEnd);
        EXPECT_EQ(buffer->WriteOut(&byte, ~0UL - 99, nullptr), GetParam().pastEnd) << "a sum that wraps to 0";
    }
    EXPECT_EQ(buffer->GetWriteSize(), GetParam().countsWritten ? 100 : 0);

    ASSERT_EQ(GetParam().reread(*buffer), 0);
    EXPECT_EQ(buffer->ReadIn(nullptr, 1, 1, nullptr), KX::kResultInvalidArgument);
    ASSERT_EQ(buffer->Skip(60), 0);
    EXPECT_EQ(buffer->Skip(~0UL - 59), GetParam().pastEnd) << "a sum that wraps to 0";
    Bytes read(41);
    EXPECT_EQ(buffer->ReadIn(read.data(), 41, 41, nullptr), GetParam().pastEnd);
    EXPECT_EQ(buffer->IsBufferEnd(), GetParam().endsWhereItFails);
    ExpectRead(60);
}

TEST_P(IoBufferTest, OneThatHoldsNothingFailsTidily) {
    unsigned char byte = 0;
    EXPECT_LT(buffer->ReadIn(&byte, 1, 1, nullptr), 0);
    EXPECT_LT(buffer->WriteOut(&byte, 1, nullptr), 0);
    EXPECT_LT(buffer->Skip(1), 0);
    EXPECT_TRUE(buffer->IsBufferEnd());
    ExpectRead(0);
    std::wstring directory = L"before";
    EXPECT_EQ(buffer->GetSearchDirectory(directory), 0);
    EXPECT_EQ(directory, L"");
    EXPECT_FALSE(buffer->CheckFileExist(L"file"));
    Write(Pattern(1));
    EXPECT_TRUE(buffer->CheckFileExist(L"file"));
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, IoBufferTest, testing::ValuesIn(kKinds),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(MemoryIoBufferTest, NewMemoryIsZeroAndReadFromItsStartButWrittenFromWhereItWas) {
    KX::CMemoryIoBuffer buffer(L"folder");
    std::wstring directory;
    EXPECT_EQ(buffer.GetSearchDirectory(directory), 0);
    EXPECT_EQ(directory, L"folder");

    ASSERT_EQ(buffer.CreateBuffer(8), 0);
    ASSERT_EQ(buffer.WriteOut("abcde", 5, nullptr), 0);
    ASSERT_EQ(buffer.Skip(2), 0);
    unsigned char* const earlier = buffer.GetMemory();
    ASSERT_EQ(buffer.SetOutputInfo(6, 99), 0);
    EXPECT_EQ(Bytes(earlier, earlier + 8), (Bytes{'a', 'b', 'c', 'd', 'e', 0, 0, 0}));
    EXPECT_EQ(Bytes(buffer.GetMemory(), buffer.GetMemory() + 6), Bytes(6));
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
    EXPECT_EQ(buffer.ReadIn(&byte, 0, 0, nullptr), 0);
    EXPECT_EQ(buffer.Skip(10), 0);

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
    const Bytes data = Pattern(10);
    KX::CBuffer<unsigned char> buffer;
    EXPECT_EQ(buffer.CreateBuffer(0, data.data()), KX::kResultNothingDone);
    EXPECT_EQ(buffer.GetBuffer(), nullptr);
    ASSERT_EQ(buffer.CreateBuffer(10, nullptr), 0);
    const unsigned char* const array = buffer.GetBuffer();
    EXPECT_EQ(Bytes(array, array + 10), Bytes(10));
    ASSERT_EQ(buffer.CreateBuffer(10, data.data()), 0);
    EXPECT_EQ(buffer.GetBuffer(), array);
    EXPECT_EQ(buffer.CreateBuffer(0, nullptr), KX::kResultNothingDone);
    EXPECT_EQ(Bytes(array, array + buffer.GetCount()), data);
    ASSERT_EQ(buffer.CreateBuffer(3, data.data() + 1), 0);
    EXPECT_EQ(Bytes(buffer.GetBuffer(), buffer.GetBuffer() + buffer.GetCount()), (Bytes{1, 2, 3}));

    {
        const CFailingAllocation refusal(0);
        EXPECT_THROW(buffer.CreateBuffer(4, nullptr), std::bad_alloc);
    }
    EXPECT_EQ(buffer.GetCount(), 0U);
    EXPECT_EQ(buffer.GetBuffer(), nullptr);
    ASSERT_EQ(buffer.CreateBuffer(1, nullptr), 0);
    buffer.DestroyBuffer();
    EXPECT_EQ(buffer.GetCount(), 0U);
    EXPECT_EQ(buffer.GetBuffer(), nullptr);
}

}  // namespace
