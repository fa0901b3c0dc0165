#include "stream/LinkIndex.h"

#include <algorithm>

namespace KX {

bool CLinkIndex::Insert(COrcaID id, CMemberLink* link) {
    const bool isGreater = links.empty() || links.back().first < id;
    const bool isNext = links.empty() || (isGreater && id.Value() - links.back().first.Value() == 1);
    if (isNext && isConsecutive) {
        links.emplace_back(id, link);
        return true;
    }
    if (isConsecutive) {
        if (Find(id) != nullptr) return false;
        IndexAll();
    }
    if (!byId.Insert(id.Value(), link)) return false;
    try {
        links.emplace_back(id, link);
    } catch (...) {
        byId.Erase(id.Value());
        throw;
    }
    isAscending = isAscending && isGreater;
    return true;
}

CMemberLink* CLinkIndex::Find(COrcaID id) const {
    if (!isConsecutive) return byId.Find(id.Value());
    if (links.empty() || id < links.front().first || links.back().first < id) return nullptr;
    return links[id.Value() - links.front().first.Value()].second.Get();
}

void CLinkIndex::IndexAll() {
    CHashIndex<CMemberLink> all;
    for (const auto& [id, link] : links) all.Insert(id.Value(), link.Get());
    byId = std::move(all);
    isConsecutive = false;
}

CLinkIndex::List& CLinkIndex::InOrder() {
    if (!isAscending) std::ranges::sort(links, {}, &List::value_type::first);
    isAscending = true;
    return links;
}

CLinkIndex::List CLinkIndex::OrderedCopy() const {
    List copy = links;
    if (!isAscending) std::ranges::sort(copy, {}, &List::value_type::first);
    return copy;
}

void CLinkIndex::Clear() {
    byId.Clear();
    isConsecutive = true;
    isAscending = true;
    const List released = std::exchange(links, {});  // the last thing to go: objects may go with their links
}

}  // namespace KX
