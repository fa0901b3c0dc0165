#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "Container.h"
#include "io/Md5.h"
#include "stream/ContainerFormat.h"

namespace KxStore {
namespace {

namespace Format = KX::Container;

std::string TextOf(std::span<const unsigned char> bytes) {
    return {bytes.begin(), bytes.end()};
}

std::string VersionText(std::int64_t version) {
    return fmt::format("{}.{:02}", version / 100, version % 100);
}

std::string DigestOf(CWindowedFile& file, std::uint64_t begin, std::uint64_t end) {
    MD5 md5;
    while (begin < end) {
        const std::size_t count = std::min<std::uint64_t>(CWindowedFile::kWindow, end - begin);
        md5.UpdateMd5(file.Get(begin, count).data(), static_cast<int>(count));
        begin += count;
    }
    md5.Finalize();
    return md5.GetMd5();
}

bool HasSameBytes(CWindowedFile& file, const ClassTable& left, const ClassTable& right) {
    const std::uint64_t size = left.end - left.offset;
    if (right.end - right.offset != size) return false;
    for (std::uint64_t done = 0; done < size;) {
        const std::size_t count = std::min<std::uint64_t>(CWindowedFile::kWindow, size - done);
        const std::string piece = TextOf(file.Get(left.offset + done, count));
        if (std::memcmp(piece.data(), file.Get(right.offset + done, count).data(), count) != 0) return false;
        done += count;
    }
    return true;
}

void ReadEntries(CCursor& cursor, std::uint64_t count, ClassTable& table) {
    for (std::uint64_t i = 0; i < count && i < kMaxListed; ++i) {
        const auto id = cursor.Take<std::int64_t>("an entry of the class table");
        table.list.push_back({id, cursor.Take<std::uint32_t>("an entry of the class table")});
    }
    if (count <= kMaxListed) return;
    table.unlisted = count - kMaxListed;
    cursor.Pass(table.unlisted * Format::kClassEntrySize);
}

RecordCount& CountOf(RecordCounts& counts, std::int64_t id) {
    const auto known = counts.list.find(id);
    if (known != counts.list.end()) return known->second;
    return counts.list.size() < kMaxListed ? counts.list[id] : counts.unlisted;
}

enum class Markers { kNone, kTopLevel };

void ReadRecord(CCursor& cursor, Markers markers, RecordCounts& counts) {
    const std::uint64_t recordAt = cursor.At();
    auto id = cursor.Take<std::int64_t>("the class identifier of a record");
    const bool isTopLevel = markers == Markers::kTopLevel && id == Format::kTopLevelMarker;
    if (isTopLevel) id = cursor.Take<std::int64_t>("the class identifier of a top-level record");
    const auto size = cursor.Take<std::uint32_t>("the size of a record");
    if (size > cursor.Left()) {
        throw Problem{recordAt, fmt::format("the record of class {} has {} bytes, and {} ends {} bytes behind its size",
                                            id, size, cursor.Name(), cursor.Left())};
    }
    cursor.Pass(size);
    for (RecordCount* const count : {&counts.all, &CountOf(counts, id)}) {
        ++count->records;
        count->topLevel += isTopLevel;
        count->bytes += size;
    }
}

// The records of a list, or the thumbnail's, which have to fill their part of the file.
void ReadRecords(CCursor& cursor, std::uint32_t count, RecordCounts& counts) {
    while (counts.all.records < count) ReadRecord(cursor, Markers::kNone, counts);
    if (cursor.Left() == 0) return;
    throw Problem{cursor.At(),
                  fmt::format("{} bytes are left behind the last object of {}", cursor.Left(), cursor.Name())};
}

// Every step takes the bytes from where the one before has left off. A step throws its problem where the next one
// cannot go on, and notes it otherwise.
class CContainerReader {
public:
    explicit CContainerReader(CWindowedFile& file) : file(file), cursor(file, 0, file.Size(), "the file") {
        container.size = file.Size();
    }

    Container Read();

private:
    using Step = void (CContainerReader::*)(Section& section, CCursor& body);

    void Note(std::uint64_t offset, const std::string& what) { container.problems.push_back({offset, what}); }
    template <typename F>
    void Try(F step);

    void ReadHeader();
    void ReadVersion(ContainerHeader& header);
    void ReadTextVersion(ContainerHeader& header);
    void SetVersion(ContainerHeader& header, std::int64_t major, std::int64_t minor) const;
    void RequireReadable(std::int64_t version, std::uint64_t versionAt) const;
    void ReadBody();
    void ReadClasses(CCursor& part, ClassTable& table);
    std::uint64_t EntriesOf(const CCursor& part, const ClassTable& table);
    void ReadDataVersion();

    void ReadSection(const char* name, std::size_t digestSize, Step step);
    void ReadContent(Section& section, std::size_t digestSize, Step step);
    void ReadThumbnail(Section& section, CCursor& body);
    void ReadList(Section& section, CCursor& body);
    void ReadData(Section& section, CCursor& body);
    void CheckDigest(Section& section, std::uint64_t digestAt);

