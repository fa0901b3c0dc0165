#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "io/ResultOf.h"
#include "stream/ContainerFormat.h"
#include "stream/ScopeGuard.h"
#include "stream/Stream.h"
#include "stream/StreamScopes.h"
#include "stream/StreamText.h"

// Loading by section. What stands in a section is read by StreamRecords.cpp, files before 3.02 by
// StreamOldFiles.cpp.
namespace KX {

namespace {

// Both numbers may be anything.
std::int64_t VersionOf(std::uint32_t major, std::uint32_t minor) {
    return std::int64_t{major} * 100 + minor;
}

}  // namespace

Result CStream::Load(SkipType skip, DataSection section) {
    const CScopeGuard atExit([this] {
        if (m_pProgress != nullptr) m_pProgress->Finish();
    });
    return ResultOf([&] { return LoadSections(skip, section); });
}

Result CStream::LoadSections(SkipType skip, DataSection section) {
    if (m_pIoBuffer == nullptr) return kResultInvalidArgument;

    RemoveAll();
    deferred = kResultOk;
    isCovered = false;
    m_bMd5Active = true;
    Result result = LoadHeader();
    if (Failed(result)) return result;
    if (m_nFileVersion == Container::kVersionRefused) return kResultMalformed;
    if (m_bCompress && HasAny(section, DataSection::Data) && !m_pLzma) return kResultInvalidArgument;

    InitializeCompressInf();
    GetHeadStartTime();
    if (m_nFileVersion < Container::kVersionSections) return LoadV30(skip, section);
    result = LoadPreviews(skip, section);
    if (Failed(result)) return result;
    GetHeadEndTime();
    GetDataStartTime();
    if (m_pProgress != nullptr) m_pProgress->Report(0.7F);
    result = LoadDataSection(skip, section);
    if (Failed(result)) return result;
    GetDataEndTime();
    ShowLoadTimeAndSize();
    if (!m_fnDrmProcessAfterLoad) return kResultOk;
    return std::min(m_fnDrmProcessAfterLoad(*this), kResultOk);
}

Result CStream::LoadHeader() {
    char magic[Container::kMagic.size()];
    Result result = ReadIn(magic, sizeof magic, sizeof magic);
    if (Failed(result)) return result;
    const std::string_view read(magic, sizeof magic);
    if (read == Container::kTextMagic) return LoadTextHeader();
    if (read != Container::kMagic) return kResultMalformed;

    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    result = StreamRead(*this, major);
    if (!Failed(result)) result = StreamRead(*this, minor);
    if (Failed(result)) return result;
    const std::int64_t version = VersionOf(major, minor);
    std::uint8_t compress = 0;
    std::uint8_t md5 = 0;
    if (version >= Container::kVersionFlags) {
        result = StreamRead(*this, compress);
        if (!Failed(result)) result = StreamRead(*this, md5);
        if (Failed(result)) return result;
    }
    m_bCompress = compress != 0;
    m_bMd5 = md5 != 0;
    return TakeVersion(version);
}

Result CStream::TakeVersion(std::int64_t version) {
    if (version > Container::kVersion) return kResultTooNew;
    m_nFileVersion = static_cast<int>(version);
    return kResultOk;
}

// Reads a section if it is asked for and not empty: exactly as much as its length says.
template <typename Reader>
Result CStream::LoadSection(std::uint32_t length, bool isAsked, Reader reader) {
    if (!isAsked || length == 0) return Skip(length);
    const CSectionScope scope(*this, consumed + length);
    const Result result = reader();
    if (Failed(result)) return result;
    return consumed == sectionEnd ? kResultOk : kResultMalformed;
}

// What stands before the data: class versions, thumbnail, drm, extend info.
Result CStream::LoadPreviews(SkipType skip, DataSection section) {
    Result result = m_nFileVersion >= Container::kVersionFlags ? LoadDataVersion() : kResultOk;
    if (Failed(result)) return result;

    std::uint32_t length = 0;
    result = StreamRead(*this, length);
    if (Failed(result)) return result;
    result = LoadSection(length, HasAny(section, DataSection::Thumbnail),
                         [&] { return LoadThumbnail(HasAny(skip, SkipType::Thumbnail)); });
    if (Failed(result)) return result;

    result = StreamRead(*this, length);
    if (Failed(result)) return result;
    result =
        LoadSection(length, HasAny(section, DataSection::Drm), [&] { return LoadDrm(HasAny(skip, SkipType::Drm)); });
    if (Failed(result)) return result;

    result = StreamRead(*this, length);
    if (Failed(result) || length == 0) return result;
    return LoadSection(length, HasAny(section, DataSection::ExtendInfo | DataSection::HQThumbnail), [&] {
        if (HasAny(section, DataSection::ExtendInfo)) return LoadExtendInfo(HasAny(skip, SkipType::ExtendInfo));
        return LoadHQThumbnailExtendInfo(length);
    });
}

Result CStream::LoadDataVersion() {
    const std::uint64_t before = consumed;
    const Result result = ReadClassTable();
    m_mapLink.Clear();
    tableSize = consumed - before;
    tableEnd = consumed;
    return result;
}

Result CStream::ReadClassTable() {
    std::uint32_t length = 0;
    std::uint32_t count = 0;
    Result result = StreamRead(*this, length);
    if (Failed(result)) return result;
    result = StreamRead(*this, count);
    if (Failed(result)) return length == 0 ? result : kResultMalformed;
    if (length == 0) return count == 0 ? kResultOk : kResultMalformed;
    if (count == 0 || length != Container::kLengthSize + count * std::uint64_t{Container::kClassEntrySize}) {
        return kResultMalformed;
    }
    for (; count > 0; --count) {
        unsigned char entry[Container::kClassEntrySize];
        result = ReadIn(entry, sizeof entry, sizeof entry);
        if (Failed(result)) return result;
        const CRtti* const rtti = CRtti::GetVersionMapIDtoRtti(LoadLittleEndian<std::int64_t>(entry));
        if (rtti == nullptr) continue;
        const CVersion version(LoadLittleEndian<std::uint32_t>(entry + Container::kClassIdSize));
        result = AddVersion(rtti, version);
        if (Failed(result)) return result;
    }
    return kResultOk;
}

// The data section

Result CStream::LoadDataSection(SkipType skip, DataSection section) {
    Result result = m_nFileVersion >= Container::kVersionDataVersion ? ReadDataVersion() : kResultOk;
    if (Failed(result)) return result;
    std::uint32_t length = 0;
    result = StreamRead(*this, length);
    if (Failed(result)) return result;

    if (length != 0 && HasAny(section, DataSection::Data)) return LoadParsedData(HasAny(skip, SkipType::Data), length);
    if (length != 0 && HasAny(section, DataSection::RawData)) return LoadRawSection(length);
    return Skip(length);
}

// Objects of the data section are read by the version that they were written with.
Result CStream::ReadDataVersion() {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    Result result = StreamRead(*this, major);
    if (!Failed(result)) result = StreamRead(*this, minor);
    if (Failed(result)) return result;
    const std::int64_t version = VersionOf(major, minor);
    return version == Container::kVersionRefused ? kResultMalformed : TakeVersion(version);
}

// A failure before the records ends the load at once; of the records and the digest, that of the digest counts first.
Result CStream::LoadParsedData(bool skip, unsigned int length) {
    const unsigned int digestSize = m_bMd5 ? Container::kDigestSize : 0;
    if (!m_bCompress && length < digestSize) return kResultMalformed;

    BeginLoadMD5();
    Result records = kResultOk;
    // Compressed, a section that is too short for its digest wraps around to a length that is refused.
    const Result result = m_bCompress ? LoadCompressedRecords(skip, length - digestSize, records)
                                      : LoadPlainRecords(skip, length - digestSize, records);
    if (Failed(result)) return result;
    const Result digest = EndLoadMD5();
    return Failed(digest) ? digest : records;
}

Result CStream::LoadPlainRecords(bool skip, unsigned int length, Result& records) {
    const std::uint64_t end = consumed + length;
    const Result result = m_nFileVersion >= Container::kVersionDataTable ? LoadDataVersion() : kResultOk;
    if (Failed(result)) return result;
    records = LoadRecordsUntil(end, skip, length);
    // The digest then tells whether the file was damaged or is one that cannot be loaded.
    if (Failed(records) && IsDigesting()) (void)ReadAndDrop(end);
    return kResultOk;
}

Result CStream::LoadCompressedRecords(bool skip, unsigned int length, Result& records) {
    std::wstring directory;
    Result result = GetSearchDirectory(directory);
    if (Failed(result)) return result;
    CMemoryIoBuffer memory(directory);
    result = LoadCompressData(memory, length);
    if (Failed(result)) return result;

    const CMemoryScope scope(*this, memory);
    const std::uint64_t end = consumed + memory.GetSize();
    result = m_nFileVersion >= Container::kVersionDataTable ? LoadDataVersion() : kResultOk;
    if (Failed(result)) return result;
    records = LoadRecordsUntil(end, skip, 0);
    return kResultOk;
}

namespace {

using Block = std::unique_ptr<std::uint8_t[]>;

// Reads bytes into a block that grows as they come, for their number may be anything. Zeros follow them.
template <typename Reader>
Result ReadBlock(std::uint32_t size, std::size_t padding, Block& block, Reader read) {
    constexpr std::size_t kFirstPiece = 0x100000;
    std::size_t filled = 0;
    std::size_t capacity = std::min<std::size_t>(size, kFirstPiece);
    Block grown(new (std::nothrow) std::uint8_t[capacity + padding]);
    while (grown != nullptr) {
        const Result result = read(grown.get() + filled, capacity - filled);
        if (Failed(result)) return result;
        filled = capacity;
        if (filled == size) {
            std::fill_n(grown.get() + filled, padding, std::uint8_t{0});
            block = std::move(grown);
            return kResultOk;
        }
        capacity = std::min<std::size_t>(size, capacity * 2);
        Block larger(new (std::nothrow) std::uint8_t[capacity + padding]);
        if (larger != nullptr) std::memcpy(larger.get(), grown.get(), filled);
        grown = std::move(larger);
    }
    return kResultOutOfMemory;
}

}  // namespace

Result CStream::LoadCompressData(CMemoryIoBuffer& memory, unsigned long length) {
    if (length > Container::kMaxCompressedSize) return kResultOutOfBounds;
    if (!m_pLzma) return kResultInvalidArgument;

    return ResultOf([&] {
        const auto size = static_cast<std::uint32_t>(length);
        Block block;
        const auto read = [this](void* destination, std::size_t count) { return ReadIn(destination, count, count); };
        Result result = ReadBlock(size, CLzmaInterFace::kSourcePadding, block, read);
        if (Failed(result)) return result;
        std::uint32_t uncompressedSize = 0;
        result = m_pLzma->GetUncompressedSize(block.get(), uncompressedSize);
        if (!Failed(result)) result = memory.CreateBuffer(uncompressedSize);
        if (Failed(result)) return result;
        GetDataCompressStartTime();
        result = m_pLzma->Decompress(block.get(), size, memory.GetMemory(), uncompressedSize, m_pProgress);
        GetDataCompressEndTime();
        return std::min(result, kResultOk);
    });
}

Result CStream::LoadRawSection(unsigned int length) {
    const Result result = LoadRawData(length, m_pRawData);
    if (Failed(result)) return result;
    m_nRawDataSize = length;
    isRawCompressed = m_bCompress;
    isRawDigested = m_bMd5;
    return kResultOk;
}

Result CStream::LoadRawData(unsigned int length, unsigned char*& block) {
    if (length == 0 || m_pIoBuffer == nullptr) return kResultInvalidArgument;

    delete[] std::exchange(block, nullptr);
    Block read;
    // Past the digest: the block has one of its own.
    const Result result = ReadBlock(length, 0, read, [this](void* destination, std::size_t count) {
        const Result piece = m_pIoBuffer->ReadIn(destination, count, count, m_pProgress);
        if (!Failed(piece)) consumed += count;
        return piece;
    });
    if (!Failed(result)) block = read.release();
    return result;
}

}  // namespace KX
