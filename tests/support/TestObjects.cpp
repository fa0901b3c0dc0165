#include "support/TestObjects.h"

#include <cstring>
#include <new>

#include "stream/StreamText.h"

using KX::CBase;
using KX::CBaseStream;
using KX::CMemberLink;
using KX::COrcaID;
using KX::CPointer;
using KX::CProgress;
using KX::CRtti;
using KX::Failed;
using KX::Result;

namespace {

const CRtti kBaseRtti("CTestBase", nullptr, 1, 0);
const CRtti kNodeRtti("CTestNode", &kBaseRtti, 2, 1);
const CRtti kThumbnailRtti("CThumbnail", &kBaseRtti, 3, 0);

template <std::int64_t ClassId>
Result Create(CPointer<CBase>& object) {
    object = new CTestObject(ClassId);
    return KX::kResultOk;
}

}  // namespace

CTestObject::CTestObject(std::int64_t classId, std::uint64_t id)
    : record{classId, id, {}, {}}, rtti(CRtti::GetVersionMapIDtoRtti(classId)) {
    SetID(COrcaID(id));
    ++alive;
}

Result CTestObject::Answer(const char* call) const {
    if (calls == nullptr && failingCall.empty()) return KX::kResultOk;
    const std::string text = std::string(call) + " " + std::to_string(record.id);
    if (calls != nullptr) calls->push_back(text);
    if (text != failingCall) return KX::kResultOk;
    if (!answer) return kTestFailure;
    const Result result = answer();
    return record.id == 0 ? kTestFailure : result;  // the sanitizer sees whether this object is still there
}

Result CTestObject::Load(CBaseStream& stream, CMemberLink* link, CProgress* /*progress*/) {
    std::uint32_t count = 0;
    Result result = KX::StreamRead(stream, record.id);
    if (!Failed(result)) result = KX::StreamRead(stream, count);
    for (std::uint32_t character = 0; count > 0 && !Failed(result); --count) {
        result = KX::StreamRead(stream, character);
        record.name += static_cast<wchar_t>(character);
    }
    if (!Failed(result)) result = KX::StreamRead(stream, count);
    for (std::uint64_t reference = 0; count > 0 && !Failed(result); --count) {
        result = KX::StreamRead(stream, reference);
        record.references.push_back(reference);
        link->References().emplace_back(reference);
    }
    if (Failed(result)) return result;
    SetName(record.name);
    SetID(COrcaID(record.id));
    link->SetOwnerObject(this);
    // A duplicate would be lost in the next save. That memory was refused is the stream's to tell.
    const bool isInserted = stream.InsertInLinkMap(GetID(), link);
    const bool isDuplicate = !isInserted && stream.GetObjectFromLinkMap(GetID()) != nullptr;
    return isDuplicate ? KX::kResultMalformed : Answer("Load");
}

Result CTestObject::Link(CBaseStream& stream, CMemberLink* link, int /*reserved*/) {
    for (const COrcaID reference : link->References()) {
        if (reference <= GetID()) continue;
        if (CBase* const other = stream.GetObjectFromLinkMap(reference)) kept.emplace_back(other);
    }
    return Answer("Link");
}

Result CTestObject::PostLink(CBaseStream& /*stream*/, int /*reserved*/) {
    return Answer("PostLink");
}

// Each object once.
Result CTestObject::PrepareSave(CBaseStream& stream, int /*reserved*/) {
    std::vector<CTestObject*> pending = {this};
    for (std::size_t i = 0; i < pending.size(); ++i) {
        CTestObject* const object = pending[i];
        if (stream.GetObjectFromLinkMap(object->GetID()) != nullptr) continue;
        if (!stream.InsertInLinkMap(object->GetID(), MakeLink(object).Get())) return KX::kResultOutOfMemory;
        const Result result = stream.InsertInOrdered(object);
        if (Failed(result)) return result;
        for (const auto& next : object->kept) pending.push_back(static_cast<CTestObject*>(next.Get()));
    }
    return Answer("PrepareSave");
}

Result CTestObject::Save(CBaseStream& stream, CProgress* /*progress*/) {
    const std::string body = record.Body();
    Result result = KX::StreamWrite(stream, record.classId);
    if (!Failed(result)) result = KX::StreamWrite(stream, static_cast<std::uint32_t>(body.size()));
    if (!Failed(result)) result = stream.WriteOut(body.data(), body.size());
    return Failed(result) ? result : Answer("Save");
}

