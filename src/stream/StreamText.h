#pragma once

#include <concepts>
#include <string>

#include "io/LittleEndian.h"
#include "stream/IoStream.h"

namespace KX {

// Numbers and text, as our files hold them. Each hands up the failures of the stream unchanged unless it says otherwise.

// In as many bytes as the type has, little-endian.
template <std::integral T>
Result StreamWrite(CIoStream& stream, T value) {
    unsigned char bytes[sizeof(T)];
    StoreLittleEndian(bytes, value);
    return stream.WriteOut(bytes, sizeof(T));
}

// The value stays as it was on failure.
template <std::integral T>
Result StreamRead(CIoStream& stream, T& value) {
    unsigned char bytes[sizeof(T)];
    const Result result = stream.ReadIn(bytes, sizeof(T), sizeof(T));
    if (!Failed(result)) value = LoadLittleEndian<T>(bytes);
    return result;
}

// The number of characters (4 bytes), then the low 16 bits of each: a character beyond U+FFFF does not survive.
// kResultOutOfBounds: more characters than 32 bits can count.
Result StreamWrite(CIoStream& stream, const std::wstring& text);

// The text stays as it was on failure. kResultFail: the characters ended before their number. kResultOutOfMemory: no
// memory for them, which is taken as they come. Files before version 2.00 hold the number of bytes and narrow text.
Result StreamRead(CIoStream& stream, std::wstring& text);

// Bytes with their number (4 bytes) before them. Memory is taken as they come. kResultOutOfMemory as above.
Result StreamRead(CIoStream& stream, std::string& bytes);

}  // namespace KX
