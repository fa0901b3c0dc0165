#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// The constants of the container file, which docs/container-format.md describes. All integers in it are
// little-endian.
namespace KX::Container {

inline constexpr std::string_view kMagic = "_KXOrca";
inline constexpr std::string_view kTextMagic = "KXLumen";  // of the oldest files, whose version is text
static_assert(kMagic.size() == kTextMagic.size());

// Versions are major x 100 + minor.
inline constexpr int kVersion = 306;             // written; newer ones are refused
inline constexpr int kVersionRecordSize = 200;   // from here on records carry their size, and extend info exists
inline constexpr int kVersionSections = 301;     // from here on sections carry their length
inline constexpr int kVersionFlags = 302;        // from here on: flags, class table, classes by identifier
inline constexpr int kVersionRefused = 302;      // itself never read
inline constexpr int kVersionDataTable = 305;    // from here on: a class table in the data, a digest in the drm section
inline constexpr int kVersionDataVersion = 306;  // from here on: the version of the data stands before it

// The header: magic, major (4), minor (4), compress flag (1), MD5 flag (1).
inline constexpr std::size_t kHeaderSize = 17;
static_assert(kHeaderSize == kMagic.size() + 4 + 4 + 1 + 1);

// The header of the oldest files: magic, then 14 bytes in which "%1d.%2d" stands at 9.
inline constexpr std::size_t kTextHeaderRest = 14;
inline constexpr std::size_t kTextVersionAt = 9;
inline constexpr std::size_t kTextVersionSize = 4;

inline constexpr std::size_t kLengthSize = 4;  // of a section's length, and of a count
inline constexpr std::size_t kClassIdSize = 8;
inline constexpr std::size_t kClassEntrySize = 12;  // class identifier (8), class version (4)
static_assert(kClassEntrySize == kClassIdSize + 4);
inline constexpr std::size_t kDigestSize = 32;  // hexadecimal text without terminator

// Stands before the record of a top-level object, where else a class identifier stands.
inline constexpr std::int64_t kTopLevelMarker = 0x7FFFFFFFFFFFFFFF;

// The largest compressed data section without its digest.
inline constexpr std::uint32_t kMaxCompressedSize = 0xF0000000U;

// Names in files of class names by text (before kVersionFlags).
inline constexpr std::string_view kRootName = "_Root";
inline constexpr std::string_view kOldRootName = "_LumenRoot";
inline constexpr std::string_view kThumbnailName = "_Thumbnail";
inline constexpr std::string_view kOldThumbnailName = "_LumenThumbnail";
inline constexpr std::string_view kOldThumbnailClass = "CThumbnail";
inline constexpr std::string_view kExtendInfoName = "_ExtendInfo";

}  // namespace KX::Container
