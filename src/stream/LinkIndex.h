#pragma once

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
    // All links in ascending order of their identifiers. What is inserted after this stands at the end, until the next
    // InOrder; Clear empties the list.
    List& InOrder();
    // The same, leaving what InOrder gave as it is. May throw std::bad_alloc.
    List OrderedCopy() const;
    void Clear();

private:
    void IndexAll();

    List links;
    bool isConsecutive = true;  // then byId is empty
    bool isAscending = true;
    CHashIndex<CMemberLink> byId;
};

}  // namespace KX
