#pragma once

#include <map>
#include <string>
#include <vector>

#include "io/IoBuffer.h"
#include "stream/Base.h"
#include "stream/MemberLink.h"
#include "stream/Pointer.h"

namespace KX {

// The sections of a container, as sets of bits. SkipType names those in which an object whose class has no creator is
// passed over instead of failing the load; DataSection those that are to be loaded or saved.
enum class SkipType : unsigned int {
    None = 0,        // no section
    Thumbnail = 2,   // one object that shows what is in the file
    Drm = 4,         // a list of objects
    ExtendInfo = 8,  // another list of objects
    Data = 16,       // the graph of objects
};

// See SkipType.
enum class DataSection : unsigned int {
    None = 0,          // no section
    Thumbnail = 2,     // as in SkipType, and so the next two
    Drm = 4,           // a list of objects
    ExtendInfo = 8,    // another list of objects
    Data = 16,         // parsed into objects
    RawData = 32,      // kept as it is, to be saved again; counts where Data is not set
    HQThumbnail = 64,  // the first object of the extend info alone; counts where ExtendInfo is not set
};

// The union and the intersection of two sets.
constexpr SkipType operator|(SkipType a, SkipType b) {
    return static_cast<SkipType>(static_cast<unsigned int>(a) | static_cast<unsigned int>(b));
}
constexpr SkipType operator&(SkipType a, SkipType b) {
    return static_cast<SkipType>(static_cast<unsigned int>(a) & static_cast<unsigned int>(b));
}
constexpr DataSection operator|(DataSection a, DataSection b) {
    return static_cast<DataSection>(static_cast<unsigned int>(a) | static_cast<unsigned int>(b));
}
constexpr DataSection operator&(DataSection a, DataSection b) {
    return static_cast<DataSection>(static_cast<unsigned int>(a) & static_cast<unsigned int>(b));
}

// Whether the set has one of the bits.
constexpr bool HasAny(SkipType set, SkipType bits) {
    return (set & bits) != SkipType::None;
}
constexpr bool HasAny(DataSection set, DataSection bits) {
    return (set & bits) != DataSection::None;
}

// Counted objects.
using CObjectList = std::vector<CPointer<CBase>>;
// The identifiers that name no loaded object, with the objects that refer to them.
using CMissingLinkMap = std::map<COrcaID, CObjectList>;
// The links of the loaded objects by the objects' identifiers.
using CLinkMap = std::map<COrcaID, CPointer<CMemberLink>>;

// A stream as a pipe of bytes.
//
// Ownership: buffer and progress belong to the caller and must live until they are replaced.
// Errors:    Result codes; a failure of the buffer is handed up unchanged. kResultInvalidArgument: no buffer is set.
// Threads:   none of the streams locks; one thread at a time.
class CIoStream {
public:
    CIoStream(const CIoStream&) = delete;
    CIoStream& operator=(const CIoStream&) = delete;

    // Replaces the buffer that was set before.
    virtual Result SetIoBuffer(CIoBuffer* buffer) = 0;
    // Null for none.
    virtual Result SetProgress(CProgress* progress) = 0;

    // CIoBuffer::ReadIn and its like, for the buffer that is set.
    virtual Result ReadIn(void* destination, unsigned long capacity, unsigned long count) = 0;
    virtual Result WriteOut(const void* source, unsigned long count) = 0;
    virtual Result Skip(unsigned int count) = 0;
    // The folder against which relative names met while loading are resolved.
    virtual Result GetSearchDirectory(std::wstring& directory) const = 0;
    // The version of the file, as major x 100 + minor.
    virtual int FileVersion() const = 0;

protected:
    CIoStream() = default;
    ~CIoStream() = default;
};

// A stream of objects.
class CBaseStream : public CIoStream {
public:
    // ---- What each operation promises stands with CStream, which is the one stream there is ----

    // Objects by identifier, and in the order of writing: see CStream.
    virtual bool InsertInLinkMap(COrcaID id, CMemberLink* link) = 0;
    virtual CBase* GetObjectFromLinkMap(COrcaID id) = 0;
    virtual Result InsertInOrdered(CBase* object) = 0;

    // Class versions, as the loaded file has them: see CStream.
    virtual CVersion Version(const CRtti* rtti) const = 0;
    virtual Result AddVersion(const CRtti* rtti, CVersion version) = 0;
    virtual bool HasVersion(const CRtti* rtti) const = 0;
    virtual void ClearVersion() = 0;

    // Notes a reference to what was not loaded: see CStream.
    virtual void LogMissingLink(COrcaID id, CBase* referrer) = 0;

    // The thumbnail: see CStream.
    virtual Result SetThumbnail(CBase* object) = 0;
    virtual CBase* GetThumbnail() const = 0;

    // The drm list: see CStream.
    virtual Result AddDrm(CBase* object) = 0;
    virtual Result RemoveDrm(CBase* object) = 0;
    virtual CBase* GetDrm(unsigned long index) const = 0;
    virtual unsigned long GetDrmCount() const = 0;
    virtual Result ClearDrm() = 0;

    // The extend info list: see CStream.
    virtual Result AddExtendInfo(CBase* object) = 0;
    virtual Result InsertExtendInfo(CBase* object, unsigned long index) = 0;
    virtual Result RemoveExtendInfo(CBase* object) = 0;
    virtual Result RemoveExtendInfoAt(unsigned long index) = 0;
    virtual CBase* GetExtendInfo(unsigned long index) const = 0;
    virtual unsigned long GetExtendInfoCount() const = 0;

    // The top-level objects: see CStream.
    virtual Result Insert(CBase* object) = 0;
    virtual Result SetObjectAt(unsigned int index, CBase* object) = 0;
    virtual Result Remove(CBase* object) = 0;
    virtual Result RemoveAll() = 0;
    virtual unsigned int GetObjectCount() const = 0;
    virtual CBase* GetObjectAt(unsigned int index) const = 0;
    virtual bool IsTopLevel(CBase* object) = 0;

    // Whole containers: see CStream.
    virtual Result Load(SkipType skip, DataSection section) = 0;
    virtual Result Save(DataSection section) = 0;
    virtual Result GetDiskUsed(unsigned int& size) = 0;

    // What the stream keeps about a load: see CStream.
    virtual void SetFileModifyTime(long long seconds) = 0;
    virtual long long GetFileModifyTime() = 0;
    virtual CMissingLinkMap& GetMissingLink() = 0;

    virtual ~CBaseStream() = default;

protected:
    CBaseStream() = default;
};

}  // namespace KX
