#include "io/Md5.h"

#include <bit>
#include <cstddef>
#include <cstdio>
#include <utility>

#include "io/LittleEndian.h"

namespace {

using State = std::array<std::uint32_t, 4>;

constexpr std::size_t kBlock = 64;
constexpr std::size_t kLengthAt = 56;  // of the message's length in its last block

// The whole part of 2^32 x |sin(n)| for n = 1 to 64, n in radians (RFC 1321, 3.4). Each sine follows from the one before
// by the theorem of addition; the error stays below 1e-5, and no product comes closer than 1e-2 to a whole number.
constexpr std::array<std::uint32_t, 64> MakeSines() {
    constexpr double kSinOf1 = 0.8414709848078965;
    constexpr double kCosOf1 = 0.5403023058681398;
    std::array<std::uint32_t, 64> sines{};
    double sine = kSinOf1;
    double cosine = kCosOf1;
    for (std::uint32_t& entry : sines) {
        entry = static_cast<std::uint32_t>((sine < 0 ? -sine : sine) * 4294967296.0);
        const double next = sine * kCosOf1 + cosine * kSinOf1;
        cosine = cosine * kCosOf1 - sine * kSinOf1;
        sine = next;
    }
    return sines;
}
constexpr std::array<std::uint32_t, 64> kSines = MakeSines();
static_assert(kSines.front() == 0xD76AA478 && kSines.back() == 0xEB86D391);

constexpr int kRotations[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

// Which word of the block a step takes.
constexpr std::size_t WordOf(std::size_t step) {
    constexpr std::size_t kFactor[] = {1, 5, 3, 7};
    constexpr std::size_t kOffset[] = {0, 1, 5, 0};
    return (step * kFactor[step / 16] + kOffset[step / 16]) % 16;
}

// b is the word that the step before has just made, and what has to wait for it decides the speed: all else is added up
// first. clang adds constants that it can see last of all; read as volatile they are not seen. The two halves of the
// second function have no bit in common, so that they can be added one by one, and only one of them waits.
template <std::size_t kStep>
void Step(std::uint32_t& a, std::uint32_t b, std::uint32_t c, std::uint32_t d, const unsigned char* block) {
    constexpr std::size_t kRound = kStep / 16;
    const volatile std::uint32_t& sine = kSines[kStep];
    a += KX::LoadLittleEndian<std::uint32_t>(block + 4 * WordOf(kStep)) + sine;
    if constexpr (kRound == 0) a += d ^ (b & (c ^ d));
    if constexpr (kRound == 1) a = (a + (c & ~d)) + (b & d);
    if constexpr (kRound == 2) a += b ^ (c ^ d);
    if constexpr (kRound == 3) a += c ^ (b | ~d);
    a = b + std::rotl(a, kRotations[kRound][kStep % 4]);
}

template <std::size_t... kSteps>
void TransformBlock(State& words, const unsigned char* block, std::index_sequence<kSteps...> /*steps*/) {
    (Step<kSteps>(words[(64 - kSteps) % 4], words[(65 - kSteps) % 4], words[(66 - kSteps) % 4],
                  words[(67 - kSteps) % 4], block),
     ...);
}

// The state is worked on in a copy, which the compiler keeps in registers from block to block.
void Transform(State& state, const unsigned char* blocks, std::size_t count) {
    State sum = state;
    for (; count > 0; --count, blocks += kBlock) {
        State words = sum;
        TransformBlock(words, blocks, std::make_index_sequence<64>());
        for (std::size_t i = 0; i < words.size(); ++i) sum[i] += words[i];
    }
    state = sum;
}

}  // namespace

void MD5::Init() {
    state = kInitialState;
    pendingSize = 0;
    totalInputBits = 0;
    isFinished = false;
}

void MD5::UpdateBlocks(const unsigned char* data, unsigned int size) {
    if (pendingSize > 0) {
        const unsigned int room = kBlockSize - pendingSize;
        std::memcpy(pending.data() + pendingSize, data, room);
        Transform(state, pending.data(), 1);
        data += room;
        size -= room;
    }
    Transform(state, data, size / kBlockSize);
    pendingSize = size % kBlockSize;
    std::memcpy(pending.data(), data + (size - pendingSize), pendingSize);
}

void MD5::Pad() {
    constexpr std::array<unsigned char, kBlock> kPadding = {0x80};
    if (pendingSize == kLengthAt) return;  // unlike the RFC, which pads by a whole block here

    const std::size_t size = (pendingSize < kLengthAt ? kLengthAt : kLengthAt + kBlock) - pendingSize;
    const std::uint64_t bitsBefore = totalInputBits;
    UpdateMd5(kPadding.data(), static_cast<int>(size));
    totalInputBits = bitsBefore;
}

void MD5::Finalize() {
    if (isFinished) return;

    Pad();
    std::array<unsigned char, 8> length{};
    KX::StoreLittleEndian(length.data(), totalInputBits);
    UpdateMd5(length.data(), static_cast<int>(length.size()));
    LinkResult();
    isFinished = true;
}

void MD5::LinkResult() {
    constexpr char kDigits[] = "0123456789abcdef";
    for (std::size_t i = 0; i < state.size(); ++i) KX::StoreLittleEndian(digest.data() + 4 * i, state[i]);
    for (std::size_t i = 0; i < digest.size(); ++i) {
        text[2 * i] = kDigits[digest[i] >> 4];
        text[2 * i + 1] = kDigits[digest[i] & 0xF];
    }
}

void MD5::printMd5() const {
    if (isFinished) {
        std::printf("MD5 Value: %s\n", text.data());
    } else {
        std::puts("Error: computation is not finished");
    }
}

void MD5::UcharToUint(unsigned int* output, const unsigned char* input, unsigned int length) {
    for (unsigned int i = 0; i < length / 4; ++i) {
        output[i] = KX::LoadLittleEndian<std::uint32_t>(input + std::size_t{4} * i);
    }
}

void MD5::FourRound(const unsigned char* block) {
    Transform(state, block, 1);
}
