#include "SceneObjects.h"

#include <utility>

#include "stream/StreamText.h"

namespace OurScene {

namespace {

constexpr std::size_t kHeadSize = 12;  // the class and the size
constexpr std::size_t kFixedSize = 52;
constexpr std::size_t kOwnMax = 12;
constexpr std::size_t kNameMax = 32;

}  // namespace

const KX::CRtti CScene::rtti("BenchScene", nullptr, 1, 0);
const KX::CRtti CDisc::rtti("BenchDisc", nullptr, 1, 0);
const KX::CRtti CMark::rtti("BenchMark", nullptr, 1, 0);

Result CObject::Save(KX::CBaseStream& stream, KX::CProgress* /*progress*/) {
    const std::wstring& name = GetName();
    if (name.size() > kNameMax) return KX::kResultInvalidArgument;

    unsigned char record[kHeadSize + kFixedSize + kOwnMax + 2 * kNameMax];
    unsigned char* to = record;
    Put(to, std::int64_t{ClassId()});
    Put(to, static_cast<std::uint32_t>(GetDiskSize() - kHeadSize));
    Put(to, numbers.id);
    Put(to, numbers.x);
    Put(to, numbers.y);
    Put(to, numbers.z);
    Put(to, partner == nullptr ? std::uint64_t{0} : partner->numbers.id);
    Put(to, parent == nullptr ? std::uint64_t{0} : parent->numbers.id);
    Put(to, static_cast<std::uint32_t>(name.size()));
    PutOwn(to);
    for (const wchar_t character : name) Put(to, static_cast<std::uint16_t>(character));
    return stream.WriteOut(record, static_cast<unsigned long>(to - record));
}

Result CObject::Load(KX::CBaseStream& stream, KX::CMemberLink* link, KX::CProgress* /*progress*/) {
    unsigned char record[kFixedSize + kOwnMax];
    Result result = stream.ReadIn(record, sizeof record, kFixedSize + OwnSize());
    if (KX::Failed(result)) return result;
    const unsigned char* from = record;
    std::uint64_t partnerId = 0;
    std::uint64_t parentId = 0;
    std::uint32_t nameLength = 0;
    Take(from, numbers.id);
    Take(from, numbers.x);
    Take(from, numbers.y);
    Take(from, numbers.z);
    Take(from, partnerId);
    Take(from, parentId);
    Take(from, nameLength);
    TakeOwn(from);
    result = LoadName(stream, nameLength);
    if (KX::Failed(result)) return result;

    SetID(KX::COrcaID(numbers.id));
    link->References() = {KX::COrcaID(partnerId), KX::COrcaID(parentId)};
    return stream.InsertInLinkMap(GetID(), link) ? KX::kResultOk : KX::kResultMalformed;
}

Result CObject::LoadName(KX::CBaseStream& stream, std::size_t length) {
    if (length > kNameMax) return KX::kResultMalformed;

    unsigned char units[2 * kNameMax];
    const Result result = stream.ReadIn(units, sizeof units, 2 * length);
    if (KX::Failed(result)) return result;
    std::wstring name(length, L'\0');
    for (std::size_t i = 0; i < length; ++i) {
        name[i] = static_cast<wchar_t>(KX::LoadLittleEndian<std::uint16_t>(units + 2 * i));
    }
    SetName(std::move(name));
    return KX::kResultOk;
}

Result CObject::Link(KX::CBaseStream& stream, KX::CMemberLink* link, int /*reserved*/) {
    const std::vector<KX::COrcaID>& references = link->References();
    partner = static_cast<CObject*>(stream.GetObjectFromLinkMap(references[0]));
    parent = static_cast<CObject*>(stream.GetObjectFromLinkMap(references[1]));
    return KX::kResultOk;
}

unsigned int CObject::GetDiskSize() {
    return static_cast<unsigned int>(kHeadSize + kFixedSize + OwnSize() + 2 * GetName().size());
}

Result CScene::PrepareSave(KX::CBaseStream& stream, int /*reserved*/) {
    Result result = stream.InsertInOrdered(this);
    for (std::size_t i = 0; i < objects.size() && !KX::Failed(result); ++i) {
        result = stream.InsertInOrdered(objects[i].Get());
    }
    return result;
}

Result CScene::Save(KX::CBaseStream& stream, KX::CProgress* /*progress*/) {
    std::vector<unsigned char> record(GetDiskSize());
    unsigned char* to = record.data();
    Put(to, std::int64_t{kSceneClass});
    Put(to, static_cast<std::uint32_t>(record.size() - kHeadSize));
    Put(to, std::uint64_t{objects.size()});
    for (const auto& object : objects) Put(to, object->numbers.id);
    return stream.WriteOut(record.data(), record.size());
}

Result CScene::Load(KX::CBaseStream& stream, KX::CMemberLink* link, KX::CProgress* /*progress*/) {
    std::uint64_t count = 0;
    Result result = KX::StreamRead(stream, count);
    if (KX::Failed(result)) return result;
    std::vector<unsigned char> ids(8 * count);
    result = stream.ReadIn(ids.data(), ids.size(), ids.size());
    if (KX::Failed(result)) return result;

    link->References().reserve(count);
    for (const unsigned char* from = ids.data(); from != ids.data() + ids.size();) {
        std::uint64_t id = 0;
        Take(from, id);
        link->References().emplace_back(id);
    }
    SetID(KX::COrcaID(kSceneId));
    return stream.InsertInLinkMap(GetID(), link) ? KX::kResultOk : KX::kResultMalformed;
}

Result CScene::Link(KX::CBaseStream& stream, KX::CMemberLink* link, int /*reserved*/) {
    objects.reserve(link->References().size());
    for (const KX::COrcaID id : link->References()) {
        objects.emplace_back(static_cast<CObject*>(stream.GetObjectFromLinkMap(id)));
    }
    return KX::kResultOk;
}

unsigned int CScene::GetDiskSize() {
    return static_cast<unsigned int>(kHeadSize + 8 * (1 + objects.size()));
}

}  // namespace OurScene
