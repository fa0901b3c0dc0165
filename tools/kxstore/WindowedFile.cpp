#include "WindowedFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

namespace KxStore {

std::span<const unsigned char> CWindowedFile::Get(std::uint64_t offset, std::size_t count) {
    const bool isHeld = offset >= windowOffset && offset - windowOffset <= window.size() &&
                        count <= window.size() - (offset - windowOffset);
    if (!isHeld) Fill(offset, count);
    return std::span(window).subspan(offset - windowOffset, count);
}

// Where a disk is bad, the bytes before the bad ones are of use.
void CWindowedFile::Fill(std::uint64_t offset, std::size_t needed) {
    window.resize(std::min<std::uint64_t>(kWindow, size - offset));
    windowOffset = offset;
    std::size_t filled = 0;
    try {
        reader.MoveTo(offset);
        while (filled < window.size()) {
            const std::size_t count = reader.Read(std::span(window).subspan(filled));
            if (count == 0) throw std::runtime_error("the file has become shorter");
            filled += count;
        }
    } catch (const std::runtime_error& trouble) {
        window.resize(filled);
        if (filled >= needed) return;
        throw Problem{offset + filled, fmt::format("cannot be read: {}", trouble.what())};
    }
}

void CCursor::Require(std::uint64_t count, std::string_view what) const {
    if (count > Left()) throw Problem{at, fmt::format("{} ends inside {}", name, what)};
}

std::span<const unsigned char> CCursor::Take(std::size_t count, std::string_view what) {
    Require(count, what);
    const std::span<const unsigned char> bytes = file.Get(at, count);
    at += count;
    return bytes;
}

}  // namespace KxStore