unsigned int CTestObject::GetDiskSize() {
    const std::size_t body = 8 + 4 + 4 * record.name.size() + 4 + 8 * record.references.size();
    return static_cast<unsigned int>(12 + body) + wrongSize;
}

CPointer<CMemberLink> MakeLink(CBase* owner) {
    CPointer<CMemberLink> link(new CMemberLink);
    link->DecrementReferences();  // the maker's own
    link->SetOwnerObject(owner);
    return link;
}

void CTestClasses::Register() {
    CRtti::GetVersionMap() = {
        {kNoCreatorClass, &kBaseRtti}, {kNodeClass, &kNodeRtti}, {kThumbnailClass, &kThumbnailRtti}};
    CBase::GetFactory() = {{"CTestNode", Create<kNodeClass>}, {"CThumbnail", Create<kThumbnailClass>}};
}

void CTestClasses::Clear() {
    CRtti::GetVersionMap().clear();
    CBase::GetFactory().clear();
}

Result CTestCompressor::Compress(const std::uint8_t* source, std::uint32_t sourceSize, std::uint8_t*& target,
                                 std::uint32_t& targetSize, CProgress* /*progress*/, const wchar_t* /*name*/) {
    target = new (std::nothrow) std::uint8_t[4 + sourceSize];
    if (target == nullptr) return KX::kResultOutOfMemory;
    targetSize = 4 + sourceSize;
    KX::StoreLittleEndian(target, sourceSize);
    for (std::uint32_t i = 0; i < sourceSize; ++i) target[4 + i] = source[i] ^ 0x5A;
    return KX::kResultNothingDone;  // is a success, too
}

Result CTestCompressor::Decompress(const std::uint8_t* source, std::uint32_t sourceSize, std::uint8_t* target,
                                   std::uint32_t targetSize, CProgress* /*progress*/) {
    const std::string padding(reinterpret_cast<const char*>(source) + sourceSize, kSourcePadding);
    if (padding != std::string(kSourcePadding, '\0')) return kTestFailure;
    if (sourceSize < 4 || sourceSize - 4 != targetSize) return kTestFailure;
    for (std::uint32_t i = 0; i < targetSize; ++i) target[i] = source[4 + i] ^ 0x5A;
    return KX::kResultNothingDone;
}

Result CTestCompressor::GetUncompressedSize(const std::uint8_t* source, std::uint32_t& size) {
    size = KX::LoadLittleEndian<std::uint32_t>(source);
    return size > (1U << 20) ? kTestFailure : KX::kResultNothingDone;
}

void CTestIo::Rewind(std::size_t calls, bool newIsOnce) {
    position = 0;
    allowed = calls;
    isOnce = newIsOnce;
    hasFailed = false;
}

bool CTestIo::Fails(std::size_t at) {
    if (allowed > 0) {
        --allowed;
        return false;
    }
    if (hasFailed) return !isOnce;
    hasFailed = true;
    failedAt = at;
    return true;
}

Result CTestIo::SetOutputInfo(unsigned long outputSize, unsigned long /*secondSize*/) {
    if (Fails()) return kTestFailure;
    announced.push_back(outputSize);
    return KX::kResultNothingDone;
}

Result CTestIo::ReadIn(void* destination, unsigned long /*capacity*/, unsigned long count, CProgress* /*progress*/) {
    if (Fails(position)) return kTestFailure;
    if (count > GetRemainingSize()) return KX::kResultOutOfBounds;
    std::memcpy(destination, bytes.data() + position, count);
    position += count;
    return KX::kResultNothingDone;
}

Result CTestIo::WriteOut(const void* source, unsigned long count, CProgress* /*progress*/) {
    if (Fails()) return kTestFailure;
    bytes.append(static_cast<const char*>(source), count);
    return KX::kResultNothingDone;
}

Result CTestIo::Skip(unsigned long count) {
    if (Fails()) return kTestFailure;
    if (count > GetRemainingSize()) return KX::kResultOutOfBounds;
    position += count;
    return KX::kResultNothingDone;
}
