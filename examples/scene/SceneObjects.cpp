#include "SceneObjects.h"

#include <new>
#include <type_traits>

#include "stream/StreamText.h"

// CNode's base is not stored, so it needs no record here.
const KX::CRtti CNode::kRtti("SceneNode", nullptr, 1, 0);
const KX::CRtti CShape::kRtti("SceneShape", &CNode::kRtti, 1, 0);
const KX::CRtti CGroup::kRtti("SceneGroup", &CNode::kRtti, 1, 0);
const KX::CRtti CThumbnail::kRtti("SceneThumbnail", nullptr, 1, 0);
const KX::CRtti CNote::kRtti("SceneNote", nullptr, 1, 0);

namespace {

// Makes a class known to streams before main runs. This must be in the program itself: from a static library a file is
// linked only where something in it is asked for by name.
template <typename T>
struct CRegistration {
    CRegistration() {
        KX::CRtti::GetVersionMap()[T::kClassID] = &T::kRtti;
        if constexpr (!std::is_abstract_v<T>) KX::CBase::GetFactory()[T::kRtti.ClassName()] = &Create;
    }
    static KX::Result Create(KX::CPointer<KX::CBase>& target) {
        T* const made = new (std::nothrow) T;
        target = made;
        return made == nullptr ? KX::kResultOutOfMemory : KX::kResultOk;
    }
};
const CRegistration<CNode> registeredNode;  // has no objects of its own, but a version
const CRegistration<CShape> registeredShape;
const CRegistration<CGroup> registeredGroup;
const CRegistration<CThumbnail> registeredThumbnail;
const CRegistration<CNote> registeredNote;

constexpr unsigned int kRecordHeadSize = 8 + 4;  // the class, and the size of what follows

}  // namespace

// ---- The frame of a record ----

// The class and the size have been read already, to find out what to create.
KX::Result CSceneObject::Load(KX::CBaseStream& stream, KX::CMemberLink* link, KX::CProgress* /*progress*/) {
    CSceneRecord record(stream, CSceneRecord::Mode::Read);
    Fields(record);
    link->References().swap(record.GetReferences());
    return record.GetResult();
}

unsigned int CSceneObject::GetDiskSize() {
    CSceneRecord record;
    Fields(record);
    return static_cast<unsigned int>(kRecordHeadSize + record.GetSize());
}

KX::Result CSceneObject::Save(KX::CBaseStream& stream, KX::CProgress* /*progress*/) {
    KX::Result result = KX::StreamWrite(stream, GetClassID());
    if (!KX::Failed(result)) result = KX::StreamWrite(stream, GetDiskSize() - kRecordHeadSize);
    if (KX::Failed(result)) return result;

    CSceneRecord record(stream, CSceneRecord::Mode::Write);
    Fields(record);
    return record.GetResult();
}

// ---- Nodes ----

void CNode::Fields(CSceneRecord& record) {
    KX::COrcaID id = GetID();
    std::wstring name = GetName();
    record.Identifier(id);
    record.Text(name);
    record.Reference(parentID);
    record.Value(opacity);
    if (!record.IsReading()) return;
    SetID(id);
    SetName(std::move(name));
}

KX::Result CNode::Load(KX::CBaseStream& stream, KX::CMemberLink* link, KX::CProgress* progress) {
    if (const KX::Result result = CSceneObject::Load(stream, link, progress); KX::Failed(result)) return result;
    if (GetID() == KX::COrcaID()) return KX::kResultMalformed;

    link->SetOwnerObject(this);  // again: now it has its identifier
    return stream.InsertInLinkMap(GetID(), link) ? KX::kResultOk : KX::kResultMalformed;
}

// Called when all nodes are loaded. The pointer to the parent is set by the parent, when it links its children.
KX::Result CNode::Link(KX::CBaseStream& stream, KX::CMemberLink* /*link*/, int /*reserved*/) {
    if (parentID == KX::COrcaID() || stream.GetObjectFromLinkMap(parentID) != nullptr) return KX::kResultOk;
    stream.LogMissingLink(parentID, this);
    parentID = KX::COrcaID();  // stands on its own from now on
    return KX::kResultOk;
}

// Called when all nodes are linked: the parent must have known this child.
KX::Result CNode::PostLink(KX::CBaseStream& /*stream*/, int /*reserved*/) {
    return parentID == KX::COrcaID() || parent != nullptr ? KX::kResultOk : KX::kResultMalformed;
}

KX::Result CNode::PrepareSave(KX::CBaseStream& stream, int /*reserved*/) {
    for (CNode* const node : AllNodes(*this)) {
        if (const KX::Result result = stream.InsertInOrdered(node); KX::Failed(result)) return result;
    }
    return KX::kResultOk;
}

void CShape::Fields(CSceneRecord& record) {
    CNode::Fields(record);
    record.Values(box.x, box.y, box.width, box.height, colour);
}

// ---- Groups ----

CGroup::~CGroup() {
    for (const KX::CPointer<CNode>& child : children) child->parent = nullptr;  // somebody else may hold it still
}

KX::Result CGroup::Add(CNode* child) {
    if (child == nullptr || child->parent != nullptr || child->GetID() <= GetID()) return KX::kResultInvalidArgument;
    children.emplace_back(child);
    child->parent = this;
    child->parentID = GetID();
    return KX::kResultOk;
}

void CGroup::Fields(CSceneRecord& record) {
    CNode::Fields(record);
    auto count = static_cast<std::uint32_t>(children.size());
    record.Value(count);
    // One by one: a broken count ends where the data end, instead of asking for the memory that it names.
    for (std::uint32_t i = 0; i < count && !record.HasFailed(); ++i) {
        KX::COrcaID id = record.IsReading() ? KX::COrcaID() : children[i]->GetID();
        record.Reference(id);
    }
}

KX::Result CGroup::Link(KX::CBaseStream& stream, KX::CMemberLink* link, int reserved) {
    if (const KX::Result result = CNode::Link(stream, link, reserved); KX::Failed(result)) return result;

    for (const KX::COrcaID id : std::span(link->References()).subspan(1)) {  // the first one is the parent
        KX::CBase* const found = stream.GetObjectFromLinkMap(id);
        if (found == nullptr) {
            stream.LogMissingLink(id, this);
            continue;
        }
        auto* const child = dynamic_cast<CNode*>(found);
        if (child == nullptr || child->parentID != GetID() || KX::Failed(Add(child))) return KX::kResultMalformed;
    }
    return KX::kResultOk;
}

std::vector<CNode*> AllNodes(CNode& top) {
    std::vector<CNode*> nodes{&top};
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        for (const KX::CPointer<CNode>& child : nodes[i]->GetChildren()) nodes.push_back(child.Get());
    }
    return nodes;
}

// ---- The rest ----

void CThumbnail::Fields(CSceneRecord& record) {
    record.Values(width, height);
    if (record.IsReading()) {
        if (width > kMaxEdge || height > kMaxEdge) record.Fail(KX::kResultMalformed);
        if (record.HasFailed()) return;
        pixels.resize(std::size_t{4} * width * height);
    }
    record.Bytes(pixels);
}

void CNote::Fields(CSceneRecord& record) {
    record.Text(title);
    record.Text(text);
}
