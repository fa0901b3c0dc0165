#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "WindowedFile.h"

namespace KxStore {

// What the header file of a block store tells of the store's objects, and what stands beside it under their names.
// Nothing but the header file is opened. All offsets are those of the file, all sizes in bytes.
// mmf/HeaderFormat.h has the layout.

// The most blocks that are listed, whatever the file holds; the others are counted. Behind so many problems, no more
// of a file is read.
inline constexpr std::size_t kMaxListedBlocks = 0x40000;
inline constexpr std::size_t kMaxProblems = 0x10000;

struct SharedBlock {
    std::uint32_t firstSlot;
    std::uint32_t slots;
};

struct SharedPart {
    std::uint32_t blockCount = 0;  // as it stands in the file
    std::vector<SharedBlock> blocks;
    std::size_t freeSlots = 0;
    std::size_t longestFreeRun = 0;
};

struct UnsharedPart {
    bool isUsed = false;
    std::uint32_t maps = 0;
};

enum class FileType { kMissing, kLink, kOther, kRegular };

struct BackingFile {
    std::string path;  // empty where none can be looked for
    FileType type = FileType::kMissing;
    std::uint64_t size = 0;
    std::uint64_t needed = 0;  // what the store makes it at least
};

struct StoredObject {
    std::size_t index = 0;
    std::uint64_t offset = 0;
    std::uint64_t end = 0;
    std::uint64_t nameAt = 0;  // its length
    std::uint32_t nameLength = 0;
    std::u16string name;  // no more than a file's name can have
    std::uint32_t size = 0;
    std::optional<SharedPart> shared;  // else the object is unshared
    UnsharedPart unshared;
    BackingFile file;
};

struct HeaderFile {
    std::uint64_t size = 0;
    std::uint32_t objectCount = 0;      // as it stands in the file
    std::vector<StoredObject> objects;  // those that the file holds whole
    std::uint64_t blocks = 0;           // of these objects
    std::uint64_t bytes = 0;
    std::uint64_t restOffset = 0;
    std::vector<Problem> problems;  // by their offsets
};

// Reads as far as the file can be understood, and looks for the backing files in the folder of the path. Throws
// Stopped.
HeaderFile ReadHeaderFile(CWindowedFile& file, const std::string& path);

}  // namespace KxStore
