#include "io/Md5.h"

#include <string>
#include <utility>

#include "support/TempFolder.h"

namespace {

void Update(MD5& md5, const std::string& bytes) {
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
    {0, "23abf96228b1b83b75cd791222422c50"},    {55, "005e5f6eb8bd6072ff8b12a0166f9abe"},
    {56, "20c3589a58bf2f937e667488f067c855"},   {57, "421fef0c1e889df53238727cf9d207ef"},
    {64, "6709f58d773955b6a6364f83fb31c17e"},   {120, "16d74a44d4a6a67ec3459cdfe54803ae"},
    {1000, "84fed518dfd2d1525c3a5b10fbe48019"},
};
const char* const kFinalizedTwice = "aad5a2a0f2f82ab850de94f6e153f299";

TEST(Md5Test, DigestsTheVectorsAlsoAfterAnotherMessage) {
    MD5 md5;
    for (const Vector& vector : kVectors) {
        Update(md5, "abc");
        md5.Init();
        Update(md5, Pattern(vector.length));
        EXPECT_EQ(md5.GettotalInputBits(), 8 * vector.length);
        EXPECT_EQ(Digest(md5), vector.digest) << vector.length;
        EXPECT_EQ(Digest(md5), vector.digest) << "finalized again";
        EXPECT_EQ(md5.GettotalInputBits(), 8 * vector.length + 64);
    }
    MD5 twice;
    Update(twice, Pattern(3));
    twice.Finalize();
    Update(twice, Pattern(3));
    EXPECT_EQ(Digest(twice), kFinalizedTwice) << "goes on after the end";
}

TEST(Md5Test, AnySplitGivesTheSameDigest) {
    const std::string message = Pattern(1000);
    for (std::size_t piece = 1; piece <= 130; ++piece) {
        MD5 md5;
        for (std::size_t at = 0; at < message.size(); at += piece) Update(md5, message.substr(at, piece));
        ASSERT_EQ(Digest(md5), kVectors[std::size(kVectors) - 1].digest) << "pieces of " << piece;
    }
}

TEST(Md5Test, CountsBitsIn32BitsAndTouchesNoBytesThatAreNotThere) {
    for (const auto& [length, bits] : {std::pair{0x0FFFFFFF, 0x7FFFFFF8UL},
                                       {0x10000000, 0xFFFFFFFF80000000},
                                       {0x20000001, 8UL},
                                       {-1, 0xFFFFFFFFFFFFFFF8}}) {
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

TEST(Md5Test, WordsAreMadeOfWholeFoursAlone) {
    const unsigned char bytes[] = {1, 2, 3, 4, 5, 6, 7};
    unsigned int words[] = {0, 0};
    MD5::UcharToUint(words, bytes, 7);
    EXPECT_EQ(words[0], 0x04030201U);
    EXPECT_EQ(words[1], 0U) << "of three bytes";
}

}  // namespace
