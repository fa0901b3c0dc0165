#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "io/Progress.h"
#include "io/Result.h"
#include "stream/Pointer.h"

namespace KX {

class CBaseStream;
class CMemberLink;

// Names an object within a stream. 0 names none.
class COrcaID {
public:
    constexpr COrcaID() = default;
    // The identifier of that number.
    constexpr explicit COrcaID(unsigned long long id) : value(id) {}

    // The number.
    constexpr unsigned long long Value() const { return value; }

    // By number.
    friend constexpr auto operator<=>(COrcaID, COrcaID) = default;  // NOLINT(modernize-use-nullptr): its own 0

private:
    unsigned long long value = 0;
};

// The version of a class or of a file, as major x 100 + minor.
class CVersion {
public:
    constexpr CVersion() = default;
    // The version of that number.
    constexpr explicit CVersion(unsigned int majorTimes100PlusMinor) : value(majorTimes100PlusMinor) {}
    // The numbers must not be negative.
    constexpr CVersion(int major, int minor)
        : value(static_cast<unsigned int>(major) * 100 + static_cast<unsigned int>(minor)) {}

    // The number.
    constexpr unsigned int Value() const { return value; }

private:
    unsigned int value = 0;
};

// What is known of a class at run time. One static instance per class, which is never copied.
//
// A class is known to streams once its record stands in GetVersionMap under the class's identifier, and its creator
// in CBase::GetFactory under its name: both before the first load or save.
//
// Threads: the map is made once, whichever thread asks first. Fill it before streams run on several threads.
class CRtti {
public:
    // The name must live as long as the record; the base is null at the root of a family.
    CRtti(const char* name, const CRtti* baseClass, int major, int minor)
        : className(name), base(baseClass), version(major, minor) {}

    CRtti(const CRtti&) = delete;
    CRtti& operator=(const CRtti&) = delete;

    // What the constructor was told.
    const char* ClassName() const { return className; }
    const CRtti* Base() const { return base; }
    CVersion Version() const { return version; }

    // The registry of the process: class identifier to record.
    static std::map<long long, const CRtti*>& GetVersionMap();
    // Null where the identifier is not registered.
    static const CRtti* GetVersionMapIDtoRtti(long long id);

private:
    const char* className;
    const CRtti* base;
    CVersion version;
};

// The base of every object that a stream stores.
//
// Life:    counted from 0 and held by CPointer: made by new, and deleted when its count returns to 0. An object whose
//          count reaches 0 while another one is being destroyed in the same thread is deleted right after that one, so
//          that a chain of any length is released without deep recursion. So a destructor must not touch an object that
//          held it, nor a stream that goes within another object: either may be gone.
// Threads: counts are plain; a graph of objects belongs to one thread at a time.
class CBase {
public:
    // Makes a new object of its class, stores it and returns 0, or returns a negative code.
    using CreateFunction = Result (*)(CPointer<CBase>&);

    // The factory of the process: class name to creator. Filled as CRtti says.
    static std::map<std::string, CreateFunction>& GetFactory();
    // Null where the name is not registered.
    static CreateFunction GetFactoryFunction(const std::string& name);

    CBase(const CBase&) = delete;
    CBase& operator=(const CBase&) = delete;

    // Counts the holders.
    virtual void IncrementReferences();
    virtual void DecrementReferences();

    // The record of the object's own class.
    virtual const CRtti* GetRtti() const = 0;

    // Reads what Save wrote, without the class identifier and the size that stand before it. Enters the link in the
    // stream's link map under the object's identifier where others may refer to it, and notes in it the identifiers
    // of those that this object refers to. The link lives as long as the map holds it. A negative code ends the load.
    virtual Result Load(CBaseStream& stream, CMemberLink* link, CProgress* progress) = 0;
    // Turns the identifiers that Load noted into pointers. Called in the order of identifiers, once all objects of
    // the data section are there.
    virtual Result Link(CBaseStream& stream, CMemberLink* link, int reserved) = 0;
    // Called when every object is linked.
    virtual Result PostLink(CBaseStream& stream, int reserved) = 0;

    // Called for each top-level object before a save: gives this object, and all below it that are to be written, to
    // the stream's InsertInOrdered in the order of writing. Graphs may be deep: walk them without recursion.
    virtual Result PrepareSave(CBaseStream& stream, int reserved) = 0;
    // Writes the record: the class identifier (8 bytes), the number of bytes that follow (4 bytes), and these.
    virtual Result Save(CBaseStream& stream, CProgress* progress) = 0;
    // The bytes that Save will write, identifier and size included.
    virtual unsigned int GetDiskSize() = 0;

    virtual ~CBase() = default;

    // Any text; lists of loaded and saved objects show it.
    const std::wstring& GetName() const { return name; }
    void SetName(std::wstring newName) { name = std::move(newName); }
    // Any identifier; CMemberLink::SetOwnerObject takes it over.
    COrcaID GetID() const { return id; }
    void SetID(COrcaID newID) { id = newID; }

protected:
    CBase() = default;

private:
    void DeleteWithoutRecursion();

    std::uint32_t references = 0;
    CBase* nextToDelete = nullptr;
    std::wstring name;
    COrcaID id;
};

}  // namespace KX
