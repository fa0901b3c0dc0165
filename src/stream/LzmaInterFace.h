#pragma once

#include <cstddef>
#include <cstdint>

#include "io/Progress.h"
#include "io/Result.h"

namespace KX {

// Compresses the data section of an object stream in one piece. An application hands one to CStream::SetLzmaInterface;
// compressors/lzma has one ready for use.
//
// Ownership: counted, and held by CPointer; starts at a count of 0 and deletes itself when the count returns to 0, so
//            it is made by new.
// Errors:    Result codes, of which the negative ones are failures. Nothing may throw.
// Threads:   the count is plain; one thread at a time.
class CLzmaInterFace {
public:
    // That many zero bytes follow the source that a stream gives to Decompress and GetUncompressedSize, so that a
    // compressor may read its own header from a source that a broken file has cut short.
    static constexpr std::size_t kSourcePadding = 64;

    // Makes `target` by new[], which the caller frees by delete[], and sets `targetSize`. The compressed bytes must
    // carry their uncompressed size. `name` tells what is being compressed; it and the progress may be empty or null.
    // A stream does not look at the result: on failure `target` is to be left null, and the file then holds no data.
    virtual Result Compress(const std::uint8_t* source, std::uint32_t sourceSize, std::uint8_t*& target,
                            std::uint32_t& targetSize, CProgress* progress, const wchar_t* name) = 0;

    // Fills the whole target, whose size GetUncompressedSize gave. The source may be any bytes.
    virtual Result Decompress(const std::uint8_t* source, std::uint32_t sourceSize, std::uint8_t* target,
                              std::uint32_t targetSize, CProgress* progress) = 0;

    // The uncompressed size that the compressed bytes carry. They may be any bytes.
    virtual Result GetUncompressedSize(const std::uint8_t* source, std::uint32_t& size) = 0;

    virtual ~CLzmaInterFace() = default;

    CLzmaInterFace(const CLzmaInterFace&) = delete;
    CLzmaInterFace& operator=(const CLzmaInterFace&) = delete;

    // Counts the holders.
    void IncrementReferences() { ++references; }
    void DecrementReferences() {
        if (--references == 0) delete this;
    }

protected:
    CLzmaInterFace() = default;

private:
    std::uint32_t references = 0;
};

}  // namespace KX
