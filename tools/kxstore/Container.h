#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "WindowedFile.h"

namespace KxStore {

// What an object-stream container tells of itself to a reader that knows none of its classes. All offsets are those
// of the file, all sizes in bytes.

// The most classes that one list names, whatever the file claims; the others are counted.
inline constexpr std::size_t kMaxListed = 0x10000;

// Any other value than 0 counts as 1.
struct ContainerFlags {
    unsigned char compress;
    unsigned char md5;
};

struct ContainerHeader {
    std::string magic;
    std::uint64_t size = 0;
    std::int64_t major = 0;
    std::int64_t minor = 0;
    std::int64_t version = 0;  // major x 100 + minor
    std::optional<ContainerFlags> flags;
};

struct ClassEntry {
    std::int64_t id;
    std::uint32_t version;
};

struct ClassTable {
    std::uint64_t offset = 0;  // of its length
    std::uint64_t end = 0;
    std::uint32_t length = 0;  // both as they stand in the file
    std::uint32_t count = 0;
    std::uint64_t unlisted = 0;  // entries behind those of the list
    std::vector<ClassEntry> list;
};

struct RecordCount {
    std::uint64_t records = 0;
    std::uint64_t topLevel = 0;
    std::uint64_t bytes = 0;  // behind the records' sizes
};

struct RecordCounts {
    RecordCount all;
    RecordCount unlisted;  // of classes that are not in the list
    std::map<std::int64_t, RecordCount> list;
};

struct Digest {
    std::uint64_t offset;
    std::string stored;
    std::string computed;
};

struct Section {
    std::string name;
    std::uint64_t offset = 0;  // of what follows its length
    std::uint32_t length = 0;
    std::optional<std::uint32_t> objects;  // as counted at the start of a list
    std::optional<ClassTable> classes;
    bool hasSameClasses = false;  // as the table behind the header
    std::optional<RecordCounts> records;
    std::optional<Digest> digest;
};

struct DataVersion {
    std::uint64_t offset;
    std::uint32_t major;
    std::uint32_t minor;
};

// What the bytes are that stand behind all that was told.
enum class Rest { kTrailing, kNeedsClasses, kUnread };

struct Container {
    std::uint64_t size = 0;
    std::optional<ContainerHeader> header;
    std::optional<ClassTable> classes;
    std::optional<DataVersion> dataVersion;
    std::vector<Section> sections;
    std::uint64_t restOffset = 0;
    Rest rest = Rest::kUnread;
    std::vector<Problem> problems;  // by their offsets
};

// Reads as far as the file can be understood. Throws Stopped.
Container ReadContainer(CWindowedFile& file);

}  // namespace KxStore
