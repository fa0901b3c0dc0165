#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "io/Md5.h"
#include "io/MemoryIoBuffer.h"
#include "stream/ContainerFormat.h"
#include "stream/HashIndex.h"
#include "stream/IoStream.h"
#include "stream/LinkIndex.h"
#include "stream/LzmaInterFace.h"

namespace KX {

class CObjectListLog;

// Saves a graph of objects into a container and loads it back, whole or by section (docs/container-format.md), through
// any buffer. At its bottom it is a pipe of bytes that computes a digest of what passes.
//
// Use:       set a buffer, then Insert the top-level objects and Save, or Load. A buffer must be set before any IO, and
//            again after LoadFileStream and SaveFileStream, which leave the stream bound to one that is gone.
// Ownership: counts the objects it is given. Not the buffer and the progress.
// Errors:    Result codes. What was loaded before a failure stays in the stream. Nothing throws, but that memory may run
//            out in GetMd5String, and what the thumbnail throws in ThumbnailSize. What the buffer, an object or the
//            compressor reports is handed up unchanged. Besides:
//              kResultOutOfMemory      memory ran out
//              kResultInvalidArgument  no buffer, no compressor where one is needed, a null object
//              kResultOutOfBounds      an index past the end; a section too large for the format
//              kResultMalformed        the bytes are no container, or contradict themselves; an object that is saved
//                                      writes other than it announced, or changes what is being saved
//              kResultUnknownClass     a class has no creator, and such objects are not to be skipped
//              kResultTooNew           the file, or a class in it, is newer than this program
//              kResultDigestMismatch   the bytes were damaged
//              kResultFail             an object or a hook has thrown an exception
// Cost:      membership and links by index: each in constant time for any number of objects; Remove is linear.
// Threads:   no lock inside; one thread at a time.
class CStream : public CBaseStream {
public:
    CStream() = default;
    ~CStream() override;

    // ---- The pipe ----

    Result SetIoBuffer(CIoBuffer* buffer) override;
    Result SetProgress(CProgress* progress) override;
    Result ReadIn(void* destination, unsigned long capacity, unsigned long count) override;
    // The digest takes the bytes also where writing them fails.
    Result WriteOut(const void* source, unsigned long count) override;
    // Leaves the bytes out of the digest.
    Result Skip(unsigned int count) override;

    Result GetSearchDirectory(std::wstring& directory) const override;

    // 306 until a load finds another one; then that of the data, by which objects tell older layouts.
    int FileVersion() const override;
    virtual void SetFileVersion(const CVersion& version);

    // ---- Objects by identifier ----

    // False: an object of that identifier is there already, and nothing was changed.
    bool InsertInLinkMap(COrcaID id, CMemberLink* link) override;
    // The owner of the link of that identifier, or null. The stream keeps it until the link map is emptied: before a
    // save, around each section, and by RemoveAll.
    CBase* GetObjectFromLinkMap(COrcaID id) override;
    // Appends to the objects that are to be written; the same object twice is written twice. The object must live until
    // the save has ended. A failure also ends the save.
    Result InsertInOrdered(CBase* object) override;

    // Notes that the object refers to an identifier that no loaded object has.
    void LogMissingLink(COrcaID id, CBase* referrer) override;
    // All that was noted so far. Neither Load nor RemoveAll empties it.
    CMissingLinkMap& GetMissingLink() override;
    // Adds, for each reference of the loaded objects that names none of them, the referring object.
    Result CollectMissingLink(CMissingLinkMap& out);
    // Link, or PostLink, for each owner in the order of identifiers; ends at the first failure. Owners that are linked
    // already are not linked again.
    Result LinkProcess(CLinkMap& links);
    Result PostLinkProcess(CLinkMap& links);

    // ---- Class versions, as the loaded file has them ----

    // 0 for a class without an entry; ask HasVersion first.
    CVersion Version(const CRtti* rtti) const override;
    // Adds or replaces.
    Result AddVersion(const CRtti* rtti, CVersion version) override;
    // Whether the class has an entry.
    bool HasVersion(const CRtti* rtti) const override;
    // Removes all entries.
    void ClearVersion() override;

    // ---- Thumbnail, drm and extend info: kept by RemoveAll ----

    // Null for none.
    Result SetThumbnail(CBase* object) override;
    CBase* GetThumbnail() const override;

