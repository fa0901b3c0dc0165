#pragma once

#include <cstdint>
#include <string>

#include "io/Progress.h"
#include "io/Result.h"

namespace KX {

// A sequence of bytes to read from the front and to write from the front: a file, memory or a block of a store.
//
// Units:   bytes.
// Errors:  Result codes, in which each kind of buffer is its own; nothing throws for what the medium does. Positions
//          move only when a call succeeds.
// Threads: no lock inside; one thread at a time per buffer.
class CIoBuffer {
public:
    CIoBuffer(const CIoBuffer&) = delete;
    CIoBuffer& operator=(const CIoBuffer&) = delete;
    virtual ~CIoBuffer() = default;

    // Whether the read position has reached the size.
    virtual bool IsBufferEnd() const = 0;

    // Whether a file of that name exists. A buffer in memory answers whether it holds memory.
    virtual bool CheckFileExist(std::wstring name) const = 0;

    // The folder against which relative names met while loading are resolved; may be empty.
    virtual Result GetSearchDirectory(std::wstring& directory) const = 0;

    // Announces that `outputSize` more bytes are about to be written, so that the buffer can make room, or say
    // that there is none. `secondSize`, the largest single piece, is there for kinds that care; none here does.
    virtual Result SetOutputInfo(unsigned long outputSize, unsigned long secondSize) = 0;

    // Of the data behind the buffer.
    virtual unsigned long GetSize() const = 0;
    // Left to read. Buffers over blocks answer 0 at any time.
    virtual unsigned long GetRemainingSize() const = 0;

    // Copies exactly `count` bytes from the read position, or fails. `capacity` is the size of the destination.
    // The progress may be null.
    virtual Result ReadIn(void* destination, unsigned long capacity, unsigned long count, CProgress* progress) = 0;
    // Copies exactly `count` bytes to the write position, or fails. The progress may be null.
    virtual Result WriteOut(const void* source, unsigned long count, CProgress* progress) = 0;
    // Moves the read position on without copying.
    virtual Result Skip(unsigned long count) = 0;

    // Read, or skipped, so far.
    virtual unsigned long GetReadSize() const = 0;
    // Written so far. Buffers over blocks do not count.
    virtual unsigned long GetWriteSize() const = 0;

protected:
    CIoBuffer() = default;

    std::int32_t reserved = 0;  // of the settled layout; nothing reads it
};

}  // namespace KX