    CWindowedFile& file;
    CCursor cursor;
    Container container;
    std::int64_t dataVersion = 0;
};

template <typename F>
void CContainerReader::Try(F step) {
    try {
        step();
    } catch (const Problem& problem) {
        container.problems.push_back(problem);
    }
}

Container CContainerReader::Read() {
    Try([this] {
        ReadHeader();
        ReadBody();
    });
    container.restOffset = cursor.At();
    std::ranges::stable_sort(container.problems, {}, &Problem::offset);
    return std::move(container);
}

void CContainerReader::ReadHeader() {
    const std::string magic = TextOf(cursor.Take(Format::kMagic.size(), "the magic"));
    if (magic != Format::kMagic && magic != Format::kTextMagic) {
        throw Problem{0, fmt::format("no container starts so: the magic is neither {} nor {}", Format::kMagic,
                                     Format::kTextMagic)};
    }
    ContainerHeader& header = container.header.emplace();
    header.magic = magic;
    magic == Format::kMagic ? ReadVersion(header) : ReadTextVersion(header);
    header.size = cursor.At();
}

void CContainerReader::ReadVersion(ContainerHeader& header) {
    const std::uint64_t versionAt = cursor.At();
    const auto major = cursor.Take<std::uint32_t>("the version");
    SetVersion(header, major, cursor.Take<std::uint32_t>("the version"));
    RequireReadable(header.version, versionAt);
    if (header.version < Format::kVersionFlags) return;
    const std::span<const unsigned char> flags = cursor.Take(2, "the flags");
    header.flags = ContainerFlags{flags[0], flags[1]};
}

void CContainerReader::ReadTextVersion(ContainerHeader& header) {
    const std::uint64_t versionAt = cursor.At() + Format::kTextVersionAt;
    const std::string rest = TextOf(cursor.Take(Format::kTextHeaderRest, "the text with the version"));
    const std::string text = rest.substr(Format::kTextVersionAt, Format::kTextVersionSize);
    int major = 0;
    int minor = 0;
    if (std::sscanf(text.c_str(), "%1d.%2d", &major, &minor) != 2 || minor < 0) {
        throw Problem{versionAt, "the version is not a digit, a point and two digits"};
    }
    SetVersion(header, major, minor);
    RequireReadable(header.version, versionAt);
}

void CContainerReader::SetVersion(ContainerHeader& header, std::int64_t major, std::int64_t minor) const {
    header.major = major;
    header.minor = minor;
    header.version = major * 100 + minor;
    header.size = cursor.At();
}

void CContainerReader::RequireReadable(std::int64_t version, std::uint64_t versionAt) const {
    if (version == Format::kVersionRefused) {
        throw Problem{versionAt, fmt::format("version {} is refused: files of it are laid out in a way of their own, "
                                             "which is not read",
                                             VersionText(version))};
    }
    if (version > Format::kVersion) {
        throw Problem{versionAt, fmt::format("version {} is too new: {} is the last one known", VersionText(version),
                                             VersionText(Format::kVersion))};
    }
}

void CContainerReader::ReadBody() {
    const ContainerHeader& header = *container.header;
    if (header.version < Format::kVersionSections) {
        container.rest = Rest::kNeedsClasses;
        return;
    }
    dataVersion = header.version;
    const std::size_t digestSize = header.flags && header.flags->md5 != 0 ? Format::kDigestSize : 0;
    const std::size_t drmDigestSize = header.version >= Format::kVersionDataTable ? digestSize : 0;

    if (header.version >= Format::kVersionFlags) ReadClasses(cursor, container.classes.emplace());
    ReadSection("thumbnail", 0, &CContainerReader::ReadThumbnail);
    ReadSection("drm", drmDigestSize, &CContainerReader::ReadList);
    ReadSection("extend-info", 0, &CContainerReader::ReadList);
    if (header.version >= Format::kVersionDataVersion) ReadDataVersion();
    ReadSection("data", digestSize, &CContainerReader::ReadData);
    container.rest = Rest::kTrailing;
}

// Length and count have to agree; where they do not, the entries are read that one of them counts.
void CContainerReader::ReadClasses(CCursor& part, ClassTable& table) {
    table.offset = table.end = part.At();
    table.length = part.Take<std::uint32_t>("the length of the class table");
    const std::uint64_t countAt = part.At();
    table.count = part.Take<std::uint32_t>("the number of classes");
    const std::uint64_t needed = Format::kLengthSize + Format::kClassEntrySize * std::uint64_t{table.count};
    if (table.length == 0 && table.count != 0) {
        Note(countAt, fmt::format("{} classes are counted in a class table of no bytes", table.count));
    } else if (table.length != 0 && table.count == 0) {
        Note(countAt, fmt::format("no class is counted in a class table of {} bytes", table.length));
    } else if (table.length != 0 && table.length != needed) {
        Note(table.offset, fmt::format("the class table is said to have {} bytes, and its {} classes take {}",
                                       table.length, table.count, needed));
    }
    const std::uint64_t entries = EntriesOf(part, table);
    ReadEntries(part, std::min(entries, part.Left() / Format::kClassEntrySize), table);
    table.end = part.At();
    if (table.list.size() + table.unlisted == entries) return;
    throw Problem{countAt, fmt::format("{} classes are counted, and {} ends {} bytes behind the last whole one",
                                       table.count, part.Name(), part.Left())};
}

// By the count, or by the length where the count cannot be right.
std::uint64_t CContainerReader::EntriesOf(const CCursor& part, const ClassTable& table) {
    const std::uint64_t room = part.Left() / Format::kClassEntrySize;
    const std::uint64_t byLength =
        (std::max<std::uint64_t>(table.length, Format::kLengthSize) - Format::kLengthSize) / Format::kClassEntrySize;
    const bool isCountPossible = table.count != 0 && table.count <= room;
    return isCountPossible || byLength > room ? table.count : byLength;
}

void CContainerReader::ReadDataVersion() {
    const std::uint64_t versionAt = cursor.At();
    const auto major = cursor.Take<std::uint32_t>("the version of the data");
    const auto minor = cursor.Take<std::uint32_t>("the version of the data");
    container.dataVersion = DataVersion{versionAt, major, minor};
    dataVersion = std::int64_t{major} * 100 + minor;
    Try([&] { RequireReadable(dataVersion, versionAt); });
}

// What is wrong inside a section does not keep the next one from being read, as long as the length is inside the file.
void CContainerReader::ReadSection(const char* name, std::size_t digestSize, Step step) {
    const std::uint64_t lengthAt = cursor.At();
    Section section;
    section.name = name;
    section.length = cursor.Take<std::uint32_t>(fmt::format("the length of the {} section", name));
    section.offset = cursor.At();
    const std::uint64_t left = cursor.Left();
    if (section.length > 0) ReadContent(section, digestSize, step);
    container.sections.push_back(std::move(section));
    cursor.Pass(std::min<std::uint64_t>(container.sections.back().length, left));
    if (container.sections.back().length <= left) return;
    throw Problem{lengthAt, fmt::format("the {} section is said to have {} bytes, and the file has {} more", name,
                                        container.sections.back().length, left)};
}

void CContainerReader::ReadContent(Section& section, std::size_t digestSize, Step step) {
    if (section.length < digestSize) {
        return Note(section.offset, fmt::format("the {} section has no room for its digest", section.name));
    }
    const std::uint64_t digestAt = section.offset + section.length - digestSize;
    const bool isCut = digestAt > file.Size();
    CCursor body(file, section.offset, std::min(digestAt, file.Size()),
                 isCut ? cursor.Name() : fmt::format("the {} section", section.name));
    Try([&] { (this->*step)(section, body); });
    if (digestSize > 0 && section.length <= file.Size() - section.offset) {
        Try([&] { CheckDigest(section, digestAt); });
    }
}

void CContainerReader::ReadThumbnail(Section& section, CCursor& body) {
    if (container.header->version >= Format::kVersionFlags) ReadRecords(body, 1, section.records.emplace());
}

void CContainerReader::ReadList(Section& section, CCursor& body) {
    const std::uint64_t countAt = body.At();
    section.objects = body.Take<std::uint32_t>("the number of its objects");
    if (*section.objects == 0) throw Problem{countAt, "no object is counted in a section that is not empty"};
    if (container.header->version < Format::kVersionFlags) return;
    ReadRecords(body, *section.objects, section.records.emplace());
}

void CContainerReader::ReadData(Section& section, CCursor& body) {
    const std::optional<ContainerFlags>& flags = container.header->flags;
    if (flags && flags->compress != 0) {
        if (body.Left() <= Format::kMaxCompressedSize) return;
        throw Problem{body.At(), fmt::format("more than {} compressed bytes are refused", Format::kMaxCompressedSize)};
    }
    if (dataVersion >= Format::kVersionDataTable) {
        ReadClasses(body, section.classes.emplace());
        section.hasSameClasses = HasSameBytes(file, *container.classes, *section.classes);
    }
    if (dataVersion < Format::kVersionFlags) return;
    section.records.emplace();
    while (body.Left() > 0) ReadRecord(body, Markers::kTopLevel, *section.records);
}

void CContainerReader::CheckDigest(Section& section, std::uint64_t digestAt) {
    const std::string stored = TextOf(file.Get(digestAt, Format::kDigestSize));
    section.digest = Digest{digestAt, stored, DigestOf(file, section.offset, digestAt)};
    if (section.digest->computed == stored) return;
    Note(digestAt, fmt::format("the digest of the {} section is wrong: its bytes give {}", section.name,
                               section.digest->computed));
}

}  // namespace

Container ReadContainer(CWindowedFile& file) {
    return CContainerReader(file).Read();
}

}  // namespace KxStore