    // Lists may hold an object twice, and null, which is not saved. The first equal entry is removed; that there is none
    // is no failure. Entries past the end are null.
    Result AddDrm(CBase* object) override;
    Result RemoveDrm(CBase* object) override;
    CBase* GetDrm(unsigned long index) const override;
    unsigned long GetDrmCount() const override;
    Result ClearDrm() override;

    // As for the drm list.
    Result AddExtendInfo(CBase* object) override;
    // Before the entry of that index. kResultOutOfBounds: past the end.
    Result InsertExtendInfo(CBase* object, unsigned long index) override;
    // As for the drm list.
    Result RemoveExtendInfo(CBase* object) override;
    // kResultOutOfBounds: no such entry.
    Result RemoveExtendInfoAt(unsigned long index) override;
    // As for the drm list.
    CBase* GetExtendInfo(unsigned long index) const override;
    unsigned long GetExtendInfoCount() const override;

    // ---- Top-level objects ----

    // kResultNothingDone: is in the list already. kResultInvalidArgument: null.
    Result Insert(CBase* object) override;
    // As Insert, also where the object stands at that very index. kResultInvalidArgument: no such entry.
    Result SetObjectAt(unsigned int index, CBase* object) override;
    // kResultNothingDone: is not in the list. kResultInvalidArgument: null.
    Result Remove(CBase* object) override;
    // Releases the top-level objects, the class versions, the links and a raw data section. Keeps thumbnail, drm, extend
    // info and missing links.
    Result RemoveAll() override;
    // How many there are.
    unsigned int GetObjectCount() const override;
    // Null past the end.
    CBase* GetObjectAt(unsigned int index) const override;
    // Whether the object is in the list.
    bool IsTopLevel(CBase* object) override;

    // ---- Load and save ----

    // Replaces what the stream holds, but for thumbnail, drm and extend info that are not asked for or not there:
    // set or clear them before a stream is used again. Reads from where the buffer stands to the end of the container.
    Result Load(SkipType skip, DataSection section) override;
    // Writes the sections asked for, the others empty; a raw data section that was loaded as it was, in place of objects
    // inserted since. Announces the whole size to the buffer first. Where it ends with a failure, section writers
    // announce nothing until a save succeeds.
    Result Save(DataSection section) override;
    // The bytes that Save of all sections would write without compression and without raw data. Runs PrepareSave.
    Result GetDiskUsed(unsigned int& size) override;

    // The time of the file, which the stream only keeps: seconds since 1970.
    void SetFileModifyTime(long long seconds) override;
    long long GetFileModifyTime() override;

    // Whether Save compresses the data section: on at first. A load sets it to what it finds.
    void SetCompress(bool isOn);
    // Whether there are digests: on at first. A load sets it to what it finds.
    void SetMd5(bool isOn);
    // Counted; null for none. Needed to save compressed, and to load what is.
    Result SetLzmaInterface(CLzmaInterFace* compressor);

    // Called at the start of each save, and at the end of each load that succeeded; a negative result ends it.
    static std::function<Result(CStream&)> m_fnDrmProcessBeforeSave;
    static std::function<Result(CStream&)> m_fnDrmProcessAfterLoad;
    // Where not empty: the file to which the load of a data section appends a line per object.
    static std::wstring m_strLoadFileLogPath;

    // ---- Digest, for those who drive single sections ----

    // kResultNothingDone from any of these: the digest is off.
    Result BeginLoadMD5();
    Result BeginSaveMD5();
    // Writes the 32 characters of the digest of all bytes since it began.
    Result EndSaveMD5();
    // Reads 32 characters and compares. kResultDigestMismatch: they differ.
    Result EndLoadMD5();
    // Empty while the digest is off.
    std::string GetMd5String() const;
    // As MD5::GettotalInputBits.
    unsigned long long GetMd5TotalInputBits() const;

    // ---- Single sections, saved. Each announces its size to the buffer, unless called by Save ----

    // Each adds the size of its section to the total and raises `max` to its largest piece.
    // kResultNothingDone: the section is empty, nothing was added.
    unsigned int HeaderSize() const;
    Result VersionSize(unsigned int& total, unsigned int& max) const;
    unsigned int ThumbnailSize() const;
    Result DrmSize(unsigned int& total, unsigned int& max) const;
    Result ExtendInfoSize(unsigned int& total, unsigned int& max) const;
    // Also gathers the objects that SaveData and PrepareCompressData write; they must live until then.
    Result DataSize(unsigned int& total, unsigned int& max);

