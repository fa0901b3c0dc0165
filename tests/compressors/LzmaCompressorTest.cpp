#include "LzmaCompressor.h"

#include <gtest/gtest.h>
#include <lzma.h>

#include <memory>
#include <random>
#include <vector>

#include "io/LittleEndian.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

struct SProgress : KX::CProgress {
    void Report(float fraction) override { last = fraction; }
    void Finish() override { ADD_FAILURE() << "belongs to the stream"; }
    float last = 0;
};

Bytes Compress(const Bytes& source, KX::CProgress* progress = nullptr) {
    std::uint8_t* target = nullptr;
    std::uint32_t size = 0;
    KX::CLzmaCompressor().Compress(source.data(), static_cast<std::uint32_t>(source.size()), target, size, progress,
                                   L"");
    const std::unique_ptr<std::uint8_t[]> owned(target);
    return {target, target + size};
}

// As a stream does it.
KX::Result Decompress(Bytes packed, Bytes& target, KX::CProgress* progress = nullptr) {
    const auto packedSize = static_cast<std::uint32_t>(packed.size());
    packed.resize(packed.size() + KX::CLzmaInterFace::kSourcePadding);
    std::uint32_t size = 0;
    if (KX::CLzmaCompressor().GetUncompressedSize(packed.data(), size) != KX::kResultOk) return KX::kResultMalformed;
    target = Bytes(size);
    return KX::CLzmaCompressor().Decompress(packed.data(), packedSize, target.data(), size, progress);
}

Bytes Noise(std::size_t size) {
    std::mt19937 random(1);
    Bytes bytes(size);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    return bytes;
}

TEST(LzmaCompressorTest, EverySizeComesBack) {
    for (const std::size_t size : {0U, 1U, 4096U, 65536U, (1U << 20) - 1, (1U << 20) + 1, 8U << 20}) {
        for (const Bytes& source : {Bytes(size), Noise(size)}) {
            SProgress packing, unpacking;
            Bytes target;
            EXPECT_EQ(Decompress(Compress(source, &packing), target, &unpacking), KX::kResultOk) << size;
            EXPECT_TRUE(target == source && packing.last + unpacking.last == (size == 0 ? 1.0F : 2.0F)) << size;
        }
    }
}

TEST(LzmaCompressorTest, BrokenBytesAreRefused) {
    Bytes source = Noise(300);
    source.resize(1500);  // with something to compress
    const Bytes packed = Compress(source);
    std::vector<Bytes> broken;
    for (std::size_t size = 0; size <= packed.size() + 1; ++size) {
        if (size != packed.size()) (broken.emplace_back(packed)).resize(size);
    }
    for (const std::size_t claimed : {0U, 1499U, 1501U}) {  // lies in a head that is sound
        (broken.emplace_back(Compress(Bytes(claimed)))).resize(8);
        broken.back().insert(broken.back().end(), packed.begin() + 8, packed.end());
    }
    std::uint8_t* const block = broken.emplace_back(packed).data() + 8 + LZMA_STREAM_HEADER_SIZE;
    block[4] = 40;  // asks for a window of 4 GiB
    const std::size_t checked = std::size_t{4} * block[0];
    KX::StoreLittleEndian(block + checked, lzma_crc32(block, checked, 0));
    Bytes target;
    for (const Bytes& bytes : broken) EXPECT_EQ(Decompress(bytes, target), KX::kResultMalformed) << bytes.size();

    for (std::size_t bit = 0; bit < packed.size() * 8; ++bit) {
        Bytes damaged = packed;
        target.clear();
        damaged[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);  // a few bits of the coder mean nothing
        EXPECT_TRUE(Decompress(damaged, target) == KX::kResultMalformed || target == source) << bit;
        EXPECT_TRUE(bit >= 64 || target.empty()) << bit;  // no memory for a damaged size
    }
}

}  // namespace
