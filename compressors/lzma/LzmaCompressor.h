#pragma once

#include "stream/LzmaInterFace.h"

namespace KX {

// Compresses the data section of an object stream by LZMA2.
//
// Format:  the uncompressed size (4 bytes), the CRC-32 of these 4 bytes (4 bytes), both little-endian, then one .xz
//          stream with a CRC-64 (The .xz File Format 1.1.0, tukaani.org/xz/xz-file-format.txt) to the last byte. So
//          `tail -c +9 | xz -d` unpacks it, and a damaged size is found before memory of that size is asked for.
// Memory:  beside source and target. To unpack, at most what level 9 needs, 65 MiB, whatever the bytes ask for. To
//          pack, up to 9 MiB at the default level, 94 at level 6 and 674 at level 9, less for less data. Compress
//          reserves a target a little above the size of the source, of which only what gets filled is touched.
// Errors:  nothing throws, unless a progress does. A target that was not filled holds arbitrary bytes.
//            kResultInvalidArgument  a null pointer where bytes are needed, a level above 9
//            kResultOutOfMemory      memory ran out; target is null, or not filled
//            kResultOutOfBounds      the compressed form is larger than a container may hold
//            kResultNotSupported     a liblzma that was built without what is needed
//            kResultMalformed        the bytes are not what Compress makes: damaged, short, long, of another size than
//                                    they claim or than the target has, or in need of too much memory to unpack
// Progress: fractions after each piece of input; Finish is left to the stream.
class CLzmaCompressor : public CLzmaInterFace {
public:
    // Chosen for speed, for people wait for a save. Against level 6, measured three times, the other two once:
    // - the scene of examples/scene, 8.9 MB  12.7 % against 11.5 %, about 15 times as fast (level 0: 12.0 %)
    // - program code, 20 MB                  20.6 % against 18.3 %, 10 times as fast (level 0: 21.7 %)
    // - C and C++ headers, 18 MB             15.2 % against 12.1 %, 9 times as fast (level 0: 16.9 %)
    //
    // Level 0 takes about two thirds of the time of level 1.
    static constexpr std::uint32_t kDefaultLevel = 1;

    // 0 (fast) to 9 (small), as xz has them.
    explicit CLzmaCompressor(std::uint32_t level = kDefaultLevel) : level(level) {}

    Result Compress(const std::uint8_t* source, std::uint32_t sourceSize, std::uint8_t*& target,
                    std::uint32_t& targetSize, CProgress* progress, const wchar_t* name) override;
    Result Decompress(const std::uint8_t* source, std::uint32_t sourceSize, std::uint8_t* target,
                      std::uint32_t targetSize, CProgress* progress) override;
    // Reads 8 bytes.
    Result GetUncompressedSize(const std::uint8_t* source, std::uint32_t& size) override;

    // What the last Compress returned. A stream passes over it and saves a file without its data, so whoever saves
    // asks here.
    Result GetCompressResult() const { return compressResult; }

private:
    Result CompressInto(const std::uint8_t* source, std::uint32_t sourceSize, std::uint8_t*& target,
                        std::uint32_t& targetSize, CProgress* progress) const;

    std::uint32_t level;
    Result compressResult = kResultOk;
};

}  // namespace KX
