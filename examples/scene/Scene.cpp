#include "Scene.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "Demo.h"

namespace {

constexpr std::uint64_t kGroups = 1000;
constexpr const wchar_t* kLicence = L"CC BY 4.0";
constexpr const wchar_t* kAuthor = L"Zo\u00EB \u738B";

KX::CPointer<CNode> MakeNode(std::uint64_t number) {
    if (number < kGroups) return new CGroup;
    auto* const shape = new CShape;
    const auto i = static_cast<std::int32_t>(number);
    shape->box = {i % 1000 - 500, i / 1000, 10 + static_cast<unsigned>(i) % 97, 10 + static_cast<unsigned>(i) % 89};
    shape->colour = static_cast<std::uint32_t>(number * 2654435761U >> 8);
    return shape;
}

// The second summand tells large pictures apart from themselves moved by some power of two, as windows are.
KX::CPointer<CThumbnail> MakeThumbnail(std::uint16_t edge) {
    KX::CPointer<CThumbnail> thumbnail = new CThumbnail;
    thumbnail->width = thumbnail->height = edge;
    thumbnail->pixels.resize(std::size_t{4} * edge * edge);
    std::size_t i = 0;
    for (std::uint8_t& value : thumbnail->pixels) {
        value = static_cast<std::uint8_t>(i / 512 + i / 70'001);
        ++i;
    }
    return thumbnail;
}

bool IsSame(const CNode& a, const CNode& b) {
    const auto parentOf = [](const CNode& node) {
        return node.GetParent() ? node.GetParent()->GetID() : KX::COrcaID();
    };
    if (parentOf(a) != parentOf(b)) return false;
    if (a.GetRtti() != b.GetRtti() || a.GetID() != b.GetID() || a.GetName() != b.GetName()) return false;
    if (a.opacity != b.opacity || a.GetChildren().size() != b.GetChildren().size()) return false;
    const auto* const shape = dynamic_cast<const CShape*>(&a);
    const auto* const other = dynamic_cast<const CShape*>(&b);
    return shape == nullptr || (shape->box == other->box && shape->colour == other->colour);
}

}  // namespace

KX::CPointer<CNode> MakeScene(std::uint64_t objects) {
    std::vector<KX::CPointer<CNode>> nodes;
    for (std::uint64_t i = 0; i < objects; ++i) {
        const KX::CPointer<CNode>& node = nodes.emplace_back(MakeNode(i));
        node->SetID(KX::COrcaID(i + 1));  // 0 would name no object
        node->SetName((i < kGroups ? L"Gruppe \u5716\u5C64 " : L"\u00C9toile \u661F ") + std::to_wstring(i));
        node->opacity = static_cast<std::uint8_t>(i % 256);
        if (i == 0) continue;
        auto& group = dynamic_cast<CGroup&>(*nodes[i < kGroups ? (i - 1) / 4 : i % kGroups]);
        Check(group.Add(node.Get()), "cannot build the scene");
    }
    return nodes.front();
}

void FillStream(KX::CStream& stream, CNode& top, std::uint16_t thumbnailEdge) {
    Check(stream.Insert(&top), "cannot add the scene");
    Check(stream.SetThumbnail(MakeThumbnail(thumbnailEdge).Get()), "cannot add the thumbnail");
    Check(stream.AddDrm(new CNote(L"Licence", kLicence)), "cannot add the licence");
    Check(stream.AddExtendInfo(new CNote(L"Author", kAuthor)), "cannot add the author");
}

void VerifyStream(KX::CStream& stream, CNode& expected, const std::string& where, std::uint16_t thumbnailEdge) {
    for (const auto& [id, referrers] : stream.GetMissingLink()) {
        std::printf("  object %llu is missing, to which %zu refer\n", id.Value(), referrers.size());
    }
    Demand(stream.GetMissingLink().empty(), "links are missing in " + where);
    auto* const loaded = dynamic_cast<CNode*>(stream.GetObjectAt(0));
    Demand(loaded != nullptr && stream.GetObjectCount() == 1, "there is no scene in " + where);

    // Both walks take the children in order, so equal nodes at equal places mean equal links downwards too.
    const auto isSame = [](const CNode* a, const CNode* b) { return IsSame(*a, *b); };
    Demand(std::ranges::equal(AllNodes(*loaded), AllNodes(expected), isSame), "the scene came back changed");
    const auto* const thumbnail = dynamic_cast<CThumbnail*>(stream.GetThumbnail());
    const bool isSameThumbnail = thumbnail != nullptr && thumbnail->pixels == MakeThumbnail(thumbnailEdge)->pixels;
    Demand(isSameThumbnail, "the thumbnail came back changed");
    Demand(NoteOf(stream.GetDrm(0)).text == kLicence, "the licence came back changed");
    Demand(NoteOf(stream.GetExtendInfo(0)).text == kAuthor, "the author came back changed");
}

const CNote& NoteOf(const KX::CBase* object) {
    const auto* const note = dynamic_cast<const CNote*>(object);
    Demand(note != nullptr, "there is no note where one should be");
    return *note;
}