    // Each writes its section.
    Result SaveHeader();
    Result SaveDataVersion();
    Result SaveThumbnail();
    Result SaveDrm();
    Result SaveExtendInfo();
    Result SaveData();
    // Compresses the data section of `size` bytes that DataSize found; `versionSize` is that of VersionSize. `size`
    // becomes what the section takes in the file. kResultOutOfBounds: more than can be loaded.
    Result PrepareCompressData(unsigned int& size, unsigned int versionSize);
    // Writes and frees what was prepared; the argument is not looked at.
    Result SaveCompressData(unsigned int size);
    // Writes so many bytes of the block, a whole section, as they are.
    Result SaveRawData(unsigned int size, unsigned char* block);

    // ---- Single sections, loaded. The length field before a section has been read already ----

    // Each reads its section; LoadV30 all that follows the header in a file before version 3.01. `skip`: an object whose
    // class has no creator is passed over.
    Result LoadV30(SkipType skip, DataSection section);
    Result LoadHeader();
    Result LoadDataVersion();
    Result LoadThumbnail(bool skip);
    Result LoadDrm(bool skip);
    Result LoadExtendInfo(bool skip);
    // `length` is that of the section.
    Result LoadHQThumbnailExtendInfo(unsigned int length);
    // Reads records up to the end of a section of `length` bytes, to which the class table belongs that LoadDataVersion
    // has just read; a length of 0 means: up to the end of the buffer. Then links.
    Result LoadData(bool skip, unsigned int length);
    // Reads the section and unpacks it into the buffer, which LoadData can then read.
    Result LoadCompressData(CMemoryIoBuffer& memory, unsigned long length);
    // The caller frees the block by delete[]; one that it brings is freed.
    Result LoadRawData(unsigned int length, unsigned char*& block);
    // Reads a class identifier and finds its class.
    Result LoadClassName(std::string& name);
    // `total` is the size to which the progress relates; may be 0. The target stays as it was on failure, and becomes
    // null where the object was skipped.
    Result LoadObject(CPointer<CBase>& target, const std::string& className, bool skip, unsigned int total);

    // Hooks for a derived stream that times and measures. They do nothing and return 1.
    virtual Result GetHeadSize(unsigned long size);
    virtual Result GetHeadStartTime();
    virtual Result GetHeadEndTime();
    virtual Result GetDataSize(unsigned long size);
    virtual Result GetDataStartTime();
    virtual Result GetDataEndTime();
    virtual Result GetDataCompressStartTime();
    virtual Result GetDataCompressEndTime();
    virtual Result InitializeCompressInf();
    virtual Result ShowSaveTimeAndSize();
    virtual Result ShowLoadTimeAndSize();

private:
    static constexpr std::uint64_t kNoEnd = UINT64_MAX;

    class CLinkScope;
    class CSectionScope;
    class CMemoryScope;
    struct SectionSizes;
    struct ClassEntry;
    struct RecordHead;

    // The digest takes what passes.
    bool IsDigesting() const { return m_bMd5 && m_bMd5Active; }
    void Digest(const void* bytes, unsigned long count);
    // A failure met by an operation that has no result to tell it by.
    Result TakeDeferred();

    Result LinkOne(CMemberLink& link);
    Result PostLinkAll(const CLinkIndex::List& links);
    Result PostLinkAll(CObjectList& owners);
    Result LinkLoaded();
    void ReleaseLoaded();

    void FreeRawData();
    void FreeCompressed();

    template <typename Measure>
    Result AnnounceSection(Measure measure);
    bool HoldsRawData() const;
    Result CheckBeforeSave(DataSection section) const;
    Result SaveSections(DataSection section);
    Result MeasureSections(DataSection section, SectionSizes& sizes);
    Result MeasureData(SectionSizes& sizes, unsigned int& max);
    Result GatherObjects();
    Result MeasureObjects(unsigned int& total, unsigned int& max);
    unsigned int DigestSize() const;
    Result WriteHead(DataSection section, const SectionSizes& sizes);
    Result WriteData(DataSection section, const SectionSizes& sizes);
    Result WriteRecords(unsigned int versionSize);
    Result WriteInto(CMemoryIoBuffer& memory, unsigned int versionSize);
    Result WriteTable(unsigned int versionSize);
    Result SaveObjects();
    template <typename Writer>
    Result WriteSection(unsigned int size, bool isAsked, Writer writer);
    Result WriteRawSection();
    Result SaveList(const CObjectList& list);

