#pragma once

#include <cstdint>

namespace KX {

// The result code of the block store, byte IO, stream and file layers: 0 and above succeed, negative values
// fail. A failure is handed up unchanged; Failed() is the one test for it.
using Result = std::int32_t;

// Done.
inline constexpr Result kResultOk = 0;

// Succeeded, and there was nothing to do.
inline constexpr Result kResultNothingDone = 1;

// General failure, or a transfer that would pass the end.
inline constexpr Result kResultFail = static_cast<Result>(0x80000000U);

// This kind of object cannot do that.
inline constexpr Result kResultNotSupported = static_cast<Result>(0x80000001U);

// Memory, or room in a store, cannot be had.
inline constexpr Result kResultOutOfMemory = static_cast<Result>(0x80000002U);

// A null pointer, a zero handle, an unknown block, or an object that is not ready.
inline constexpr Result kResultInvalidArgument = static_cast<Result>(0x80000003U);

// An index or a position past the end, or more than a format can hold.
inline constexpr Result kResultOutOfBounds = static_cast<Result>(0x80000004U);

// Content that is not what its format allows.
inline constexpr Result kResultMalformed = static_cast<Result>(0x80000005U);

// A file cannot be opened or made.
inline constexpr Result kResultOpenFailed = static_cast<Result>(0x80000006U);

// A file or folder cannot be queried; an empty path.
inline constexpr Result kResultFileQueryFailed = static_cast<Result>(0x80000007U);

// An object of a class that is not registered.
inline constexpr Result kResultUnknownClass = static_cast<Result>(0x80000009U);

// Written by a newer version than this one reads.
inline constexpr Result kResultTooNew = static_cast<Result>(0x8000000AU);

// A read, write or seek failed or was short.
inline constexpr Result kResultIoFailed = static_cast<Result>(0x8000000CU);

// The bytes are not those that were saved.
inline constexpr Result kResultDigestMismatch = static_cast<Result>(0x8000000DU);

// The volume lacks room for the output.
inline constexpr Result kResultNoSpace = static_cast<Result>(0x8000000EU);

// Whether the code is that of a failure.
constexpr bool Failed(Result result) {
    return result < 0;
}

}  // namespace KX
