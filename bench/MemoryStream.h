#pragma once

#include <cstring>
#include <streambuf>
#include <vector>

// A block of memory as the peers take it: as large as it has to be and touched before, so that each write is a check
// and a copy.
class CMemoryStream : public std::streambuf {
public:
    explicit CMemoryStream(std::size_t size) : block(size, 'K') {}

    void Rewind() { position = 0; }

protected:
    std::streamsize xsputn(const char* source, std::streamsize count) override {
        const auto size = static_cast<std::size_t>(count);
        if (size > block.size() - position) return 0;
        std::memcpy(block.data() + position, source, size);
        position += size;
        return count;
    }

    std::streamsize xsgetn(char* destination, std::streamsize count) override {
        const auto size = static_cast<std::size_t>(count);
        if (size > block.size() - position) return 0;
        std::memcpy(destination, block.data() + position, size);
        position += size;
        return count;
    }

private:
    std::vector<char> block;
    std::size_t position = 0;
};
