#include "io/Md5.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

std::vector<unsigned char> Message(std::size_t length) {
    std::vector<unsigned char> bytes(length);
    for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<unsigned char>(i % 251);
    return bytes;
}

void Update(MD5& md5, const std::vector<unsigned char>& bytes) {
    md5.UpdateMd5(bytes.data(), static_cast<int>(bytes.size()));
}

std::string Digest(MD5& md5) {
    md5.Finalize();
    return md5.GetMd5();
}

struct Vector {
    std::size_t length;
    const char* digest;
};
// From md5_vectors.py.
const Vector kVectors[] = {
    {0, "23abf96228b1b83b75cd791222422c50"},    {1, "0317adec8b2ee2eb6d11d651546afad8"},
    {55, "005e5f6eb8bd6072ff8b12a0166f9abe"},   {56, "20c3589a58bf2f937e667488f067c855"},
    {57, "421fef0c1e889df53238727cf9d207ef"},   {63, "1fa0072790a5fca9d627ef553acf299c"},
    {64, "6709f58d773955b6a6364f83fb31c17e"},   {119, "6f256a015f66f8f0a59672c94ddd4206"},
    {120, "16d74a44d4a6a67ec3459cdfe54803ae"},  {121, "3ba114985e1cd9046c1d30cd8bd18279"},
    {1000, "84fed518dfd2d1525c3a5b10fbe48019"},
};
const char* const kFinalizedTwice = "aad5a2a0f2f82ab850de94f6e153f299";

TEST(Md5Test, DigestsTheVectors) {
    MD5 again;
    for (const Vector& vector : kVectors) {
        MD5 md5;
        Update(md5, Message(vector.length));
        EXPECT_EQ(md5.GettotalInputBits(), 8 * vector.length);
        EXPECT_EQ(Digest(md5), vector.digest) << vector.length;
        EXPECT_EQ(Digest(md5), vector.digest) << "finalized again";
        EXPECT_EQ(md5.GettotalInputBits(), 8 * vector.length + 64);

        Update(again, Message(3));
        again.Init();
        Update(again, Message(vector.length));
        EXPECT_EQ(Digest(again), vector.digest) << "after another message";
    }
}

TEST(Md5Test, AnySplitGivesTheSameDigest) {
    const std::vector<unsigned char> message = Message(1000);
    for (int piece = 1; piece <= 130; ++piece) {
        MD5 md5;
        for (int at = 0; at < 1000; at += piece) {
            md5.UpdateMd5(reinterpret_cast<const char*>(message.data()) + at, std::min(piece, 1000 - at));
        }
        ASSERT_EQ(Digest(md5), kVectors[std::size(kVectors) - 1].digest) << "pieces of " << piece;
    }
}

TEST(Md5Test, AnUpdateAfterTheEndGoesOn) {
    MD5 md5;
    Update(md5, Message(3));
    md5.Finalize();
    Update(md5, Message(3));
    EXPECT_EQ(Digest(md5), kFinalizedTwice);
}

TEST(Md5Test, CountsBitsIn32BitsAndTouchesNoBytesThatAreNotThere) {
    struct Case {
        int length;
        std::uint64_t bits;
    };
    for (const auto& [length, bits] : {Case{0x0FFFFFFF, 0x7FFFFFF8}, Case{0x10000000, 0xFFFFFFFF80000000},
                                       Case{0x20000001, 8}, Case{-1, 0xFFFFFFFFFFFFFFF8}}) {
        MD5 md5;
        md5.UpdateMd5(length > 0 ? nullptr : "x", length);
        EXPECT_EQ(md5.GettotalInputBits(), bits) << length;
    }
}

TEST(Md5Test, PrintsTheDigestOnceThereIsOne) {
    MD5 md5;
    testing::internal::CaptureStdout();
    md5.printMd5();
    md5.Finalize();
    md5.printMd5();
    md5.UpdateMd5("", 0);
    md5.printMd5();
    const std::string none = "Error: computation is not finished\n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), none + "MD5 Value: " + kVectors[0].digest + "\n" + none);
}

TEST(Md5Test, GivesItsStepsOneByOne) {
    const std::vector<unsigned char> block = Message(64);
    MD5 whole, step;
    Update(whole, block);
    whole.LinkResult();
    step.FourRound(block.data());
    step.LinkResult();
    EXPECT_STREQ(step.GetMd5(), whole.GetMd5());

    unsigned int words[] = {0, 0};
    MD5::UcharToUint(words, block.data() + 1, 7);
    EXPECT_EQ(words[0], 0x04030201U);
    EXPECT_EQ(words[1], 0U) << "of three bytes";
}

}  // namespace
