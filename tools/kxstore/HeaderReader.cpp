#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <map>
#include <system_error>

#include "HeaderFile.h"
#include "mmf/BackingFile.h"
#include "mmf/BlockHandle.h"
#include "mmf/HeaderFormat.h"
#include "mmf/ShareMmfObj.h"
#include "system/NarrowPath.h"

namespace KxStore {
namespace {

constexpr std::uint32_t kSlotCount = CShareMmfObj::kSlotCount;
constexpr std::uint32_t kStoreSize = CShareMmfObj::kStoreSize;
constexpr std::size_t kMaxName = NAME_MAX;  // in bytes, of which every character takes one at least
constexpr std::size_t kUnitSize = sizeof(char16_t);

// The first slot of the block that each slot belongs to.
constexpr std::int64_t kNoBlock = -1;
using SlotOwners = std::array<std::int64_t, kSlotCount>;

std::string SlotsText(std::size_t begin, std::size_t end) {
    return end - begin == 1 ? fmt::format("slot {}", begin) : fmt::format("slots {} to {}", begin, end - 1);
}

// What keeps a file of the store's folder from being opened by the name.
std::optional<Problem> FindNameProblem(const StoredObject& object, const std::string& narrowName) {
    const std::uint64_t charactersAt = object.nameAt + sizeof(object.nameLength);
    if (object.nameLength == 0) return Problem{object.nameAt, "the name is empty, nothing can be opened by it"};
    if (object.nameLength > kMaxName) {
        return Problem{object.nameAt, fmt::format("the name has {} characters, and no file's name has more than {}",
                                                  object.nameLength, kMaxName)};
    }
    const std::size_t bad = object.name.find_first_of(u"/\\\0", 0, 3);
    if (bad != std::u16string::npos) {
        return Problem{charactersAt + kUnitSize * bad, "a slash, a backslash or a NUL stands in the name"};
    }
    if (!HeaderFormat::IsName({object.name.begin(), object.name.end()})) {
        return Problem{charactersAt, "the name is that of a folder or a header file"};
    }
    if (narrowName.empty()) return Problem{charactersAt, "the text locale cannot express the name"};
    return std::nullopt;
}

FileType TypeOf(const struct stat& status) {
    if (S_ISLNK(status.st_mode)) return FileType::kLink;
    return S_ISREG(status.st_mode) ? FileType::kRegular : FileType::kOther;
}

// Every step takes the bytes from where the one before has left off. An object that is cut short is not listed.
class CHeaderReader {
public:
    CHeaderReader(CWindowedFile& file, const std::string& path)
        : folder(std::filesystem::path(path).parent_path()), cursor(file, 0, file.Size(), "the file") {
        header.size = file.Size();
    }

    HeaderFile Read();

private:
    void Note(std::uint64_t offset, const std::string& what) { header.problems.push_back({offset, what}); }
    void NoteOf(const StoredObject& object, std::uint64_t offset, const std::string& what);
    template <std::integral T>
    T Take(const StoredObject& object, const char* field);

    void ReadObjects();
    void ReadObject(StoredObject& object);
    void ReadName(StoredObject& object);
    void ReadSize(StoredObject& object, bool isShared);
    void ReadUnshared(StoredObject& object);
    void ReadShared(StoredObject& object);
    void ReadBlocks(const StoredObject& object, SharedPart& shared, SlotOwners& owners);
    void ClaimSlots(const StoredObject& object, std::uint64_t blockAt, const SharedBlock& block, SlotOwners& owners);
    void ReadFlags(const StoredObject& object, SharedPart& shared, const SlotOwners& owners);
    void FindFile(StoredObject& object);
    void CheckFile(StoredObject& object);

