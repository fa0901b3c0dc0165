#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "stream/HashIndex.h"
#include "stream/MemberLink.h"

namespace KX {

// The links of loaded objects by identifier: found in constant time, walked in the order of identifiers.
//
// Objects that are numbered one after the other, as most are, are found by their place in the list. With the first one
// that is not, a hash index takes over.
//
// Ownership: keeps the links.
// Threads:   one at a time.
class CLinkIndex {
public:
    using List = std::vector<std::pair<COrcaID, CPointer<CMemberLink>>>;

    // False: the identifier is there already, and nothing was changed. May throw std::bad_alloc, which changes nothing.
    bool Insert(COrcaID id, CMemberLink* link);
    // Null where there is none.
    CMemberLink* Find(COrcaID id) const;
    // All links in ascending order of their identifiers, until the next Insert or Clear.
    List& InOrder();
    void Clear();
    // How often it was cleared.
    std::uint64_t Clears() const { return clears; }

private:
    void IndexAll();

    List links;
    bool isConsecutive = true;  // then byId is empty
    bool isAscending = true;
    std::uint64_t clears = 0;
    CHashIndex<CMemberLink> byId;
};

}  // namespace KX
