#pragma once

#include <bit>
#include <concepts>
#include <string>
#include <type_traits>
#include <vector>

#include "Scene.h"
#include "io/LittleEndian.h"
#include "stream/IoStream.h"

// The scene as objects of the library's stream. Each record is put together in a block on the stack and written at
// once, and read in two pieces, as an application does that cares for speed.
namespace OurScene {

using KX::Result;

constexpr long long kSceneClass = 7001;
constexpr long long kDiscClass = 7002;
constexpr long long kMarkClass = 7003;

template <typename Number>
void Put(unsigned char*& to, Number value) {
    if constexpr (std::is_floating_point_v<Number>) {
        Put(to, std::bit_cast<std::uint64_t>(value));
    } else {
        KX::StoreLittleEndian(to, value);
        to += sizeof value;
    }
}

template <typename Number>
void Take(const unsigned char*& from, Number& value) {
    if constexpr (std::is_floating_point_v<Number>) {
        std::uint64_t bits = 0;
        Take(from, bits);
        value = std::bit_cast<Number>(bits);
    } else {
        value = KX::LoadLittleEndian<Number>(from);
        from += sizeof value;
    }
}

class CObject : public KX::CBase {
public:
    Result Load(KX::CBaseStream& stream, KX::CMemberLink* link, KX::CProgress* progress) override;
    Result Link(KX::CBaseStream& stream, KX::CMemberLink* link, int reserved) override;
    Result PostLink(KX::CBaseStream& /*stream*/, int /*reserved*/) override { return KX::kResultOk; }
    Result PrepareSave(KX::CBaseStream& stream, int /*reserved*/) override { return stream.InsertInOrdered(this); }
    Result Save(KX::CBaseStream& stream, KX::CProgress* progress) override;
    unsigned int GetDiskSize() override;

    const std::wstring& Name() const { return GetName(); }
    const CObject* Partner() const { return partner; }
    const CObject* Parent() const { return parent; }

    Numbers numbers = {};
    CObject* partner = nullptr;
    CObject* parent = nullptr;

protected:
    virtual long long ClassId() const = 0;
    virtual std::size_t OwnSize() const = 0;
    virtual void PutOwn(unsigned char*& to) const = 0;
    virtual void TakeOwn(const unsigned char* from) = 0;

private:
    Result LoadName(KX::CBaseStream& stream, std::size_t length);
};

class CDisc : public CObject {
public:
    static const KX::CRtti rtti;
    const KX::CRtti* GetRtti() const override { return &rtti; }

private:
    long long ClassId() const override { return kDiscClass; }
    std::size_t OwnSize() const override { return sizeof radius; }
    void PutOwn(unsigned char*& to) const override { Put(to, radius); }
    void TakeOwn(const unsigned char* from) override { Take(from, radius); }

    double radius = 1;
};

class CMark : public CObject {
public:
    static const KX::CRtti rtti;
    const KX::CRtti* GetRtti() const override { return &rtti; }

private:
    long long ClassId() const override { return kMarkClass; }
    std::size_t OwnSize() const override { return sizeof angle + sizeof style; }
    void PutOwn(unsigned char*& to) const override {
        Put(to, angle);
        Put(to, style);
    }
    void TakeOwn(const unsigned char* from) override {
        Take(from, angle);
        Take(from, style);
    }

    double angle = 2;
    std::uint32_t style = 3;
};

using ObjectList = std::vector<KX::CPointer<CObject>>;

// Owns the objects, and knows them by their identifiers in the file.
class CScene : public KX::CBase {
public:
    static const KX::CRtti rtti;
    const KX::CRtti* GetRtti() const override { return &rtti; }

    Result Load(KX::CBaseStream& stream, KX::CMemberLink* link, KX::CProgress* progress) override;
    Result Link(KX::CBaseStream& stream, KX::CMemberLink* link, int reserved) override;
    Result PostLink(KX::CBaseStream& /*stream*/, int /*reserved*/) override { return KX::kResultOk; }
    Result PrepareSave(KX::CBaseStream& stream, int reserved) override;
    Result Save(KX::CBaseStream& stream, KX::CProgress* progress) override;
    unsigned int GetDiskSize() override;

    ObjectList objects;
};

}  // namespace OurScene
