#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "SceneRecord.h"

// A small family of objects that a stream saves and loads. Each class that is stored has
//   kClassID   stands in files for ever: never change it, never give it to another class
//   kRtti      name, base and version. Whoever changes Fields raises the version and asks CBaseStream::Version for that
//              of the file, to read older layouts; older programs then refuse the new files
//   Fields     what is in its records
// and is registered in the .cpp.
class CSceneObject : public KX::CBase {
public:
    KX::Result Load(KX::CBaseStream& stream, KX::CMemberLink* link, KX::CProgress* progress) override;
    KX::Result Link(KX::CBaseStream&, KX::CMemberLink*, int) override { return KX::kResultOk; }
    KX::Result PostLink(KX::CBaseStream&, int) override { return KX::kResultOk; }
    KX::Result PrepareSave(KX::CBaseStream& stream, int) override { return stream.InsertInOrdered(this); }
    KX::Result Save(KX::CBaseStream& stream, KX::CProgress* progress) override;
    unsigned int GetDiskSize() override;

protected:
    virtual long long GetClassID() const = 0;
    // Hands every field to the record, those of the base first. May throw std::bad_alloc, which the stream catches.
    virtual void Fields(CSceneRecord& record) = 0;
};

// Links run both ways, and only one of them is counted: a group counts its nodes, a node knows its group by a raw
// pointer. Were both counted, neither would ever be released. For the same reason a node has a greater identifier than
// its group: so no file, however broken, can make groups hold one another in a ring.
class CNode : public CSceneObject {
public:
    static constexpr long long kClassID = 0x53434E01;
    static const KX::CRtti kRtti;

    CNode* GetParent() const { return parent; }
    virtual std::span<const KX::CPointer<CNode>> GetChildren() const { return {}; }

    KX::Result Load(KX::CBaseStream& stream, KX::CMemberLink* link, KX::CProgress* progress) override;
    KX::Result Link(KX::CBaseStream& stream, KX::CMemberLink* link, int reserved) override;
    KX::Result PostLink(KX::CBaseStream& stream, int reserved) override;
    KX::Result PrepareSave(KX::CBaseStream& stream, int reserved) override;

    std::uint8_t opacity = 255;

protected:
    void Fields(CSceneRecord& record) override;

private:
    friend class CGroup;
    CNode* parent = nullptr;
    KX::COrcaID parentID;  // between Load and Link it is all that is known of the parent
};

class CShape : public CNode {
public:
    static constexpr long long kClassID = 0x53434E02;
    static const KX::CRtti kRtti;
    const KX::CRtti* GetRtti() const override { return &kRtti; }

    struct SBox {
        std::int32_t x = 0, y = 0;
        std::uint32_t width = 0, height = 0;
        friend bool operator==(const SBox&, const SBox&) = default;
    } box;
    std::uint32_t colour = 0;

protected:
    long long GetClassID() const override { return kClassID; }
    void Fields(CSceneRecord& record) override;
};

class CGroup : public CNode {
public:
    static constexpr long long kClassID = 0x53434E03;
    static const KX::CRtti kRtti;
    const KX::CRtti* GetRtti() const override { return &kRtti; }
    ~CGroup() override;

    // kResultInvalidArgument: null, in a group already, or of an identifier that is not greater than the group's.
    KX::Result Add(CNode* child);
    std::span<const KX::CPointer<CNode>> GetChildren() const override { return children; }

    KX::Result Link(KX::CBaseStream& stream, KX::CMemberLink* link, int reserved) override;

protected:
    long long GetClassID() const override { return kClassID; }
    void Fields(CSceneRecord& record) override;

private:
    std::vector<KX::CPointer<CNode>> children;
};

class CThumbnail : public CSceneObject {
public:
    static constexpr long long kClassID = 0x53434E04;
    static const KX::CRtti kRtti;
    const KX::CRtti* GetRtti() const override { return &kRtti; }

    static constexpr std::uint16_t kMaxEdge = 4096;  // 64 MiB, more than which no file is believed
    std::uint16_t width = 0, height = 0;
    std::vector<std::uint8_t> pixels;  // 4 bytes each

protected:
    long long GetClassID() const override { return kClassID; }
    void Fields(CSceneRecord& record) override;
};

class CNote : public CSceneObject {
public:
    static constexpr long long kClassID = 0x53434E05;
    static const KX::CRtti kRtti;
    const KX::CRtti* GetRtti() const override { return &kRtti; }

    CNote() = default;
    CNote(std::wstring title, std::wstring text) : title(std::move(title)), text(std::move(text)) {}

    std::wstring title, text;

protected:
    long long GetClassID() const override { return kClassID; }
    void Fields(CSceneRecord& record) override;
};

// The node and all below it, groups before what they hold. Without recursion: groups may nest deeply.
std::vector<CNode*> AllNodes(CNode& top);
