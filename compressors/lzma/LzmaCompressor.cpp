#include "LzmaCompressor.h"

#include <lzma.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <new>

#include "io/LittleEndian.h"
#include "stream/ContainerFormat.h"

namespace KX {

namespace {

constexpr std::size_t kSizeBytes = 4;
constexpr std::size_t kHeadSize = kSizeBytes + 4;
static_assert(kHeadSize <= CLzmaInterFace::kSourcePadding);

// Between two reports: small enough for a smooth bar, large enough to cost nothing.
constexpr std::size_t kPiece = 256U << 10;

constexpr std::uint32_t kMaxLevel = 9;

struct SCoder {
    SCoder() = default;
    ~SCoder() { lzma_end(&stream); }
    SCoder(const SCoder&) = delete;
    SCoder& operator=(const SCoder&) = delete;

    lzma_stream stream = LZMA_STREAM_INIT;
};

// Runs to the end of the input; LZMA_STREAM_END is the one success. Also ends where the output is full: the coder then
// says LZMA_BUF_ERROR, for it got nowhere.
lzma_ret Run(lzma_stream& stream, const std::uint8_t* source, std::size_t size, CProgress* progress) {
    stream.next_in = source;
    std::size_t left = size;
    lzma_ret state = LZMA_OK;
    while (state == LZMA_OK) {
        if (stream.avail_in == 0) {
            stream.avail_in = std::min(left, kPiece);
            left -= stream.avail_in;
        }
        state = lzma_code(&stream, left == 0 ? LZMA_FINISH : LZMA_RUN);
        if (progress != nullptr && size != 0) {
            progress->Report(static_cast<float>(stream.total_in) / static_cast<float>(size));
        }
    }
    return state;
}

Result StartEncoder(lzma_stream& stream, std::uint32_t level, std::uint32_t sourceSize) {
    lzma_options_lzma options;
    if (level > kMaxLevel || lzma_lzma_preset(&options, level) != 0) return kResultInvalidArgument;
    // A window beyond the data would only cost memory, here and when it is unpacked.
    options.dict_size = std::clamp<std::uint32_t>(sourceSize, LZMA_DICT_SIZE_MIN, options.dict_size);

    const lzma_filter filters[] = {{LZMA_FILTER_LZMA2, &options}, {LZMA_VLI_UNKNOWN, nullptr}};
    switch (lzma_stream_encoder(&stream, filters, LZMA_CHECK_CRC64)) {
        case LZMA_OK:
            return kResultOk;
        case LZMA_MEM_ERROR:
            return kResultOutOfMemory;
        default:
            return kResultNotSupported;  // a liblzma that was built without encoder or check
    }
}

// Room for data that cannot be compressed. liblzma's bound is that of its one-call encoder, which begins anew without
// compression when the data grow; the encoder by pieces makes somewhat smaller chunks, with a head of 3 bytes for each
// 60 KiB or so.
std::size_t TargetCapacity(std::uint32_t sourceSize) {
    const std::size_t bound = kHeadSize + lzma_stream_buffer_bound(sourceSize) + sourceSize / 4096;
    return std::min<std::size_t>(bound, Container::kMaxCompressedSize);
}

}  // namespace

Result CLzmaCompressor::Compress(const std::uint8_t* source, std::uint32_t sourceSize, std::uint8_t*& target,
                                 std::uint32_t& targetSize, CProgress* progress, const wchar_t* /*name*/) {
    target = nullptr;
    targetSize = 0;
    compressResult = CompressInto(source, sourceSize, target, targetSize, progress);
    return compressResult;
}

Result CLzmaCompressor::CompressInto(const std::uint8_t* source, std::uint32_t sourceSize, std::uint8_t*& target,
                                     std::uint32_t& targetSize, CProgress* progress) const {
    if (source == nullptr && sourceSize != 0) return kResultInvalidArgument;

    SCoder coder;
    if (const Result result = StartEncoder(coder.stream, level, sourceSize); Failed(result)) return result;

    const std::size_t capacity = TargetCapacity(sourceSize);
    std::unique_ptr<std::uint8_t[]> made(new (std::nothrow) std::uint8_t[capacity]);
    if (made == nullptr) return kResultOutOfMemory;

    StoreLittleEndian(made.get(), sourceSize);
    StoreLittleEndian(made.get() + kSizeBytes, lzma_crc32(made.get(), kSizeBytes, 0));
    coder.stream.next_out = made.get() + kHeadSize;
    coder.stream.avail_out = capacity - kHeadSize;
    const lzma_ret state = Run(coder.stream, source, sourceSize, progress);
    if (state == LZMA_MEM_ERROR) return kResultOutOfMemory;
    if (state != LZMA_STREAM_END) return kResultOutOfBounds;

    target = made.release();
    targetSize = static_cast<std::uint32_t>(kHeadSize + coder.stream.total_out);  // capacity fits in 32 bits
    return kResultOk;
}

Result CLzmaCompressor::Decompress(const std::uint8_t* source, std::uint32_t sourceSize, std::uint8_t* target,
                                   std::uint32_t targetSize, CProgress* progress) {
    if (source == nullptr || (target == nullptr && targetSize != 0)) return kResultInvalidArgument;
    std::uint32_t claimedSize = 0;
    if (sourceSize < kHeadSize || Failed(GetUncompressedSize(source, claimedSize)) || claimedSize != targetSize) {
        return kResultMalformed;
    }

    SCoder coder;
    const std::uint64_t memoryLimit = lzma_easy_decoder_memusage(kMaxLevel);
    if (lzma_stream_decoder(&coder.stream, memoryLimit, 0) != LZMA_OK) return kResultOutOfMemory;

    coder.stream.next_out = target;
    coder.stream.avail_out = targetSize;
    const std::size_t packedSize = sourceSize - kHeadSize;
    const lzma_ret state = Run(coder.stream, source + kHeadSize, packedSize, progress);
    if (state == LZMA_MEM_ERROR) return kResultOutOfMemory;

    const bool isWhole = coder.stream.total_in == packedSize && coder.stream.total_out == targetSize;
    return state == LZMA_STREAM_END && isWhole ? kResultOk : kResultMalformed;
}

Result CLzmaCompressor::GetUncompressedSize(const std::uint8_t* source, std::uint32_t& size) {
    size = 0;
    if (source == nullptr) return kResultInvalidArgument;
    if (LoadLittleEndian<std::uint32_t>(source + kSizeBytes) != lzma_crc32(source, kSizeBytes, 0)) {
        return kResultMalformed;
    }
    size = LoadLittleEndian<std::uint32_t>(source);
    return kResultOk;
}

}  // namespace KX
