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

// Sections are measured in 32 bits. False: the sum does not fit, and the total is as it was.
bool AddTo(unsigned int& total, std::uint64_t size) {
    if (size > std::numeric_limits<unsigned int>::max() - total) return false;
    total += static_cast<unsigned int>(size);
    return true;
}

void Raise(unsigned int& max, std::size_t size) {
    max =
        std::max(max, static_cast<unsigned int>(std::min<std::size_t>(size, std::numeric_limits<unsigned int>::max())));
}

// What the class table takes in the file: of an empty one, the count is written all the same.
unsigned int TableBytes(unsigned int versionSize) {
    return std::max(versionSize, static_cast<unsigned int>(Container::kLengthSize));
}

// Null entries have nothing to save.
std::size_t CountObjects(const std::vector<CPointer<CBase>>& list) {
    return list.size() - static_cast<std::size_t>(std::ranges::count(list, nullptr, &CPointer<CBase>::Get));
}

// The count and the objects. kResultNothingDone: there are none.
Result ListSize(const std::vector<CPointer<CBase>>& list, unsigned int& total, unsigned int& max) {
    if (CountObjects(list) == 0) return kResultNothingDone;

    unsigned int sum = total;
    bool fits = AddTo(sum, Container::kLengthSize);
    Raise(max, Container::kLengthSize);
    for (const CPointer<CBase>& object : list) {
        if (!object) continue;
        const unsigned int size = object->GetDiskSize();
        fits = fits && AddTo(sum, size);
        Raise(max, size);
    }
    if (!fits) return kResultOutOfBounds;
    total = sum;
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
    if (!AddTo(total, Container::kLengthSize + entries)) return kResultOutOfBounds;
    Raise(max, Container::kLengthSize);
    Raise(max, entries);
    return kResultOk;
}

unsigned int CStream::ThumbnailSize() const {
    return m_pThumbnail ? m_pThumbnail->GetDiskSize() : 0;
}

Result CStream::DrmSize(unsigned int& total, unsigned int& max) const {
    unsigned int sum = total;
    const Result result = ListSize(m_vecDrm, sum, max);
    if (result != kResultOk) return result;
    if (!AddTo(sum, m_bMd5 ? Container::kDigestSize : 0)) return kResultOutOfBounds;
    total = sum;
    return kResultOk;
}

Result CStream::ExtendInfoSize(unsigned int& total, unsigned int& max) const {
    return ListSize(m_vecExtendInfo, total, max);
}

// Asks every top-level object for what is to be written with it. By index, for objects may insert further ones.
Result CStream::GatherObjects() {
    m_vecOrdered.clear();
    m_mapLink.Clear();
    for (std::size_t i = 0; i < m_vecObject.size(); ++i) {  // NOLINT(modernize-loop-convert)
        Result result = m_vecObject[i]->PrepareSave(*this, 0);
        if (!Failed(result)) result = TakeDeferred();
        if (Failed(result)) return result;
    }
    return kResultOk;
}

Result CStream::DataSize(unsigned int& total, unsigned int& max) {
    return ResultOf([&] {
        const Result result = GatherObjects();
        if (Failed(result)) return result;

        unsigned int sum = total;
        bool fits = AddTo(sum, m_vecObject.size() * sizeof Container::kTopLevelMarker);
        Raise(max, sizeof Container::kTopLevelMarker);
        CObjectListLog ownLog;
        CObjectListLog& log = objectLog == nullptr ? ownLog : *objectLog;
        log.Begin();
        for (std::size_t i = 0; i < m_vecOrdered.size(); ++i) {
            const unsigned int size = m_vecOrdered[i]->GetDiskSize();
            fits = fits && AddTo(sum, size);
            Raise(max, size);
            log.AddObject(i, *m_vecOrdered[i], size);
        }
        unsigned int versionSize = 0;
        if (Failed(VersionSize(versionSize, max))) return kResultOutOfBounds;
        log.AddVersionSize(versionSize);
        fits = fits && AddTo(sum, Container::kLengthSize + std::uint64_t{TableBytes(versionSize)});
        fits = fits && AddTo(sum, m_bMd5 ? Container::kDigestSize : 0);
        if (!fits) return kResultOutOfBounds;
        total = sum;
        return kResultOk;
    });
}