    const std::filesystem::path folder;
    CCursor cursor;
    HeaderFile header;
    std::size_t listedBlocks = 0;
    std::map<std::u16string, std::size_t> objectNamed;  // the first one of each name
};

HeaderFile CHeaderReader::Read() {
    try {
        ReadObjects();
    } catch (const Problem& problem) {
        Note(problem.offset, problem.what);
    }
    std::ranges::stable_sort(header.problems, {}, &Problem::offset);
    return std::move(header);
}

void CHeaderReader::NoteOf(const StoredObject& object, std::uint64_t offset, const std::string& what) {
    if (header.problems.size() >= kMaxProblems) throw Problem{offset, "too much is wrong, no more is read"};
    header.problems.push_back({offset, fmt::format("object {}: {}", object.index, what)});
}

template <std::integral T>
T CHeaderReader::Take(const StoredObject& object, const char* field) {
    return cursor.Take<T>(fmt::format("{} of object {}", field, object.index));
}

void CHeaderReader::ReadObjects() {
    header.objectCount = cursor.Take<std::uint32_t>("the number of objects");
    header.restOffset = cursor.At();
    if (header.objectCount > BlockHandle::kMaxObjects) {
        Note(0, fmt::format("{} objects are counted, and a store can number {}; no more are read", header.objectCount,
                            BlockHandle::kMaxObjects));
    }
    const std::size_t count = std::min<std::size_t>(header.objectCount, BlockHandle::kMaxObjects);
    while (header.objects.size() < count) {
        StoredObject object;
        object.index = header.objects.size();
        ReadObject(object);
        header.blocks += object.shared ? object.shared->blockCount : object.unshared.isUsed;
        header.bytes += object.size;
        header.restOffset = object.end;
        header.objects.push_back(std::move(object));
    }
    if (header.objectCount > count || cursor.Left() == 0) return;
    Note(cursor.At(), fmt::format("{} bytes are left behind the last object", cursor.Left()));
}

void CHeaderReader::ReadObject(StoredObject& object) {
    object.offset = cursor.At();
    const bool isShared = Take<std::uint8_t>(object, "the kind") != HeaderFormat::kUnshared;
    ReadName(object);
    ReadSize(object, isShared);
    isShared ? ReadShared(object) : ReadUnshared(object);
    object.end = cursor.At();
    FindFile(object);
}

void CHeaderReader::ReadName(StoredObject& object) {
    object.nameAt = cursor.At();
    object.nameLength = Take<std::uint32_t>(object, "the length of the name");
    const std::uint64_t size = kUnitSize * std::uint64_t{object.nameLength};
    const std::string what = fmt::format("the name of object {}", object.index);
    cursor.Require(size, what);
    const std::size_t kept = std::min<std::uint64_t>(size, kUnitSize * kMaxName);
    const std::span<const unsigned char> bytes = cursor.Take(kept, what);
    for (std::size_t i = 0; i < kept; i += kUnitSize) {
        object.name += KX::LoadLittleEndian<char16_t>(&bytes[i]);
    }
    cursor.Pass(size - kept);
}

void CHeaderReader::ReadSize(StoredObject& object, bool isShared) {
    const std::uint64_t sizeAt = cursor.At();
    object.size = Take<std::uint32_t>(object, "the size");
    object.file.needed = BackingFileLength(isShared ? kStoreSize : object.size);
    if (isShared && object.size != kStoreSize) {
        NoteOf(object, sizeAt, fmt::format("its size is {}, and that of a shared one is {}", object.size, kStoreSize));
    }
    // 0 is the record of 4 GiB, too, of which it has the low 32 bits. The file of one byte less has 1 byte.
    if (!isShared && object.size + 1 <= 1) {
        NoteOf(object, sizeAt, fmt::format("its size is {}, nothing of it can be mapped", object.size));
    }
}

void CHeaderReader::ReadUnshared(StoredObject& object) {
    object.unshared.isUsed = Take<std::uint8_t>(object, "the use") != 0;
    const std::uint64_t mapsAt = cursor.At();
    object.unshared.maps = Take<std::uint32_t>(object, "the count of maps");
    if (object.unshared.maps == 0) return;
    NoteOf(object, mapsAt,
           fmt::format("it was saved with a count of {} maps, the next map gives null", object.unshared.maps));
}

void CHeaderReader::ReadShared(StoredObject& object) {
    SlotOwners owners;
    owners.fill(kNoBlock);
    SharedPart& shared = object.shared.emplace();
    ReadBlocks(object, shared, owners);
    ReadFlags(object, shared, owners);
}

void CHeaderReader::ReadBlocks(const StoredObject& object, SharedPart& shared, SlotOwners& owners) {
    shared.blockCount = Take<std::uint32_t>(object, "the number of blocks");
    const std::string what = fmt::format("the blocks of object {}", object.index);
    cursor.Require(sizeof(SharedBlock) * std::uint64_t{shared.blockCount}, what);
    for (std::uint32_t i = 0; i < shared.blockCount; ++i) {
        const std::uint64_t blockAt = cursor.At();
        const auto firstSlot = cursor.Take<std::uint32_t>(what);
        const SharedBlock block{firstSlot, cursor.Take<std::uint32_t>(what)};
        ClaimSlots(object, blockAt, block, owners);
        if (listedBlocks == kMaxListedBlocks) continue;
        ++listedBlocks;
        shared.blocks.push_back(block);
    }
}

void CHeaderReader::ClaimSlots(const StoredObject& object, std::uint64_t blockAt, const SharedBlock& block,
                               SlotOwners& owners) {
    const auto note = [&](const std::string& what) {
        NoteOf(object, blockAt,
               fmt::format("the block of {} slots from slot {} on {}", block.slots, block.firstSlot, what));
    };
    if (block.slots == 0) return note("is empty");
    const std::uint64_t end = std::uint64_t{block.firstSlot} + block.slots;
    if (end > kSlotCount) note(fmt::format("leads past the last one of {}", kSlotCount));
    std::int64_t other = kNoBlock;
    for (std::uint64_t slot = block.firstSlot; slot < std::min<std::uint64_t>(end, kSlotCount); ++slot) {
        if (owners[slot] != kNoBlock) other = owners[slot];
        owners[slot] = block.firstSlot;
    }
    if (other != kNoBlock) note(fmt::format("overlaps the one from slot {} on", other));
}

// By runs of slots that are alike.
void CHeaderReader::ReadFlags(const StoredObject& object, SharedPart& shared, const SlotOwners& owners) {
    const std::uint64_t flagsAt = cursor.At();
    const auto flags = cursor.Take(kSlotCount, fmt::format("the flags of the slots of object {}", object.index));
    std::size_t freeRun = 0;
    for (std::size_t begin = 0, end = 0; begin < kSlotCount; begin = end) {
        const bool isUsed = flags[begin] != 0;
        const bool isOwned = owners[begin] != kNoBlock;
        while (end < kSlotCount && (flags[end] != 0) == isUsed && (owners[end] != kNoBlock) == isOwned) ++end;
        freeRun = isUsed ? 0 : freeRun + (end - begin);
        shared.freeSlots += isUsed ? 0 : end - begin;
        shared.longestFreeRun = std::max(shared.longestFreeRun, freeRun);
        if (isUsed == isOwned) continue;
        NoteOf(object, flagsAt + begin,
               SlotsText(begin, end) + (isUsed ? ": marked used, of no block" : ": of a block, marked free"));
    }
}

void CHeaderReader::FindFile(StoredObject& object) {
    // Each unit is one character to the store: there are no surrogate pairs.
    const std::string narrowName = KX::NarrowPath({object.name.begin(), object.name.end()});
    if (const std::optional<Problem> problem = FindNameProblem(object, narrowName)) {
        return NoteOf(object, problem->offset, problem->what);
    }
    const auto [first, isNew] = objectNamed.emplace(object.name, object.index);
    if (!isNew) {
        NoteOf(object, object.nameAt,
               fmt::format("its file is that of object {}, too: they overwrite each other (a file is "
                           "named by the second that its object was made in)",
                           first->second));
    }
    object.file.path = folder / narrowName;
    CheckFile(object);
}

void CHeaderReader::CheckFile(StoredObject& object) {
    const auto note = [&](const std::string& what) { NoteOf(object, object.nameAt, "its file " + what); };
    struct stat status {};
    if (::lstat(object.file.path.c_str(), &status) != 0) {
        const int error = errno;
        if (error != ENOENT) return note("cannot be found: " + std::generic_category().message(error));
        return note(object.shared ? "is missing; blocks held in memory never reach one" : "is missing");
    }
    BackingFile& file = object.file;
    file.type = TypeOf(status);
    file.size = static_cast<std::uint64_t>(status.st_size);
    if (file.type == FileType::kLink) return note("is a link, which the store refuses");
    if (file.type == FileType::kOther) return note("is not a regular file");
    if (file.size < file.needed) note(fmt::format("has {} bytes, and {} are needed", file.size, file.needed));
}

}  // namespace

HeaderFile ReadHeaderFile(CWindowedFile& file, const std::string& path) {
    return CHeaderReader(file, path).Read();
}

}  // namespace KxStore
