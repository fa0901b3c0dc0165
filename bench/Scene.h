#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "Workload.h"

// A scene of linked objects, the same for the library and its peers: every second one is a disc, the others are marks.
// Each object refers to its partner, which refers back to it, so that one of the two comes before the other; and to
// its parent, an earlier object. Peers follow pointers while they save: along these they go no deeper than a partner.

struct Numbers {
    std::uint64_t id;
    double x;
    double y;
    double z;
};

constexpr std::size_t kNoObject = SIZE_MAX;
constexpr std::uint64_t kSceneId = 1;

constexpr std::uint64_t IdAt(std::size_t index) {
    return index == kNoObject ? 0 : kSceneId + 1 + index;
}
constexpr bool IsDiscAt(std::size_t index) {
    return index % 2 == 0;
}
// The last of an odd number has none.
constexpr std::size_t PartnerAt(std::size_t index, std::size_t count) {
    return (index ^ 1) < count ? index ^ 1 : kNoObject;
}
constexpr std::size_t ParentAt(std::size_t index) {
    return index == 0 ? kNoObject : index / 8;
}
inline Numbers NumbersAt(std::size_t index) {
    const auto place = static_cast<double>(index);
    return {IdAt(index), place, place + 0.25, place + 0.5};
}
inline std::wstring NameAt(std::size_t index) {
    return L"object" + std::to_wstring(index % 1000);
}

// What every side is asked to do. Each saves into a block of memory of its own, and loads from there into other
// objects than those that it saves.
class CSceneSide : private boost::noncopyable {
public:
    virtual ~CSceneSide() = default;

    virtual void Save() = 0;
    virtual void Load() = 0;
    // Throws unless the scene was loaded as it was saved.
    virtual void Verify() const = 0;
    // Gives back what was loaded, and what was kept of loading it.
    virtual void Release() = 0;
    // Makes ready for the next save.
    virtual void DropSaved() {}
};

enum class Layout { AllBelowOne, AllTopLevel };
// What a save makes of the bytes. Compressed is what a stream does unless told otherwise.
enum class Form { Plain, Digested, Compressed };

std::unique_ptr<CSceneSide> MakeOurScene(std::size_t count, Layout layout, Form form);
std::unique_ptr<CSceneSide> MakeBoostScene(std::size_t count);
std::unique_ptr<CSceneSide> MakeCerealScene(std::size_t count);

// Objects of either side have these members, with pointers that may be smart ones.
template <typename Object>
void RequireObject(const Object& object, bool isDisc, std::size_t index, std::size_t count) {
    const auto idOf = [](const auto* other) { return other == nullptr ? 0 : other->numbers.id; };
    const Numbers wanted = NumbersAt(index);
    const Numbers& is = object.numbers;
    Require(is.id == wanted.id && is.x == wanted.x && is.y == wanted.y && is.z == wanted.z, "wrong numbers");
    Require(object.Name() == NameAt(index) && isDisc == IsDiscAt(index), "wrong name or class");
    Require(idOf(object.Partner()) == IdAt(PartnerAt(index, count)), "wrong partner");
    Require(idOf(object.Parent()) == IdAt(ParentAt(index)), "wrong parent");
}
