#pragma once

#include <cstdint>

#include "io/MemoryIoBuffer.h"
#include "stream/Stream.h"

namespace KX {

// Binds a stream to a buffer in memory, without digest, until the scope is left on whatever path.
class CStream::CMemoryScope {
public:
    CMemoryScope(CStream& stream, CMemoryIoBuffer& memory) : stream(stream), bound(stream.m_pIoBuffer) {
        stream.m_pIoBuffer = &memory;
        stream.m_bMd5Active = false;
    }
    ~CMemoryScope() {
        stream.m_bMd5Active = true;
        stream.m_pIoBuffer = bound;
    }

    CMemoryScope(const CMemoryScope&) = delete;
    CMemoryScope& operator=(const CMemoryScope&) = delete;

private:
    CStream& stream;
    CIoBuffer* const bound;
};

// Tells a stream where the section that it reads ends, as a count of bytes consumed, so that nothing is skipped past it.
class CStream::CSectionScope {
public:
    CSectionScope(CStream& stream, std::uint64_t end) : stream(stream), outerEnd(stream.sectionEnd) {
        stream.sectionEnd = end;
    }
    ~CSectionScope() { stream.sectionEnd = outerEnd; }

    CSectionScope(const CSectionScope&) = delete;
    CSectionScope& operator=(const CSectionScope&) = delete;

private:
    CStream& stream;
    const std::uint64_t outerEnd;
};

// Keeps the links of a section from crossing into others.
class CStream::CLinkScope {
public:
    explicit CLinkScope(CLinkIndex& links) : links(links) { links.Clear(); }
    ~CLinkScope() { links.Clear(); }

    CLinkScope(const CLinkScope&) = delete;
    CLinkScope& operator=(const CLinkScope&) = delete;

private:
    CLinkIndex& links;
};

}  // namespace KX
