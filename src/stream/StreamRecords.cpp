#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "io/FileStream.h"
#include "io/ResultOf.h"
#include "stream/ContainerFormat.h"
#include "stream/RecordHead.h"
#include "stream/ScopeGuard.h"
#include "stream/Stream.h"
#include "stream/StreamScopes.h"
#include "stream/StreamText.h"
#include "string/Encoding.h"
#include "system/File.h"

// What stands in the sections of a container: objects, alone and in lists.
namespace KX {

namespace {

// The name by which a class is sought that the registry does not know.
constexpr const char* kUnknownClass = "GetVersionMapIDtoRttiReturnNull";

// The lines of CStream::m_strLoadFileLogPath.
class CLoadLog {
public:
    explicit CLoadLog(const std::wstring& path) {
        std::FILE* opened = nullptr;
        if (!path.empty()) (void)FileOpen(&opened, path.c_str(), L"a");
        file.reset(opened);
    }

    void Add(const std::string& className, const CBase& object, std::uint64_t size) {
        if (file == nullptr) return;
        const std::string name = ConvertToString(object.GetName(), kTextLocale);
        (void)std::fprintf(file.get(), "%s, %s, %llu\n", className.c_str(), name.c_str(),
                           static_cast<unsigned long long>(size));
    }

private:
    CFile file;
};

}  // namespace

Result CStream::LoadData(bool skip, unsigned int length) {
    if (m_pIoBuffer == nullptr) return kResultInvalidArgument;
    if (length == 0) return LoadRecordsUntil(kNoEnd, skip, 0);

    const std::uint64_t start = consumed == tableEnd ? consumed - tableSize : consumed;
    return LoadRecordsUntil(start + length, skip, length);
}

Result CStream::LoadRecordsUntil(std::uint64_t end, bool skip, unsigned int total) {
    const CScopeGuard atExit([this] {
        if (m_pProgress != nullptr) m_pProgress->Finish();
    });
    return ResultOf([&] {
        deferred = kResultOk;
        const Result result = LoadRecords(end, skip, total);
        return Failed(result) ? result : LinkLoaded();
    });
}

// Each round reads a record's head at least, so that it ends with the section or with the buffer.
Result CStream::LoadRecords(std::uint64_t end, bool skip, unsigned int total) {
    const CSectionScope scope(*this, end);
    CLoadLog log(m_strLoadFileLogPath);
    RecordHead head;
    while (end == kNoEnd ? m_pIoBuffer != nullptr && !m_pIoBuffer->IsBufferEnd() : consumed < end) {
        const std::uint64_t before = consumed;
        Result result = ReadRecordHead(skip, head);
        if (Failed(result)) return result;
        ReportRecord(head.size, total);
        CPointer<CBase> object;
        result = LoadRecord(object, *head.current, head.size, skip);
        if (Failed(result)) return result;
        if (!object) continue;
        log.Add(head.current->name, *object, consumed - before);
        if (head.isTopLevel) result = Insert(object.Get());
        if (Failed(result)) return result;
    }
    return consumed <= end ? kResultOk : kResultMalformed;
}

// Class and size at once: that there may be a marker before them shows in the first 8 bytes.
Result CStream::ReadRecordHead(bool skip, RecordHead& head) {
    if (m_nFileVersion < Container::kVersionFlags) return ReadTextRecordHead(head);

    constexpr std::size_t kHeadSize = Container::kClassIdSize + Container::kLengthSize;
    unsigned char bytes[sizeof Container::kTopLevelMarker + kHeadSize];
    if (sectionEnd - consumed < kHeadSize) return kResultMalformed;  // or what follows the section would be read
    Result result = ReadIn(bytes, kHeadSize, kHeadSize);
    if (Failed(result)) return result;
    const unsigned char* from = bytes;
    head.isTopLevel = LoadLittleEndian<std::int64_t>(bytes) == Container::kTopLevelMarker;
    if (head.isTopLevel) {
        from += sizeof Container::kTopLevelMarker;
        if (sectionEnd - consumed < sizeof Container::kTopLevelMarker) return kResultMalformed;
        result = ReadIn(bytes + kHeadSize, sizeof Container::kTopLevelMarker, sizeof Container::kTopLevelMarker);
        if (Failed(result)) return result;
    }
    head.size = LoadLittleEndian<std::uint32_t>(from + Container::kClassIdSize);
    return FindClass(LoadLittleEndian<std::int64_t>(from), skip, head);
}

Result CStream::FindClass(long long id, bool skip, RecordHead& head) const {
    ClassEntry& entry = head.EntryOf(id);
    head.current = &entry;
    if (entry.isSet && entry.id == id) return kResultOk;

    const CRtti* const rtti = CRtti::GetVersionMapIDtoRtti(id);
    if (rtti == nullptr && !skip) return kResultMalformed;
    entry = {};
    entry.id = id;
    entry.name = rtti == nullptr ? kUnknownClass : rtti->ClassName();
    entry.create = CBase::GetFactoryFunction(entry.name);
    entry.isSet = true;
    return kResultOk;
}

Result CStream::ReadRecordSize(std::uint32_t& size) {
    return m_nFileVersion >= Container::kVersionRecordSize ? StreamRead(*this, size) : kResultOk;
}

Result CStream::LoadClassName(std::string& name) {
    if (m_nFileVersion < Container::kVersionFlags) return StreamRead(*this, name);

    std::int64_t id = 0;
    const Result result = StreamRead(*this, id);
    if (Failed(result)) return result;
    const CRtti* const rtti = CRtti::GetVersionMapIDtoRtti(id);
    if (rtti == nullptr) return kResultMalformed;
    return ResultOf([&] {
        name = rtti->ClassName();
        return kResultOk;
    });
}

Result CStream::LoadObject(CPointer<CBase>& target, const std::string& className, bool skip, unsigned int total) {
    return ResultOf([&] {
        std::uint32_t size = 0;
        const Result result = ReadRecordSize(size);
        if (Failed(result)) return result;
        ReportRecord(size, total);
        ClassEntry entry;
        entry.create = CBase::GetFactoryFunction(className);
        return LoadRecord(target, entry, size, skip);
    });
}

void CStream::ReportRecord(std::uint32_t size, unsigned int total) const {
    if (m_pProgress == nullptr) return;
    const float fraction = total == 0 ? 1e-7F : static_cast<float>(size) / static_cast<float>(total);
    m_pProgress->Report(std::min(fraction, 1.0F));
}

// The rest of a record, behind its size.
Result CStream::LoadRecord(CPointer<CBase>& target, ClassEntry& entry, std::uint32_t size, bool skip) {
    if (entry.create == nullptr) {
        if (!skip || m_nFileVersion < Container::kVersionRecordSize) return kResultUnknownClass;
        const Result skipped = SkipRecord(size);
        if (!Failed(skipped)) target = nullptr;
        return skipped;
    }
    CPointer<CBase> object;
    Result result = entry.create(object);
    if (Failed(result)) return result;
    if (!object) return kResultFail;
    if (IsOlderThanData(*object, entry)) return kResultTooNew;
    result = LoadCreated(*object);
    if (!Failed(result)) target = std::move(object);
    return result;
}

Result CStream::LoadCreated(CBase& object) {
    const auto giveUp = [](CMemberLink* link) { link->DecrementReferences(); };
    const std::unique_ptr<CMemberLink, decltype(giveUp)> link(new (std::nothrow) CMemberLink);
    if (link == nullptr) return kResultOutOfMemory;
    link->SetOwnerObject(&object);
    const Result result = object.Load(*this, link.get(), m_pProgress);
    return Failed(result) ? result : TakeDeferred();
}

// Whether the data were written by a newer version of the object's class, or of one that it is based on.
bool CStream::IsOlderThanData(const CBase& object, ClassEntry& entry) const {
    const CRtti* const own = object.GetRtti();
    if (own == entry.checked && entry.checkedAt == versionChanges) return false;

    for (const CRtti* rtti = own; rtti != nullptr; rtti = rtti->Base()) {
        const auto found = m_mapVersion.find(rtti);
        if (found != m_mapVersion.end() && rtti->Version().Value() < found->second.Value()) return true;
    }
    entry.checked = own;
    entry.checkedAt = versionChanges;
    return false;
}

// Reads up to there in small pieces: for the digest, or to see that the bytes exist.
Result CStream::ReadAndDrop(std::uint64_t end) {
    unsigned char dropped[0x1000];
    while (consumed < end) {
        const std::uint64_t piece = std::min<std::uint64_t>(end - consumed, sizeof dropped);
        const Result result = ReadIn(dropped, sizeof dropped, piece);
        if (Failed(result)) return result;
    }
    return kResultOk;
}

// What a digest covers has to pass through it, or a good file would not load.
Result CStream::SkipRecord(unsigned int size) {
    if (consumed > sectionEnd || size > sectionEnd - consumed) return kResultMalformed;
    if (IsDigesting() && isCovered) return ReadAndDrop(consumed + size);
    return Skip(size);
}

// Buffers over files skip past their end. Reads the last byte, so that what follows can rely on all of them.
Result CStream::SkipExisting(std::uint64_t size) {
    if (size == 0) return kResultOk;

    const std::uint64_t end = consumed + size;
    const Result result = Skip(static_cast<unsigned int>(size - 1));
    return Failed(result) ? result : ReadAndDrop(end);
}

// Sections of single objects and of lists. Links do not cross them.

Result CStream::LoadThumbnail(bool skip) {
    const CLinkScope scope(m_mapLink);
    std::string className;
    const bool isText = m_nFileVersion < Container::kVersionSections;
    const Result result = isText ? ReadTextThumbnailHead(className) : LoadClassName(className);
    if (result != kResultOk) return result;  // there is none, or it cannot be told
    return LoadObject(m_pThumbnail, className, skip, 0);
}

// The objects of a list, which grows as they come: their number may be anything. A skipped one leaves null.
Result CStream::LoadList(bool skip, CObjectList& list) {
    if (m_pIoBuffer == nullptr) return kResultInvalidArgument;
    std::uint32_t count = 0;
    if (Failed(StreamRead(*this, count)) || count == 0) return kResultMalformed;

    return ResultOf([&] {
        CObjectList().swap(list);
        std::string className;
        for (; count > 0; --count) {
            Result result = LoadClassName(className);
            if (Failed(result)) return result;
            CPointer<CBase> object;
            result = LoadObject(object, className, skip, 0);
            if (Failed(result)) return result;
            list.push_back(std::move(object));
        }
        return kResultOk;
    });
}

Result CStream::LoadDrm(bool skip) {
    const bool isDigested = m_nFileVersion >= Container::kVersionDataTable;
    if (isDigested) BeginLoadMD5();
    const CLinkScope scope(m_mapLink);
    const Result result = LoadList(skip, m_vecDrm);
    return Failed(result) || !isDigested ? result : EndLoadMD5();
}

Result CStream::LoadExtendInfo(bool skip) {
    const CLinkScope scope(m_mapLink);
    const Result result = m_nFileVersion < Container::kVersionSections ? ReadTextExtendInfoHead() : kResultOk;
    if (result != kResultOk) return result;  // there is none, or it cannot be told
    return LoadList(skip, m_vecExtendInfo);
}

Result CStream::LoadHQThumbnailExtendInfo(unsigned int length) {
    if (m_pIoBuffer == nullptr) return kResultInvalidArgument;
    if (m_nFileVersion < Container::kVersionSections) return kResultMalformed;

    const CLinkScope scope(m_mapLink);
    const std::uint64_t end = consumed + length;
    std::uint32_t count = 0;
    if (Failed(StreamRead(*this, count)) || count == 0) return kResultMalformed;
    constexpr std::uint64_t kLeastRecord = 2 * Container::kLengthSize;  // class and size
    if (count * kLeastRecord > length) return kResultMalformed;

    std::string className;
    Result result = LoadClassName(className);
    if (Failed(result)) return result;
    CPointer<CBase> first;
    result = LoadObject(first, className, false, 0);
    if (Failed(result)) return result;
    if (consumed > end) return kResultMalformed;
    result = SkipExisting(end - consumed);
    if (Failed(result)) return result;
    return ResultOf([&] {
        CObjectList list(count);
        list.front() = first;
        m_vecExtendInfo.swap(list);
        return kResultOk;
    });
}

}  // namespace KX
