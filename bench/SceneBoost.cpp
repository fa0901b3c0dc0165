// The scene as Boost.Serialization takes it: tracked raw pointers in a list, the numbers as one piece of memory, and
// nothing in the archive that can be left out.

#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/assume_abstract.hpp>
#include <boost/serialization/base_object.hpp>
#include <boost/serialization/binary_object.hpp>
#include <boost/serialization/export.hpp>
#include <boost/serialization/level.hpp>
#include <boost/serialization/string.hpp>
#include <boost/serialization/tracking.hpp>
#include <boost/serialization/vector.hpp>
#include <optional>
#include <vector>

#include "MemoryStream.h"
#include "Scene.h"

namespace BoostScene {

class CObject : private boost::noncopyable {
public:
    virtual ~CObject() = default;
    virtual bool IsDisc() const = 0;

    template <typename Archive>
    void serialize(Archive& archive, unsigned int /*version*/) {
        archive& boost::serialization::make_binary_object(&numbers, sizeof numbers);
        archive& name& partner& parent;
    }

    const std::wstring& Name() const { return name; }
    const CObject* Partner() const { return partner; }
    const CObject* Parent() const { return parent; }

    Numbers numbers = {};
    std::wstring name;
    CObject* partner = nullptr;
    CObject* parent = nullptr;
};

class CDisc : public CObject {
public:
    bool IsDisc() const override { return true; }

    template <typename Archive>
    void serialize(Archive& archive, unsigned int /*version*/) {
        archive& boost::serialization::base_object<CObject>(*this);
        archive& radius;
    }

    double radius = 1;
};

class CMark : public CObject {
public:
    bool IsDisc() const override { return false; }

    template <typename Archive>
    void serialize(Archive& archive, unsigned int /*version*/) {
        archive& boost::serialization::base_object<CObject>(*this);
        archive& angle& style;
    }

    double angle = 2;
    std::uint32_t style = 3;
};

}  // namespace BoostScene

BOOST_SERIALIZATION_ASSUME_ABSTRACT(BoostScene::CObject)
// The base is never an object of its own: without these it would be looked up for each.
BOOST_CLASS_IMPLEMENTATION(BoostScene::CObject, boost::serialization::object_serializable)
BOOST_CLASS_TRACKING(BoostScene::CObject, boost::serialization::track_never)
BOOST_CLASS_EXPORT(BoostScene::CDisc)
BOOST_CLASS_EXPORT(BoostScene::CMark)

namespace {

using BoostScene::CDisc;
using BoostScene::CMark;
using BoostScene::CObject;
using ObjectList = std::vector<CObject*>;

constexpr unsigned int kFlags = boost::archive::no_header | boost::archive::no_codecvt;
constexpr std::size_t kBytesPerObject = 256;

void Delete(ObjectList& objects) {
    for (const CObject* object : objects) delete object;
    objects = {};
}

class CBoostScene : public CSceneSide {
public:
    explicit CBoostScene(std::size_t count) : memory(count * kBytesPerObject) {
        source.reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            CObject* const object = IsDiscAt(i) ? static_cast<CObject*>(new CDisc) : new CMark;
            source.push_back(object);
            object->numbers = NumbersAt(i);
            object->name = NameAt(i);
            if (ParentAt(i) != kNoObject) object->parent = source[ParentAt(i)];
        }
        for (std::size_t i = 0; i < count; ++i) {
            if (PartnerAt(i, count) != kNoObject) source[i]->partner = source[PartnerAt(i, count)];
        }
    }
    ~CBoostScene() override { Delete(source); }

    void Save() override {
        memory.Rewind();
        boost::archive::binary_oarchive output(memory, kFlags);
        const ObjectList& objects = source;
        output << objects;
    }

    void Load() override {
        memory.Rewind();
        input.emplace(memory, kFlags);
        *input >> loaded;
    }

    void Verify() const override {
        Require(loaded.size() == source.size(), "wrong number of objects");
        for (std::size_t i = 0; i < loaded.size(); ++i) {
            RequireObject(*loaded[i], loaded[i]->IsDisc(), i, loaded.size());
        }
    }

    void Release() override {
        input.reset();
        Delete(loaded);
    }

private:
    CMemoryStream memory;
    ObjectList source;
    ObjectList loaded;
    std::optional<boost::archive::binary_iarchive> input;
};

}  // namespace

std::unique_ptr<CSceneSide> MakeBoostScene(std::size_t count) {
    return std::make_unique<CBoostScene>(count);
}
