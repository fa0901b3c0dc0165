#include "mmf/FreeRunIndex.h"

#include <algorithm>
#include <bit>
#include <exception>

bool CFreeRunIndex::Reserve(std::size_t count) noexcept {
    if (count <= leaves) return true;
    try {
        CFreeRunIndex larger;
        larger.leaves = std::bit_ceil(count);
        larger.nodes.resize(2 * larger.leaves);
        for (std::size_t entry = 0; entry < leaves; ++entry) larger.Set(entry, nodes[leaves + entry]);
        *this = std::move(larger);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void CFreeRunIndex::Set(std::size_t entry, unsigned int freeRun) {
    std::size_t node = leaves + entry;
    auto value = static_cast<std::uint16_t>(freeRun);
    while (nodes[node] != value) {
        nodes[node] = value;
        if (node == 1) return;
        value = std::max(value, nodes[node ^ 1]);
        node /= 2;
    }
}

std::size_t CFreeRunIndex::FindFirst(unsigned int freeRun, std::size_t from) const {
    if (from >= leaves) return kNone;
    std::size_t node = leaves + from;
    while (nodes[node] < freeRun) {
        while (node % 2 == 1) {  // a right child: what follows lies to the right of its parent
            if (node == 1) return kNone;
            node /= 2;
        }
        ++node;
    }
    while (node < leaves) {
        node *= 2;
        if (nodes[node] < freeRun) ++node;
    }
    return node - leaves;
}