Result CStream::GetDiskUsed(unsigned int& size) {
    return ResultOf([&] {
        SectionSizes sizes;
        unsigned int max = 0;
        Result result = VersionSize(sizes.version, max);
        if (!Failed(result)) result = DrmSize(sizes.drm, max);
        if (!Failed(result)) result = ExtendInfoSize(sizes.extendInfo, max);
        if (!Failed(result)) result = DataSize(sizes.data, max);
        m_vecOrdered.clear();  // whoever saves next gathers them anew, and by then they may be gone
        if (Failed(result)) return result;

        constexpr std::size_t kFields = 7 * Container::kLengthSize;  // five lengths and the version of the data
        std::uint64_t sum = kFields + Container::kHeaderSize + TableBytes(sizes.version);
        sum += std::uint64_t{ThumbnailSize()} + sizes.drm + sizes.extendInfo + sizes.data;
        if (sum > std::numeric_limits<unsigned int>::max()) return kResultOutOfBounds;
        size = static_cast<unsigned int>(sum);
        return kResultOk;
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
    if (m_pProgress != nullptr) m_pProgress->Report(1.0F);  // at the start: a settled rule
    return ResultOf([&] { return SaveSections(section); });
}

bool CStream::HoldsRawData() const {
    return m_pRawData != nullptr && m_nRawDataSize != 0;
}

// What would leave a file that cannot be read is refused before anything is written.
Result CStream::CheckBeforeSave(DataSection section) const {
    if (m_pIoBuffer == nullptr) return kResultInvalidArgument;
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
    if (HasAny(section, kAnyData)) result = WriteData(sizes);
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
    return m_pIoBuffer->SetOutputInfo(total, max);
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

// A length stands before the section already: other bytes than announced would make the file unreadable.
template <typename Writer>
Result CStream::WriteExactly(unsigned int size, Writer writer) {
    const std::uint64_t before = written;
    const Result result = writer();
    if (Failed(result)) return result;
    return written - before == size ? kResultOk : kResultMalformed;
}

Result CStream::WriteHead(DataSection section, const SectionSizes& sizes) {
    Result result = SaveHeader();
    if (Failed(result)) return result;
    m_bMd5Active = true;
    result = StreamWrite(*this, sizes.version);
    if (!Failed(result)) result = SaveDataVersion();
    if (!Failed(result)) result = StreamWrite(*this, sizes.thumbnail);
    if (!Failed(result) && HasAny(section, DataSection::Thumbnail)) {
        result = WriteExactly(sizes.thumbnail, [&] { return SaveThumbnail(); });
    }
    if (!Failed(result)) result = StreamWrite(*this, sizes.drm);
    if (!Failed(result) && HasAny(section, DataSection::Drm))
        result = WriteExactly(sizes.drm, [&] { return SaveDrm(); });
    if (!Failed(result)) result = StreamWrite(*this, sizes.extendInfo);
    if (!Failed(result) && HasAny(section, DataSection::ExtendInfo)) {
        result = WriteExactly(sizes.extendInfo, [&] { return SaveExtendInfo(); });
    }
    if (Failed(result)) return result;

    GetHeadEndTime();
    GetDataStartTime();
    const auto version = static_cast<unsigned int>(HoldsRawData() ? m_nFileVersion : Container::kVersion);
    result = StreamWrite(*this, version / 100);
    if (!Failed(result)) result = StreamWrite(*this, version % 100);
    if (!Failed(result)) result = StreamWrite(*this, sizes.data);
    return result;
}

Result CStream::WriteData(const SectionSizes& sizes) {
    // Straight to the buffer: the block ends with a digest of its own.
    if (HoldsRawData()) return m_pIoBuffer->WriteOut(m_pRawData, m_nRawDataSize, m_pProgress);

    return WriteExactly(sizes.data, [&] {
        BeginSaveMD5();
        const Result result = m_bCompress ? SaveCompressData(m_nCompressedSize) : WriteRecords(sizes.version);
        return Failed(result) ? result : EndSaveMD5();
    });
}

// The uncompressed form of the data section, but for its digest.
Result CStream::WriteRecords(unsigned int versionSize) {
    Result result = StreamWrite(*this, versionSize);
    if (!Failed(result)) result = SaveDataVersion();
    return Failed(result) ? result : SaveData();
}

// Single sections

Result CStream::Announce(unsigned long size, unsigned long max) {
    if (m_pIoBuffer == nullptr) return kResultInvalidArgument;
    return m_bSaving ? kResultOk : m_pIoBuffer->SetOutputInfo(size, max);
}

Result CStream::SaveHeader() {
    Result result = Announce(Container::kHeaderSize, Container::kHeaderSize);
    if (!Failed(result)) result = WriteOut(Container::kMagic.data(), Container::kMagic.size());
    if (!Failed(result)) result = StreamWrite(*this, std::uint32_t{Container::kVersion / 100});
    if (!Failed(result)) result = StreamWrite(*this, std::uint32_t{Container::kVersion % 100});
    if (!Failed(result)) result = StreamWrite(*this, static_cast<std::uint8_t>(m_bCompress));
    if (!Failed(result)) result = StreamWrite(*this, static_cast<std::uint8_t>(m_bMd5));
    return result;
}

Result CStream::SaveDataVersion() {
    unsigned int total = 0;
    unsigned int max = 0;
    Result result = VersionSize(total, max);
    if (!Failed(result)) result = Announce(TableBytes(total), max);
    const auto& registry = CRtti::GetVersionMap();
    if (!Failed(result)) result = StreamWrite(*this, static_cast<std::uint32_t>(registry.size()));
    for (const auto& [id, rtti] : registry) {
        if (!Failed(result)) result = StreamWrite(*this, std::int64_t{id});
        if (!Failed(result)) result = StreamWrite(*this, rtti == nullptr ? 0U : rtti->Version().Value());
    }
    return result;
}

Result CStream::SaveThumbnail() {
    const Result result = Announce(ThumbnailSize(), ThumbnailSize());
    return Failed(result) || !m_pThumbnail ? result : m_pThumbnail->Save(*this, m_pProgress);
}

// The count and the objects of a list that has some. An object may take itself out of the list.
Result CStream::SaveList(const std::vector<CPointer<CBase>>& list) {
    Result result = StreamWrite(*this, static_cast<std::uint32_t>(CountObjects(list)));
    for (std::size_t i = 0; i < list.size() && !Failed(result); ++i) {
        const CPointer<CBase> object = list[i];  // NOLINT(performance-unnecessary-copy-initialization)
        if (object) result = object->Save(*this, m_pProgress);
    }
    return result;
}

Result CStream::SaveDrm() {
    unsigned int total = 0;
    unsigned int max = 0;
    Result result = DrmSize(total, max);
    if (!Failed(result)) result = Announce(total, max);
    if (Failed(result) || total == 0) return result;

    BeginSaveMD5();
    result = SaveList(m_vecDrm);
    return Failed(result) ? result : EndSaveMD5();
}

Result CStream::SaveExtendInfo() {
    unsigned int total = 0;
    unsigned int max = 0;
    Result result = ExtendInfoSize(total, max);
    if (!Failed(result)) result = Announce(total, max);
    return Failed(result) || total == 0 ? result : SaveList(m_vecExtendInfo);
}

Result CStream::SaveData() {
    const CScopeGuard atExit([this] { m_vecOrdered.clear(); });
    return ResultOf([&] {
        if (!m_bSaving) {
            unsigned int total = 0;
            unsigned int max = 0;
            Result result = DataSize(total, max);
            if (!Failed(result)) result = Announce(total, max);
            if (Failed(result)) return result;
        }
        return SaveObjects();
    });
}

Result CStream::SaveObjects() {
    if (m_pIoBuffer == nullptr) return kResultInvalidArgument;

    CObjectListLog ownLog;
    CObjectListLog& log = objectLog == nullptr ? ownLog : *objectLog;
    log.Append();
    unsigned long before = log.IsOpen() ? m_pIoBuffer->GetWriteSize() : 0;
    for (std::size_t i = 0; i < m_vecOrdered.size(); ++i) {
        CBase* const object = m_vecOrdered[i];
        Result result = IsTopLevel(object) ? StreamWrite(*this, Container::kTopLevelMarker) : kResultOk;
        if (!Failed(result)) result = object->Save(*this, m_pProgress);
        if (Failed(result)) return result;
        if (!log.IsOpen()) continue;
        const unsigned long after = m_pIoBuffer->GetWriteSize();
        log.AddWrittenSize(i, after - before);
        before = after;
    }
    return kResultOk;
}

Result CStream::PrepareCompressData(unsigned int& size, unsigned int versionSize) {
    if (!m_pLzma) return kResultInvalidArgument;

    CMemoryIoBuffer memory;
    Result result = memory.SetOutputInfo(size, size);
    if (Failed(result)) return result;
    {
        const CMemoryScope scope(*this, memory);
        const CScopeGuard atExit([this, wasSaving = m_bSaving] { m_bSaving = wasSaving; });
        m_bSaving = true;  // nothing is announced to the memory
        result = WriteRecords(versionSize);
    }
    if (Failed(result)) return result;

    FreeCompressed();
    GetDataCompressStartTime();
    // That the result is not looked at is a settled rule.
    (void)m_pLzma->Compress(memory.GetMemory(), static_cast<std::uint32_t>(memory.GetWriteSize()), m_pCompressed,
                            m_nCompressedSize, m_pProgress, m_strName.c_str());
    GetDataCompressEndTime();
    if (m_pCompressed == nullptr) m_nCompressedSize = 0;
    unsigned int sum = m_nCompressedSize;
    if (!AddTo(sum, m_bMd5 ? Container::kDigestSize : 0)) return kResultOutOfBounds;
    size = sum;
    return kResultOk;
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
