#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include "io/ArrayList.h"
#include "io/IoBuffer.h"

namespace KX {

// A block of memory as a buffer, with a position for reading and one for writing. It never grows.
//
// Ownership: memory that the buffer has made is its own to its end, also when it got another block meanwhile; memory
//            that was lent stays the lender's and must live as long as it is in use here.
// Errors:    kResultOutOfBounds for what would pass the size, kResultInvalidArgument for null, for a destination smaller
//            than the count, and where there is a size but no memory.
// Threads:   no lock inside; one thread at a time per buffer.
class CMemoryIoBuffer : public CIoBuffer {
public:
    CMemoryIoBuffer() = default;
    // With the folder that GetSearchDirectory is to give.
    explicit CMemoryIoBuffer(std::wstring directory) : searchDirectory(std::move(directory)) {}

    // Gives the buffer a block of zeros, or lends it one. Reading starts over; the write position stays, so that a
    // buffer is given memory once and used for one pass.
    // kResultOutOfMemory: the block cannot be had, and the buffer holds none now.
    Result CreateBuffer(unsigned long size);
    Result CreateBuffer(unsigned long size, unsigned char* lent);

    // The first byte of the block, whatever the positions; null without one.
    unsigned char* GetMemory() const { return memory; }

    bool IsBufferEnd() const override { return size == readPosition; }
    bool CheckFileExist(std::wstring /*name*/) const override { return memory != nullptr; }
    Result GetSearchDirectory(std::wstring& directory) const override;
    // CreateBuffer of outputSize.
    Result SetOutputInfo(unsigned long outputSize, unsigned long secondSize) override;

    unsigned long GetSize() const override { return size; }
    unsigned long GetRemainingSize() const override { return readPosition < size ? size - readPosition : 0; }
    Result ReadIn(void* destination, unsigned long capacity, unsigned long count, CProgress* progress) override;
    Result WriteOut(const void* source, unsigned long count, CProgress* progress) override;
    // Needs no memory, only a size.
    Result Skip(unsigned long count) override;

    unsigned long GetReadSize() const override { return readPosition; }
    unsigned long GetWriteSize() const override { return writePosition; }

private:
    struct FreeMemory {
        void operator()(unsigned char* block) const { std::free(block); }
    };
    using OwnedMemory = std::unique_ptr<unsigned char, FreeMemory>;

    Result CheckTransfer(unsigned long position, unsigned long count) const;

    unsigned char* memory = nullptr;
    std::uint64_t size = 0;
    std::uint64_t readPosition = 0;
    std::uint64_t writePosition = 0;
    std::wstring searchDirectory;
    CArrayList<OwnedMemory> ownedMemory;  // all that was made, for addresses of earlier blocks stay good
};

}  // namespace KX
