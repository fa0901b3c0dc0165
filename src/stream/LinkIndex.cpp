#include "stream/LinkIndex.h"

#include <algorithm>

namespace KX {

bool CLinkIndex::Insert(COrcaID id, CMemberLink* link) {
    const bool isNext = links.empty() || links.back().first < id;
    if (!byId.Insert(id.Value(), link)) return false;
    try {
        links.emplace_back(id, link);
    } catch (...) {
        byId.Erase(id.Value());
        throw;
    }
    isAscending = isAscending && isNext;
    return true;
}

CLinkIndex::List& CLinkIndex::InOrder() {
    if (!isAscending) {
        std::ranges::sort(links, {}, &List::value_type::first);
        isAscending = true;
    }
    return links;
}

void CLinkIndex::Clear() {
    byId.Clear();
    isAscending = true;
    const List released = std::exchange(links, {});  // the last thing to go: objects may go with their links
}

}  // namespace KX
