#include "LzmaCompressor.h"
#include "SceneObjects.h"
#include "stream/Stream.h"

namespace {

using OurScene::CDisc;
using OurScene::CMark;
using OurScene::CObject;
using OurScene::CScene;
using OurScene::ObjectList;

template <typename Object>
void RegisterClass(long long id) {
    KX::CRtti::GetVersionMap()[id] = &Object::rtti;
    KX::CBase::GetFactory()[Object::rtti.ClassName()] = [](KX::CPointer<KX::CBase>& made) {
        made = new Object;
        return KX::kResultOk;
    };
}

ObjectList MakeObjects(std::size_t count) {
    ObjectList objects;
    objects.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        CObject* const object = IsDiscAt(i) ? static_cast<CObject*>(new CDisc) : new CMark;
        objects.emplace_back(object);
        object->numbers = NumbersAt(i);
        object->SetID(KX::COrcaID(object->numbers.id));
        object->SetName(NameAt(i));
        if (ParentAt(i) != kNoObject) object->parent = objects[ParentAt(i)].Get();
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (PartnerAt(i, count) != kNoObject) objects[i]->partner = objects[PartnerAt(i, count)].Get();
    }
    return objects;
}

class COurScene : public CSceneSide {
public:
    COurScene(std::size_t count, Layout layout, Form form) : count(count), layout(layout) {
        RegisterClass<CScene>(OurScene::kSceneClass);
        RegisterClass<CDisc>(OurScene::kDiscClass);
        RegisterClass<CMark>(OurScene::kMarkClass);
        source.SetCompress(form == Form::Compressed);
        source.SetMd5(form != Form::Plain);
        source.SetLzmaInterface(new KX::CLzmaCompressor);
        loaded.SetLzmaInterface(new KX::CLzmaCompressor);
        if (layout == Layout::AllTopLevel) {
            for (const auto& object : MakeObjects(count)) source.Insert(object.Get());
            return;
        }
        auto* const scene = new CScene;
        source.Insert(scene);
        scene->SetID(KX::COrcaID(kSceneId));
        scene->objects = MakeObjects(count);
    }

    void Save() override {
        saved = std::make_unique<KX::CMemoryIoBuffer>();
        source.SetIoBuffer(saved.get());
        Require(source.Save(KX::DataSection::Data) == KX::kResultOk, "the scene was not saved");
    }

    void Load() override {
        KX::CMemoryIoBuffer bytes;
        bytes.CreateBuffer(saved->GetSize(), saved->GetMemory());
        loaded.SetIoBuffer(&bytes);
        Require(loaded.Load(KX::SkipType::None, KX::DataSection::Data) == KX::kResultOk, "the scene was not loaded");
    }

    void Verify() const override {
        const bool isTopLevel = layout == Layout::AllTopLevel;
        Require(loaded.GetObjectCount() == (isTopLevel ? count : 1), "wrong number of top-level objects");
        const auto* const scene = dynamic_cast<const CScene*>(loaded.GetObjectAt(0));
        Require(isTopLevel || (scene != nullptr && scene->objects.size() == count), "wrong scene");
        for (std::size_t i = 0; i < count; ++i) {
            const KX::CBase* const base =
                isTopLevel ? loaded.GetObjectAt(static_cast<unsigned int>(i)) : scene->objects[i].Get();
            const auto* const object = dynamic_cast<const CObject*>(base);
            Require(object != nullptr, "no object");
            RequireObject(*object, dynamic_cast<const CDisc*>(object) != nullptr, i, count);
        }
    }

    void Release() override { loaded.RemoveAll(); }
    void DropSaved() override { saved.reset(); }

private:
    const std::size_t count;
    const Layout layout;
    KX::CStream source;
    KX::CStream loaded;
    std::unique_ptr<KX::CMemoryIoBuffer> saved;
};

}  // namespace

std::unique_ptr<CSceneSide> MakeOurScene(std::size_t count, Layout layout, Form form) {
    return std::make_unique<COurScene>(count, layout, form);
}