    Result LoadSections(SkipType skip, DataSection section);
    Result TakeVersion(std::int64_t version);
    Result LoadPreviews(SkipType skip, DataSection section);
    template <typename Reader>
    Result LoadSection(std::uint32_t length, bool isAsked, Reader reader);
    Result ReadClassTable();
    Result LoadDataSection(SkipType skip, DataSection section);
    Result ReadDataVersion();
    Result LoadParsedData(bool skip, unsigned int length);
    Result LoadPlainRecords(bool skip, unsigned int length, Result& records);
    Result LoadCompressedRecords(bool skip, unsigned int length, Result& records);
    Result LoadRawSection(unsigned int length);

    Result LoadRecordsUntil(std::uint64_t end, bool skip, unsigned int total);
    Result LoadRecords(std::uint64_t end, bool skip, unsigned int total);
    Result ReadRecordHead(bool skip, RecordHead& head);
    Result FindClass(long long id, bool skip, RecordHead& head) const;
    Result ReadRecordSize(std::uint32_t& size);
    Result ReadAndDrop(std::uint64_t end);
    Result SkipRecord(unsigned int size);
    Result SkipExisting(std::uint64_t size);
    Result LoadCreated(CBase& object);
    bool IsOlderThanData(const CBase& object, ClassEntry& entry) const;
    Result LoadRecord(CPointer<CBase>& target, ClassEntry& entry, std::uint32_t size, bool skip);
    void ReportRecord(std::uint32_t size, unsigned int total) const;
    Result LoadList(bool skip, CObjectList& list);

    Result LoadTextHeader();
    Result ReadTextRecordHead(RecordHead& head);
    Result ReadTextThumbnailHead(std::string& className);
    Result ReadTextExtendInfoHead();

    CIoBuffer* m_pIoBuffer = nullptr;
    CProgress* m_pProgress = nullptr;
    int m_nFileVersion = Container::kVersion;
    std::map<const CRtti*, CVersion> m_mapVersion;
    std::uint64_t versionChanges = 0;  // to m_mapVersion, so that what was concluded from it can be told to be stale
    CPointer<CBase> m_pThumbnail;
    CObjectList m_vecDrm;
    CObjectList m_vecExtendInfo;
    CObjectList m_vecObject;
    CHashIndex<CBase> topLevel;  // the objects of m_vecObject
    CLinkIndex m_mapLink;
    CMissingLinkMap m_mapMissingLink;
    std::vector<CBase*> m_vecOrdered;
    bool m_bSaving = false;
    std::uint8_t* m_pRawData = nullptr;  // by new[]
    std::uint32_t m_nRawDataSize = 0;
    bool isRawCompressed = false;  // the flags of the file that the raw data came from
    bool isRawDigested = false;
    long long m_nFileModifyTime = 0;
    bool m_bCompress = true;
    bool m_bMd5 = true;
    bool m_bMd5Active = false;
    CPointer<CLzmaInterFace> m_pLzma;
    MD5 m_md5;
    std::wstring m_strName;                 // told to the compressor
    std::wstring m_strNote;                 // of the settled layout; always empty
    std::uint8_t* m_pCompressed = nullptr;  // by new[]
    std::uint32_t m_nCompressedSize = 0;

    CObjectListLog* objectLog = nullptr;  // of the save that runs
    Result deferred = kResultOk;
    bool isCovered = false;  // what a load reads now belongs to a digest
    // Bytes read or skipped, and written: buffers do not all count them.
    std::uint64_t consumed = 0;
    std::uint64_t written = 0;
    std::uint64_t sectionEnd = kNoEnd;  // where `consumed` will be at the end of the section
    // Of the class table read last: one that has just been read belongs to the data section behind it.
    std::uint64_t tableSize = 0;
    std::uint64_t tableEnd = 0;
};

}  // namespace KX
