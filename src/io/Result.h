#pragma once

#include <cstdint>

namespace KX {

// The result code of the block store, byte IO, stream and file layers: 0 and above succeed, negative values
// fail. A failure is handed up unchanged; Failed() is the one test for it.
using Result = std::int32_t;

inline constexpr Result kResultOk = 0;
// Succeeded, and there was nothing to do.
inline constexpr Result kResultNothingDone = 1;
// General failure, or a transfer that would pass the end.
inline constexpr Result kResultFail = static_cast<Result>(0x80000000U);
inline constexpr Result kResultNotSupported = static_cast<Result>(0x80000001U);
inline constexpr Result kResultOutOfMemory = static_cast<Result>(0x80000002U);
// A null pointer, a zero handle, an unknown block, or an object that is not ready.
inline constexpr Result kResultInvalidArgument = static_cast<Result>(0x80000003U);
inline constexpr Result kResultOutOfBounds = static_cast<Result>(0x80000004U);
// Content that is not what its format allows.
inline constexpr Result kResultMalformed = static_cast<Result>(0x80000005U);
inline constexpr Result kResultOpenFailed = static_cast<Result>(0x80000006U);
inline constexpr Result kResultFileQueryFailed = static_cast<Result>(0x80000007U);
inline constexpr Result kResultUnknownClass = static_cast<Result>(0x80000009U);
// Written by a newer version than this one reads.
inline constexpr Result kResultTooNew = static_cast<Result>(0x8000000AU);
// A read, write or seek failed or was short.
inline constexpr Result kResultIoFailed = static_cast<Result>(0x8000000CU);
inline constexpr Result kResultDigestMismatch = static_cast<Result>(0x8000000DU);
// The volume lacks room for the output.
inline constexpr Result kResultNoSpace = static_cast<Result>(0x8000000EU);

constexpr bool Failed(Result result) {
    return result < 0;
}

}  // namespace KX
