#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <utility>

namespace KX {

// Integers as our files hold them, least significant byte first, at any address.

template <std::integral T>
T ByteSwapUnlessLittle(T value) {
    if constexpr (std::endian::native == std::endian::little) {
        return value;
    } else {
        unsigned char bytes[sizeof(T)];
        std::memcpy(bytes, &value, sizeof(T));
        for (std::size_t i = 0; i < sizeof(T) / 2; ++i) std::swap(bytes[i], bytes[sizeof(T) - 1 - i]);
        std::memcpy(&value, bytes, sizeof(T));
        return value;
    }
}

template <std::integral T>
T LoadLittleEndian(const void* source) {
    T value;
    std::memcpy(&value, source, sizeof(T));
    return ByteSwapUnlessLittle(value);
}

template <std::integral T>
void StoreLittleEndian(void* destination, T value) {
    value = ByteSwapUnlessLittle(value);
    std::memcpy(destination, &value, sizeof(T));
}

}  // namespace KX
