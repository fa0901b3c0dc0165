// The scene as cereal takes it: a list of shared pointers, weak ones between the objects, and the numbers as one piece
// of memory.

#include <cereal/archives/binary.hpp>
#include <cereal/types/memory.hpp>
#include <cereal/types/polymorphic.hpp>
#include <cereal/types/string.hpp>
#include <cereal/types/vector.hpp>
#include <istream>
#include <optional>
#include <ostream>
#include <vector>

#include "MemoryStream.h"
#include "Scene.h"

namespace CerealScene {

class CObject : private boost::noncopyable {
public:
    virtual ~CObject() = default;
    virtual bool IsDisc() const = 0;

    template <typename Archive>
    void serialize(Archive& archive) {
        archive(cereal::binary_data(&numbers, sizeof numbers), name, partner, parent);
    }

    const std::wstring& Name() const { return name; }
    const CObject* Partner() const { return partner.lock().get(); }
    const CObject* Parent() const { return parent.lock().get(); }

    Numbers numbers = {};
    std::wstring name;
    std::weak_ptr<CObject> partner;
    std::weak_ptr<CObject> parent;
};

class CDisc : public CObject {
public:
    bool IsDisc() const override { return true; }

    template <typename Archive>
    void serialize(Archive& archive) {
        archive(cereal::base_class<CObject>(this), radius);
    }

    double radius = 1;
};

class CMark : public CObject {
public:
    bool IsDisc() const override { return false; }

    template <typename Archive>
    void serialize(Archive& archive) {
        archive(cereal::base_class<CObject>(this), angle, style);
    }

    double angle = 2;
    std::uint32_t style = 3;
};

}  // namespace CerealScene

CEREAL_REGISTER_TYPE(CerealScene::CDisc)
CEREAL_REGISTER_TYPE(CerealScene::CMark)

namespace {

using CerealScene::CDisc;
using CerealScene::CMark;
using CerealScene::CObject;
using ObjectList = std::vector<std::shared_ptr<CObject>>;

constexpr std::size_t kBytesPerObject = 256;

class CCerealScene : public CSceneSide {
public:
    explicit CCerealScene(std::size_t count) : memory(count * kBytesPerObject) {
        source.reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            const auto object = IsDiscAt(i) ? std::shared_ptr<CObject>(std::make_shared<CDisc>())
                                            : std::shared_ptr<CObject>(std::make_shared<CMark>());
            source.push_back(object);
            object->numbers = NumbersAt(i);
            object->name = NameAt(i);
            if (ParentAt(i) != kNoObject) object->parent = source[ParentAt(i)];
        }
        for (std::size_t i = 0; i < count; ++i) {
            if (PartnerAt(i, count) != kNoObject) source[i]->partner = source[PartnerAt(i, count)];
        }
    }

    void Save() override {
        memory.Rewind();
        std::ostream saved(&memory);
        cereal::BinaryOutputArchive output(saved);
        output(source);
    }

    void Load() override {
        memory.Rewind();
        input.emplace(stream);
        (*input)(loaded);
    }

    void Verify() const override {
        Require(loaded.size() == source.size(), "wrong number of objects");
        for (std::size_t i = 0; i < loaded.size(); ++i) {
            RequireObject(*loaded[i], loaded[i]->IsDisc(), i, loaded.size());
        }
    }

    void Release() override {
        input.reset();
        loaded = {};
    }

private:
    CMemoryStream memory;
    ObjectList source;
    ObjectList loaded;
    std::istream stream{&memory};
    std::optional<cereal::BinaryInputArchive> input;
};

}  // namespace

std::unique_ptr<CSceneSide> MakeCerealScene(std::size_t count) {
    return std::make_unique<CCerealScene>(count);
}
