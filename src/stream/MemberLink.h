#pragma once

#include <cstdint>
#include <vector>

#include "stream/Base.h"

namespace KX {

// The references of one loaded object, from the time it is loaded to the time it is linked.
//
// Life:    counted and made by new; its maker's reference is counted from the start, so that the maker gives it up with
//          DecrementReferences. Keeps its owner.
// Threads: one at a time.
class CMemberLink {
public:
    CMemberLink() = default;

    CMemberLink(const CMemberLink&) = delete;
    CMemberLink& operator=(const CMemberLink&) = delete;

    // Counts the holders.
    void IncrementReferences() { ++references; }
    void DecrementReferences() {
        if (--references == 0) delete this;
    }

    // Also takes over the owner's identifier as it is now: 0 for null.
    void SetOwnerObject(CBase* object) {
        owner = object;
        ownerID = object == nullptr ? COrcaID() : object->GetID();
    }
    // The owner, null for none, and its identifier as it was then.
    CBase* GetOwner() const { return owner.Get(); }
    COrcaID GetOwnerID() const { return ownerID; }

    // Whether the owner's Link has succeeded.
    bool IsLinked() const { return isLinked; }
    // For the stream.
    void SetLinked(bool newLinked) { isLinked = newLinked; }

    // The identifiers of the objects that the owner refers to.
    std::vector<COrcaID>& References() { return referenceIDs; }
    const std::vector<COrcaID>& References() const { return referenceIDs; }

private:
    std::uint32_t references = 1;
    bool isLinked = false;
    CPointer<CBase> owner;
    COrcaID ownerID;
    std::vector<COrcaID> referenceIDs;
};

}  // namespace KX
