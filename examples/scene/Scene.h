#pragma once

#include <cstdint>
#include <string>

#include "SceneObjects.h"
#include "stream/Stream.h"

// A scene for demonstrations: how it is made, handed to a stream, and found again in a stream that was loaded. What
// goes wrong is thrown as std::runtime_error.

inline constexpr KX::DataSection kPreviews =
    KX::DataSection::Thumbnail | KX::DataSection::Drm | KX::DataSection::ExtendInfo;
inline constexpr KX::DataSection kAllSections = kPreviews | KX::DataSection::Data;
inline constexpr std::uint16_t kSmallThumbnail = 128;

// So many objects, 1000 or more: groups within groups, and the shapes shared out among them.
KX::CPointer<CNode> MakeScene(std::uint64_t objects);

// Inserts the scene, and sets a thumbnail of that edge in pixels, the licence and the author.
void FillStream(KX::CStream& stream, CNode& top, std::uint16_t thumbnailEdge = kSmallThumbnail);
// Compares every field of what was loaded with what FillStream was given. `where` is named in messages.
void VerifyStream(KX::CStream& stream, CNode& expected, const std::string& where,
                  std::uint16_t thumbnailEdge = kSmallThumbnail);

const CNote& NoteOf(const KX::CBase* object);
