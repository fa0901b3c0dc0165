#pragma once

#include <array>
#include <cstdint>
#include <cstring>

// The digest of a stream's bytes, as 32 hexadecimal digits.
//
// The transform of a block is that of RFC 1321; the digest is not the RFC's MD5, and files hold it, so the differences
// must stay:
// - the chaining state starts from words of its own;
// - 56 bytes in the last block get no padding at all, not even the 0x80;
// - one update of 2^28 bytes or more counts its bits modulo 2^32, as a signed number;
// - Finalize counts the 8 bytes of the length as input.
//
// Threads: no lock inside; one thread at a time per object.
class MD5 {
public:
    // Starts over. The digest of the computation before stays to be read until the next Finalize.
    void Init();

    // Adds bytes. After Finalize it goes on from the final state. A negative length, and bytes at null, are counted
    // alone.
    void UpdateMd5(const unsigned char* data, int length) {
        isFinished = false;
        totalInputBits += BitsOf(length);
        if (data == nullptr || length <= 0) return;

        const auto size = static_cast<unsigned int>(length);
        if (size >= kBlockSize - pendingSize) return UpdateBlocks(data, size);
        std::memcpy(pending.data() + pendingSize, data, size);
        pendingSize += size;
    }
    void UpdateMd5(const char* data, int length) { UpdateMd5(reinterpret_cast<const unsigned char*>(data), length); }

    // Pads, adds the length and makes the digest. Nothing happens where that is done.
    void Finalize();
    // Makes the digest of the state as it is; Finalize calls it.
    void LinkResult();

    // The digest in lowercase. Lives as long as this object, and is empty until a Finalize.
    const char* GetMd5() const { return text.data(); }
    // Writes the digest to the standard output, or that there is none.
    void printMd5() const;

    // Of all input, and 64 more after each Finalize.
    std::uint64_t GettotalInputBits() const { return totalInputBits; }

    // Decodes little-endian words. The length is in bytes; a rest of less than four of them is left alone.
    static void UcharToUint(unsigned int* output, const unsigned char* input, unsigned int length);
    // The transform of one block of 64 bytes.
    void FourRound(const unsigned char* block);

private:
    static constexpr unsigned int kBlockSize = 64;
    static constexpr std::size_t kDigestSize = 16;
    static constexpr std::size_t kTextSize = 2 * kDigestSize + 1;
    using State = std::array<std::uint32_t, 4>;

    // The product is formed in 32 bits.
    static std::uint64_t BitsOf(int length) {
        const auto bits = static_cast<std::int32_t>(static_cast<std::uint32_t>(length) * 8U);
        return static_cast<std::uint64_t>(std::int64_t{bits});
    }

    void UpdateBlocks(const unsigned char* data, unsigned int size);
    void Pad();

    static constexpr State kInitialState = {0x07C4913A, 0xB618D25E, 0xE97C4FA0, 0xD3956B21};

    State state = kInitialState;
    std::array<unsigned char, kBlockSize> pending = {};  // what does not fill a block yet
    std::uint32_t pendingSize = 0;                       // always below kBlockSize
    std::uint64_t totalInputBits = 0;
    std::array<unsigned char, kDigestSize> digest = {};
    std::array<char, kTextSize> text = {};
    bool isFinished = false;
};
