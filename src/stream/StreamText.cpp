#include "stream/StreamText.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

#include "io/ResultOf.h"
#include "stream/ContainerFormat.h"
#include "string/Encoding.h"

namespace KX {

namespace {

// No more is read at once than this: the number of bytes that a file claims may be anything.
constexpr std::size_t kPiece = 0x10000;

// Appends bytes of the stream, as far as they are there. Returns the first code that is not 0.
Result AppendBytes(CIoStream& stream, std::size_t count, std::string& bytes) {
    Result first = kResultOk;
    while (count > 0) {
        const std::size_t piece = std::min(count, kPiece);
        const std::size_t before = bytes.size();
        bytes.resize(before + piece);
        const Result result = stream.ReadIn(bytes.data() + before, piece, piece);
        if (Failed(result)) return result;
        if (first == kResultOk) first = result;
        count -= piece;
    }
    return first;
}

Result ReadBytes(CIoStream& stream, std::string& bytes) {
    std::uint32_t count = 0;
    Result result = StreamRead(stream, count);
    if (Failed(result)) return result;
    std::string read;
    result = AppendBytes(stream, count, read);
    if (!Failed(result)) bytes = std::move(read);
    return result;
}

Result ReadNarrowText(CIoStream& stream, std::wstring& text) {
    std::string bytes;
    const Result result = ReadBytes(stream, bytes);
    if (!Failed(result)) text = ConvertToWstring(std::move(bytes), kTextLocale);
    return result;
}

Result ReadWideText(CIoStream& stream, std::wstring& text) {
    std::uint32_t length = 0;
    const Result result = StreamRead(stream, length);
    if (Failed(result)) return result;
    std::string units;
    if (AppendBytes(stream, std::size_t{length} * 2, units) != kResultOk) return kResultFail;
    text.resize(length);
    for (std::size_t i = 0; i < length; ++i) {
        text[i] = static_cast<wchar_t>(LoadLittleEndian<std::uint16_t>(units.data() + 2 * i));
    }
    return kResultOk;
}

}  // namespace

Result StreamWrite(CIoStream& stream, const std::wstring& text) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max()) return kResultOutOfBounds;

    Result result = StreamWrite(stream, static_cast<std::uint32_t>(text.size()));
    for (std::size_t i = 0; i < text.size() && !Failed(result); ++i) {
        unsigned char bytes[sizeof(std::uint16_t)];
        StoreLittleEndian(bytes, static_cast<std::uint16_t>(text[i]));
        for (const unsigned char& byte : bytes) {  // byte by byte: a settled rule, which buffers that count calls see
            result = stream.WriteOut(&byte, 1);
            if (Failed(result)) break;
        }
    }
    return result;
}

Result StreamRead(CIoStream& stream, std::wstring& text) {
    return ResultOf([&] {
        return stream.FileVersion() < Container::kVersionRecordSize ? ReadNarrowText(stream, text)
                                                                    : ReadWideText(stream, text);
    });
}

Result StreamRead(CIoStream& stream, std::string& bytes) {
    return ResultOf([&] { return ReadBytes(stream, bytes); });
}

}  // namespace KX
