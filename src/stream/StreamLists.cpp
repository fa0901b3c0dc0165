#include <algorithm>
#include <cstddef>
#include <utility>

#include "io/ResultOf.h"
#include "stream/Stream.h"

// The objects of a stream and the links among them.
namespace KX {

namespace {

// No two objects are nearer than 16 bytes, so that the bits below tell nothing.
constexpr unsigned int kPointerBits = 4;

std::uint64_t KeyOf(const CBase* object) {
    return reinterpret_cast<std::uintptr_t>(object) >> kPointerBits;
}

CBase* EntryAt(const CObjectList& list, unsigned long index) {
    return index < list.size() ? list[index].Get() : nullptr;
}

auto Find(CObjectList& list, const CBase* object) {
    return std::ranges::find(list, object, &CPointer<CBase>::Get);
}

Result Append(CObjectList& list, CBase* object) {
    return ResultOf([&] {
        list.emplace_back(object);
        return kResultOk;
    });
}

// The entry is released when the list is whole again: its object may ask the stream for what it holds.
void TakeOut(CObjectList& list, CObjectList::iterator entry) {
    const CPointer<CBase> released = std::move(*entry);
    list.erase(entry);
}

void RemoveFirst(CObjectList& list, const CBase* object) {
    const auto found = Find(list, object);
    if (found != list.end()) TakeOut(list, found);
}

void ReleaseAll(CObjectList& list) {
    const CObjectList released = std::exchange(list, {});
}

}  // namespace

// Objects may ask the stream while they are destroyed: all go while its members are there.
CStream::~CStream() {
    ReleaseLoaded();
    m_pThumbnail = nullptr;
    ReleaseAll(m_vecDrm);
    ReleaseAll(m_vecExtendInfo);
    const CMissingLinkMap released = std::exchange(m_mapMissingLink, {});
}

// Thumbnail, drm and extend info

Result CStream::SetThumbnail(CBase* object) {
    m_pThumbnail = object;
    return kResultOk;
}

CBase* CStream::GetThumbnail() const {
    return m_pThumbnail.Get();
}

Result CStream::AddDrm(CBase* object) {
    return Append(m_vecDrm, object);
}

Result CStream::RemoveDrm(CBase* object) {
    RemoveFirst(m_vecDrm, object);
    return kResultOk;
}

CBase* CStream::GetDrm(unsigned long index) const {
    return EntryAt(m_vecDrm, index);
}

unsigned long CStream::GetDrmCount() const {
    return m_vecDrm.size();
}

Result CStream::ClearDrm() {
    ReleaseAll(m_vecDrm);
    return kResultOk;
}

Result CStream::AddExtendInfo(CBase* object) {
    return Append(m_vecExtendInfo, object);
}

Result CStream::InsertExtendInfo(CBase* object, unsigned long index) {
    if (index > m_vecExtendInfo.size()) return kResultOutOfBounds;

    return ResultOf([&] {
        m_vecExtendInfo.insert(m_vecExtendInfo.begin() + static_cast<std::ptrdiff_t>(index), CPointer<CBase>(object));
        return kResultOk;
    });
}

Result CStream::RemoveExtendInfo(CBase* object) {
    RemoveFirst(m_vecExtendInfo, object);
    return kResultOk;
}

Result CStream::RemoveExtendInfoAt(unsigned long index) {
    if (index >= m_vecExtendInfo.size()) return kResultOutOfBounds;

    TakeOut(m_vecExtendInfo, m_vecExtendInfo.begin() + static_cast<std::ptrdiff_t>(index));
    return kResultOk;
}

CBase* CStream::GetExtendInfo(unsigned long index) const {
    return EntryAt(m_vecExtendInfo, index);
}

unsigned long CStream::GetExtendInfoCount() const {
    return m_vecExtendInfo.size();
}

// Top-level objects: a list in order, and an index for the question whether one is in it

Result CStream::Insert(CBase* object) {
    if (object == nullptr) return kResultInvalidArgument;
    return ResultOf([&] {
        if (!topLevel.Insert(KeyOf(object), object)) return kResultNothingDone;
        const Result result = Append(m_vecObject, object);
        if (Failed(result)) topLevel.Erase(KeyOf(object));
        return result;
    });
}

Result CStream::SetObjectAt(unsigned int index, CBase* object) {
    if (object == nullptr || index >= m_vecObject.size()) return kResultInvalidArgument;
    return ResultOf([&] {
        if (!topLevel.Insert(KeyOf(object), object)) return kResultNothingDone;
        topLevel.Erase(KeyOf(m_vecObject[index].Get()));
        m_vecObject[index] = object;
        return kResultOk;
    });
}

Result CStream::Remove(CBase* object) {
    if (object == nullptr) return kResultInvalidArgument;
    if (!IsTopLevel(object)) return kResultNothingDone;

    topLevel.Erase(KeyOf(object));
    RemoveFirst(m_vecObject, object);
    return kResultOk;
}

Result CStream::RemoveAll() {
    ReleaseLoaded();
    ClearVersion();
    return kResultOk;
}

void CStream::ReleaseLoaded() {
    topLevel.Clear();
    ReleaseAll(m_vecObject);
    m_vecOrdered = {};
    m_mapLink.Clear();
    FreeRawData();
    FreeCompressed();
}

unsigned int CStream::GetObjectCount() const {
    return static_cast<unsigned int>(m_vecObject.size());
}

CBase* CStream::GetObjectAt(unsigned int index) const {
    return EntryAt(m_vecObject, index);
}

bool CStream::IsTopLevel(CBase* object) {
    return topLevel.Find(KeyOf(object)) != nullptr;
}

// Class versions

CVersion CStream::Version(const CRtti* rtti) const {
    const auto found = m_mapVersion.find(rtti);
    return found == m_mapVersion.end() ? CVersion() : found->second;
}

Result CStream::AddVersion(const CRtti* rtti, CVersion version) {
    return ResultOf([&] {
        ++versionChanges;
        m_mapVersion.insert_or_assign(rtti, version);
        return kResultOk;
    });
}

bool CStream::HasVersion(const CRtti* rtti) const {
    return m_mapVersion.contains(rtti);
}

void CStream::ClearVersion() {
    ++versionChanges;
    m_mapVersion.clear();
}

// Links

bool CStream::InsertInLinkMap(COrcaID id, CMemberLink* link) {
    if (link == nullptr) return false;

    bool isInserted = false;
    const Result result = ResultOf([&] {
        isInserted = m_mapLink.Insert(id, link);
        return kResultOk;
    });
    if (Failed(result)) deferred = result;
    return isInserted;
}

CBase* CStream::GetObjectFromLinkMap(COrcaID id) {
    const CMemberLink* const link = m_mapLink.Find(id);
    return link == nullptr ? nullptr : link->GetOwner();
}

Result CStream::InsertInOrdered(CBase* object) {
    if (object == nullptr) return kResultInvalidArgument;

    const Result result = ResultOf([&] {
        m_vecOrdered.push_back(object);
        return kResultOk;
    });
    if (Failed(result)) deferred = result;
    return result;
}

void CStream::LogMissingLink(COrcaID id, CBase* referrer) {
    const Result result = ResultOf([&] { return Append(m_mapMissingLink[id], referrer); });
    if (Failed(result)) deferred = result;
}

CMissingLinkMap& CStream::GetMissingLink() {
    return m_mapMissingLink;
}

Result CStream::CollectMissingLink(CMissingLinkMap& out) {
    return ResultOf([&] {
        for (const auto& [id, link] : m_mapLink.OrderedCopy()) {
            for (const COrcaID reference : link->References()) {
                if (reference == COrcaID() || m_mapLink.Find(reference) != nullptr) continue;
                out[reference].emplace_back(link->GetOwner());
            }
        }
        return kResultOk;
    });
}

Result CStream::LinkOne(CMemberLink& link) {
    if (link.IsLinked() || link.GetOwner() == nullptr) return kResultOk;
    const CPointer<CBase> owner = link.GetOwner();
    Result result = owner->Link(*this, &link, 0);
    if (!Failed(result)) result = TakeDeferred();
    if (!Failed(result)) link.SetLinked(true);
    return result;
}

Result CStream::PostLinkAll(const CLinkIndex::List& links) {
    CObjectList owners;
    owners.reserve(links.size());
    for (const auto& [id, link] : links) owners.emplace_back(link ? link->GetOwner() : nullptr);
    return PostLinkAll(owners);
}

Result CStream::PostLinkAll(CObjectList& owners) {
    for (CPointer<CBase>& entry : owners) {
        const CPointer<CBase> owner = std::move(entry);
        Result result = owner ? owner->PostLink(*this, 0) : kResultOk;
        if (!Failed(result)) result = TakeDeferred();
        if (Failed(result)) return result;
    }
    return kResultOk;
}

// By index, for what an object does here may enter further links, at the end, or remove all. The owners are noted
// meanwhile: to find them through their links once more would cost as much again in a large graph.
Result CStream::LinkLoaded() {
    CLinkIndex::List& links = m_mapLink.InOrder();
    const std::size_t count = links.size();
    CObjectList owners;
    owners.reserve(count);
    for (std::size_t i = 0; i < links.size(); ++i) {  // NOLINT(modernize-loop-convert)
        const CPointer<CMemberLink> link = links[i].second;
        const Result result = LinkOne(*link);
        if (Failed(result)) return result;
        owners.emplace_back(link->GetOwner());
    }
    return links.size() == count ? PostLinkAll(owners) : PostLinkAll(m_mapLink.InOrder());
}

// These walk a copy of the map: objects may change it.

Result CStream::LinkProcess(CLinkMap& links) {
    return ResultOf([&] {
        const CLinkIndex::List list(links.begin(), links.end());
        for (const auto& [id, link] : list) {
            const Result result = link ? LinkOne(*link) : kResultOk;
            if (Failed(result)) return result;
        }
        return kResultOk;
    });
}

Result CStream::PostLinkProcess(CLinkMap& links) {
    return ResultOf([&] { return PostLinkAll(CLinkIndex::List(links.begin(), links.end())); });
}

}  // namespace KX
