#pragma once

#include <cstdint>
#include <string>

// The header file of a store: which backing objects there are, and which blocks they hold. docs/header-format.md tells
// it for people. Integers are little-endian; there is no magic number and no version.
//
//   file      number of objects (4), then so many records
//   record    kind (1), length of the name (4), the name (2 for each character), size (4), and what its kind adds:
//   unshared  whether its block is allocated (1), number of its maps (4)
//   shared    number of blocks (4); of each first slot (4) and number of slots (4); a flag for each of the 1024 slots
namespace HeaderFormat {

inline constexpr wchar_t kSuffix[] = L".mmfheader";

inline constexpr std::uint8_t kUnshared = 0;
inline constexpr std::uint8_t kShared = 1;  // read from any number but 0

// Whether a name can be that of a backing file. It stays within its folder: a header that came from elsewhere must not
// have files opened, or deleted, in other places. Nor is it that of a header file, which would grow while it is read.
// The empty name is one: it opens nothing.
inline bool IsName(const std::wstring& name) {
    if (name.find_first_of(std::wstring(L"/\\\0", 3)) != std::wstring::npos) return false;
    return name != L"." && name != L".." && !name.ends_with(kSuffix);
}

}  // namespace HeaderFormat
