#include <algorithm>
#include <cstdint>
#include <limits>

#include "io/ResultOf.h"
#include "stream/ContainerFormat.h"
#include "stream/ObjectListLog.h"
#include "stream/ScopeGuard.h"
#include "stream/Stream.h"
#include "stream/StreamScopes.h"
#include "stream/StreamText.h"

namespace KX {

// The lengths of the sections as the file has them.
struct CStream::SectionSizes {
    unsigned int version = 0;
    unsigned int thumbnail = 0;
    unsigned int drm = 0;
    unsigned int extendInfo = 0;
    unsigned int data = 0;
};

namespace {

constexpr DataSection kAnyData = DataSection::Data | DataSection::RawData;

// Sections are measured in 32 bits, as the file has them.
Result SetTotal(unsigned int& total, std::uint64_t sum) {
    if (sum > std::numeric_limits<unsigned int>::max()) return kResultOutOfBounds;
    total = static_cast<unsigned int>(sum);
    return kResultOk;
}

void Raise(unsigned int& max, std::size_t size) {
    max =
        std::max(max, static_cast<unsigned int>(std::min<std::size_t>(size, std::numeric_limits<unsigned int>::max())));
}

// An application may have set any version since the raw data were loaded.
bool IsReadable(int version) {
    return version >= 0 && version <= Container::kVersion && version != Container::kVersionRefused;
}

// What the class table takes in the file: of an empty one, the count is written all the same.
unsigned int TableBytes(unsigned int versionSize) {
    return std::max(versionSize, static_cast<unsigned int>(Container::kLengthSize));
}

// Null entries have nothing to save.
std::size_t CountObjects(const CObjectList& list) {
    return list.size() - static_cast<std::size_t>(std::ranges::count(list, nullptr, &CPointer<CBase>::Get));
}

// Adds the count and the objects. kResultNothingDone: there are none.
Result AddList(const CObjectList& list, std::uint64_t& sum, unsigned int& max) {
    if (CountObjects(list) == 0) return kResultNothingDone;

    sum += Container::kLengthSize;
    Raise(max, Container::kLengthSize);
    for (std::size_t i = 0; i < list.size(); ++i) {  // NOLINT(modernize-loop-convert): it may change
        const CPointer<CBase> object = list[i];      // NOLINT(performance-unnecessary-copy-initialization)
        if (!object) continue;
        const unsigned int size = object->GetDiskSize();
        sum += size;
        Raise(max, size);
    }
    return kResultOk;
}

}  // namespace

// Sizes

unsigned int CStream::HeaderSize() const {
    return Container::kHeaderSize;
}

Result CStream::VersionSize(unsigned int& total, unsigned int& max) const {
    const std::size_t entries = CRtti::GetVersionMap().size() * Container::kClassEntrySize;
    if (entries == 0) return kResultNothingDone;
    Raise(max, Container::kLengthSize);
    Raise(max, entries);
    return SetTotal(total, std::uint64_t{total} + Container::kLengthSize + entries);
}

unsigned int CStream::ThumbnailSize() const {
    const CPointer<CBase> thumbnail = m_pThumbnail;
    return thumbnail ? thumbnail->GetDiskSize() : 0;
}

Result CStream::DrmSize(unsigned int& total, unsigned int& max) const {
    return ResultOf([&] {
        std::uint64_t sum = total;
        const Result result = AddList(m_vecDrm, sum, max);
        return result == kResultOk ? SetTotal(total, sum + DigestSize()) : result;
    });
}

Result CStream::ExtendInfoSize(unsigned int& total, unsigned int& max) const {
    return ResultOf([&] {
        std::uint64_t sum = total;
        const Result result = AddList(m_vecExtendInfo, sum, max);
        return result == kResultOk ? SetTotal(total, sum) : result;
    });
}

unsigned int CStream::DigestSize() const {
    return m_bMd5 ? Container::kDigestSize : 0;
}

// Asks every top-level object for what is to be written with it. By index, for objects may insert further ones.
Result CStream::GatherObjects() {
    m_vecOrdered.clear();
    m_mapLink.Clear();
    deferred = kResultOk;
    for (std::size_t i = 0; i < m_vecObject.size(); ++i) {  // NOLINT(modernize-loop-convert)
        const CPointer<CBase> object = m_vecObject[i];
        Result result = object->PrepareSave(*this, 0);
        if (!Failed(result)) result = TakeDeferred();
        if (Failed(result)) return result;
    }
    return kResultOk;
}

Result CStream::DataSize(unsigned int& total, unsigned int& max) {
    const Result result = ResultOf([&] {
        const Result gathered = GatherObjects();
        return Failed(gathered) ? gathered : MeasureObjects(total, max);
    });
    if (Failed(result)) m_vecOrdered.clear();  // what is written next is not to be a part of them
    return result;
}

Result CStream::MeasureObjects(unsigned int& total, unsigned int& max) {
    std::uint64_t sum = total + m_vecObject.size() * sizeof Container::kTopLevelMarker;
    Raise(max, sizeof Container::kTopLevelMarker);
    CObjectListLog ownLog;
    CObjectListLog& log = objectLog == nullptr ? ownLog : *objectLog;
    log.Begin();
    const std::size_t count = m_vecOrdered.size();
    for (std::size_t i = 0; i < count; ++i) {
        CBase* const object = m_vecOrdered[i];
        const unsigned int size = object->GetDiskSize();
        if (m_vecOrdered.size() != count) return kResultMalformed;  // an object has changed what is to be saved
        sum += size;
        Raise(max, size);
        log.AddObject(*object, size);
    }
    unsigned int versionSize = 0;
    const Result result = VersionSize(versionSize, max);
    if (Failed(result)) return result;
    log.AddVersionSize(versionSize);
    return SetTotal(total, sum + Container::kLengthSize + TableBytes(versionSize) + DigestSize());
}

Result CStream::GetDiskUsed(unsigned int& size) {
    return ResultOf([&] {
        SectionSizes sizes;
        unsigned int max = 0;
        Result result = VersionSize(sizes.version, max);
        if (!Failed(result)) result = DrmSize(sizes.drm, max);
        if (!Failed(result)) result = ExtendInfoSize(sizes.extendInfo, max);
        if (!Failed(result)) result = DataSize(sizes.data, max);
        // Whoever saves gathers them anew, and by then they may be gone; but a save that runs needs them still.
        if (objectLog == nullptr) m_vecOrdered.clear();
        if (Failed(result)) return result;

        constexpr std::size_t kFields = 7 * Container::kLengthSize;  // five lengths and the version of the data
        std::uint64_t sum = kFields + Container::kHeaderSize + TableBytes(sizes.version);
        sum += std::uint64_t{ThumbnailSize()} + sizes.drm + sizes.extendInfo + sizes.data;
        return SetTotal(size, sum);
    });
}

// The whole save

Result CStream::Save(DataSection section) {
    CObjectListLog log;
    objectLog = &log;
    const CScopeGuard atExit([this] {
        objectLog = nullptr;
        m_vecOrdered.clear();  // the objects belong to the caller, and may be gone before the next call
        if (m_pProgress != nullptr) m_pProgress->Finish();
    });
    return ResultOf([&] {
        if (m_pProgress != nullptr) m_pProgress->Report(1.0F);  // at the start: a settled rule
        return SaveSections(section);
    });
}

bool CStream::HoldsRawData() const {
    return m_pRawData != nullptr && m_nRawDataSize != 0;
}

// What would leave a file that cannot be read is refused before anything is written.
Result CStream::CheckBeforeSave(DataSection section) const {
    if (m_pIoBuffer == nullptr) return kResultInvalidArgument;
    if (HoldsRawData() && !IsReadable(m_nFileVersion)) return kResultInvalidArgument;
    if (!HasAny(section, kAnyData)) return kResultOk;

    const bool isReady =
        HoldsRawData() ? isRawCompressed == m_bCompress && isRawDigested == m_bMd5 : !m_bCompress || m_pLzma;
    return isReady ? kResultOk : kResultInvalidArgument;
}

Result CStream::SaveSections(DataSection section) {
    if (m_fnDrmProcessBeforeSave) {
        const Result result = m_fnDrmProcessBeforeSave(*this);
        if (Failed(result)) return result;
    }
    Result result = CheckBeforeSave(section);
    if (Failed(result)) return result;

    InitializeCompressInf();
    GetHeadStartTime();
    m_bSaving = true;  // until a save succeeds: a settled rule
    deferred = kResultOk;
    SectionSizes sizes;
    result = MeasureSections(section, sizes);
    if (Failed(result)) return result;
    GetHeadStartTime();
    result = WriteHead(section, sizes);
    if (Failed(result)) return result;
    GetHeadEndTime();
    GetDataStartTime();
    result = WriteData(section, sizes);
    if (Failed(result)) return result;

    GetDataEndTime();
    ShowSaveTimeAndSize();
    m_bSaving = false;
    return kResultOk;
}

Result CStream::MeasureSections(DataSection section, SectionSizes& sizes) {
    unsigned int max = HeaderSize();
    Result result = VersionSize(sizes.version, max);
    if (HasAny(section, DataSection::Thumbnail)) {
        sizes.thumbnail = ThumbnailSize();
        Raise(max, sizes.thumbnail);
    }
    if (!Failed(result) && HasAny(section, DataSection::Drm)) result = DrmSize(sizes.drm, max);
    if (!Failed(result) && HasAny(section, DataSection::ExtendInfo)) result = ExtendInfoSize(sizes.extendInfo, max);
    if (Failed(result)) return result;

    constexpr unsigned long kLengths = 4 * Container::kLengthSize;  // class table, thumbnail, drm, extend info
    unsigned long total = HeaderSize() + kLengths + TableBytes(sizes.version);
    total += static_cast<unsigned long>(sizes.thumbnail) + sizes.drm + sizes.extendInfo;
    GetHeadEndTime();
    GetHeadSize(total + 2 * Container::kLengthSize);
    GetDataStartTime();
    if (HasAny(section, kAnyData)) {
        result = MeasureData(sizes, max);
        if (Failed(result)) return result;
        GetDataSize(sizes.data);
    }
    GetDataEndTime();
    total += 3 * Container::kLengthSize + sizes.data;  // version and length of the data
    return m_pIoBuffer == nullptr ? kResultInvalidArgument : m_pIoBuffer->SetOutputInfo(total, max);
}

Result CStream::MeasureData(SectionSizes& sizes, unsigned int& max) {
    if (HoldsRawData()) {
        sizes.data = m_nRawDataSize;
        return kResultOk;
    }
    const Result result = DataSize(sizes.data, max);
    if (Failed(result) || !m_bCompress) return result;
    return PrepareCompressData(sizes.data, sizes.version);
}

// A length and, if it is asked for, the section. Other bytes than the length says would make the file unreadable.
template <typename Writer>
Result CStream::WriteSection(unsigned int size, bool isAsked, Writer writer) {
    Result result = StreamWrite(*this, size);
    if (Failed(result) || !isAsked) return result;
    const std::uint64_t before = written;
    result = writer();
    if (Failed(result)) return result;
    return written - before == size ? kResultOk : kResultMalformed;
}

Result CStream::WriteHead(DataSection section, const SectionSizes& sizes) {
    Result result = SaveHeader();
    if (Failed(result)) return result;
    m_bMd5Active = true;
    result = WriteTable(sizes.version);
    if (Failed(result)) return result;
    result = WriteSection(sizes.thumbnail, HasAny(section, DataSection::Thumbnail), [&] { return SaveThumbnail(); });
    if (Failed(result)) return result;
    result = WriteSection(sizes.drm, HasAny(section, DataSection::Drm), [&] { return SaveDrm(); });
    if (Failed(result)) return result;
    return WriteSection(sizes.extendInfo, HasAny(section, DataSection::ExtendInfo), [&] { return SaveExtendInfo(); });
}

Result CStream::WriteData(DataSection section, const SectionSizes& sizes) {
    const auto version = static_cast<unsigned int>(HoldsRawData() ? m_nFileVersion : Container::kVersion);
    Result result = StreamWrite(*this, version / 100);
    if (!Failed(result)) result = StreamWrite(*this, version % 100);
    if (Failed(result)) return result;
    return WriteSection(sizes.data, HasAny(section, kAnyData), [&] {
        if (HoldsRawData()) return WriteRawSection();
        BeginSaveMD5();
        result = m_bCompress ? SaveCompressData(m_nCompressedSize) : WriteRecords(sizes.version);
        return Failed(result) ? result : EndSaveMD5();
    });
}

// Straight to the buffer: the block ends with a digest of its own.
Result CStream::WriteRawSection() {
    if (m_pIoBuffer == nullptr) return kResultInvalidArgument;
    const Result result = m_pIoBuffer->WriteOut(m_pRawData, m_nRawDataSize, m_pProgress);
    if (!Failed(result)) written += m_nRawDataSize;
    return result;
}

// The uncompressed form of the data section, but for its digest.
Result CStream::WriteRecords(unsigned int versionSize) {
    const Result result = WriteTable(versionSize);
    return Failed(result) ? result : SaveData();
}

// The class table, which stands behind its length even when that is 0. A class that was registered meanwhile would
// make it another one.
Result CStream::WriteTable(unsigned int versionSize) {
    const Result result = StreamWrite(*this, versionSize);
    if (Failed(result)) return result;
    const std::uint64_t before = written;
    const Result saved = SaveDataVersion();
    if (Failed(saved)) return saved;
    return written - before == TableBytes(versionSize) ? kResultOk : kResultMalformed;
}

// Single sections

// Unless a save has announced the whole.
template <typename Measure>
Result CStream::AnnounceSection(Measure measure) {
    if (m_pIoBuffer == nullptr) return kResultInvalidArgument;
    if (m_bSaving) return kResultOk;
    unsigned int total = 0;
    unsigned int max = 0;
    const Result result = measure(total, max);
    if (Failed(result)) return result;
    return m_pIoBuffer == nullptr ? kResultInvalidArgument : m_pIoBuffer->SetOutputInfo(total, max);
}

Result CStream::SaveHeader() {
    Result result = AnnounceSection([](unsigned int& total, unsigned int& max) {
        total = max = Container::kHeaderSize;
        return kResultOk;
    });
    if (!Failed(result)) result = WriteOut(Container::kMagic.data(), Container::kMagic.size());
    if (!Failed(result)) result = StreamWrite(*this, std::uint32_t{Container::kVersion / 100});
    if (!Failed(result)) result = StreamWrite(*this, std::uint32_t{Container::kVersion % 100});
    if (!Failed(result)) result = StreamWrite(*this, static_cast<std::uint8_t>(m_bCompress));
    if (!Failed(result)) result = StreamWrite(*this, static_cast<std::uint8_t>(m_bMd5));
    return result;
}

Result CStream::SaveDataVersion() {
    Result result = AnnounceSection([this](unsigned int& total, unsigned int& max) {
        const Result measured = VersionSize(total, max);
        total = TableBytes(total);
        return measured;
    });
    const auto& registry = CRtti::GetVersionMap();
    if (!Failed(result)) result = StreamWrite(*this, static_cast<std::uint32_t>(registry.size()));
    if (Failed(result)) return result;
    for (const auto& [id, rtti] : registry) {
        unsigned char entry[Container::kClassEntrySize];
        StoreLittleEndian(entry, std::int64_t{id});
        StoreLittleEndian(entry + Container::kClassIdSize, rtti == nullptr ? 0U : rtti->Version().Value());
        result = WriteOut(entry, sizeof entry);
        if (Failed(result)) return result;
    }
    return kResultOk;
}

Result CStream::SaveThumbnail() {
    return ResultOf([&] {
        const CPointer<CBase> thumbnail = m_pThumbnail;
        const Result result = AnnounceSection([this](unsigned int& total, unsigned int& max) {
            total = max = ThumbnailSize();
            return kResultOk;
        });
        return Failed(result) || !thumbnail ? result : thumbnail->Save(*this, m_pProgress);
    });
}

// The count and the objects of a list that has some. An object may take itself out of the list.
Result CStream::SaveList(const CObjectList& list) {
    return ResultOf([&] {
        Result result = StreamWrite(*this, static_cast<std::uint32_t>(CountObjects(list)));
        for (std::size_t i = 0; i < list.size() && !Failed(result); ++i) {
            const CPointer<CBase> object = list[i];  // NOLINT(performance-unnecessary-copy-initialization)
            if (object) result = object->Save(*this, m_pProgress);
        }
        return result;
    });
}

Result CStream::SaveDrm() {
    Result result = AnnounceSection([this](unsigned int& total, unsigned int& max) { return DrmSize(total, max); });
    if (Failed(result) || CountObjects(m_vecDrm) == 0) return result;

    BeginSaveMD5();
    result = SaveList(m_vecDrm);
    return Failed(result) ? result : EndSaveMD5();
}

Result CStream::SaveExtendInfo() {
    const Result result =
        AnnounceSection([this](unsigned int& total, unsigned int& max) { return ExtendInfoSize(total, max); });
    return Failed(result) || CountObjects(m_vecExtendInfo) == 0 ? result : SaveList(m_vecExtendInfo);
}

Result CStream::SaveData() {
    const CScopeGuard atExit([this] { m_vecOrdered.clear(); });
    return ResultOf([&] {
        // A save that failed leaves no objects behind, and a lone writer after it gathers them anew.
        const bool isLeftover = m_bSaving && objectLog == nullptr && m_vecOrdered.empty();
        unsigned int leftover = 0;
        unsigned int largest = 0;
        Result result = isLeftover ? DataSize(leftover, largest) : kResultOk;
        if (!Failed(result))
            result = AnnounceSection([this](unsigned int& size, unsigned int& max) { return DataSize(size, max); });
        if (Failed(result)) return result;
        return SaveObjects();
    });
}

Result CStream::SaveObjects() {
    CObjectListLog ownLog;
    CObjectListLog& log = objectLog == nullptr ? ownLog : *objectLog;
    log.Append();
    unsigned long before = log.IsOpen() ? m_pIoBuffer->GetWriteSize() : 0;
    const std::size_t count = m_vecOrdered.size();
    for (std::size_t i = 0; i < count; ++i) {
        CBase* const object = m_vecOrdered[i];
        Result result = IsTopLevel(object) ? StreamWrite(*this, Container::kTopLevelMarker) : kResultOk;
        if (!Failed(result)) result = object->Save(*this, m_pProgress);
        if (Failed(result)) return result;
        if (m_pIoBuffer == nullptr) return kResultInvalidArgument;
        if (m_vecOrdered.size() != count) return kResultMalformed;  // an object has changed what is to be saved
        if (!log.IsOpen()) continue;
        const unsigned long after = m_pIoBuffer->GetWriteSize();
        log.AddWrittenSize(after - before);
        before = after;
    }
    return kResultOk;
}

Result CStream::PrepareCompressData(unsigned int& size, unsigned int versionSize) {
    if (!m_pLzma) return kResultInvalidArgument;

    return ResultOf([&] {
        CMemoryIoBuffer memory;
        Result result = memory.SetOutputInfo(size, size);
        if (!Failed(result)) result = WriteInto(memory, versionSize);
        if (Failed(result)) return result;

        FreeCompressed();
        GetDataCompressStartTime();
        // That the result is not looked at is a settled rule.
        (void)m_pLzma->Compress(memory.GetMemory(), static_cast<std::uint32_t>(memory.GetWriteSize()), m_pCompressed,
                                m_nCompressedSize, m_pProgress, m_strName.c_str());
        GetDataCompressEndTime();
        if (m_pCompressed == nullptr) m_nCompressedSize = 0;
        if (m_nCompressedSize > Container::kMaxCompressedSize) return kResultOutOfBounds;  // could not be loaded
        return SetTotal(size, std::uint64_t{m_nCompressedSize} + DigestSize());
    });
}

// Nothing is announced to the memory, which would begin anew.
Result CStream::WriteInto(CMemoryIoBuffer& memory, unsigned int versionSize) {
    const CMemoryScope scope(*this, memory);
    const CScopeGuard atExit([this, wasSaving = m_bSaving] { m_bSaving = wasSaving; });
    m_bSaving = true;
    return WriteRecords(versionSize);
}

Result CStream::SaveCompressData(unsigned int /*size*/) {
    const Result result = m_nCompressedSize == 0 ? kResultOk : WriteOut(m_pCompressed, m_nCompressedSize);
    FreeCompressed();
    return result;
}

Result CStream::SaveRawData(unsigned int size, unsigned char* block) {
    return WriteOut(block, size);
}

}  // namespace KX
