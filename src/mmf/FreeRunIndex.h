#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// Finds the first of many backing objects that may have a free run of some length, in time that grows with the
// logarithm of their number: a complete binary tree in which every node holds the larger of its two children.
// No lock inside.
class CFreeRunIndex {
public:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    // Makes room for the entries [0, count), new ones with 0. False: out of memory, all as before.
    [[nodiscard]] bool Reserve(std::size_t count) noexcept;

    // Sets an entry below the reserved count.
    void Set(std::size_t entry, unsigned int freeRun);

    // The lowest entry, `from` or behind it, of at least that value, which is above 0; kNone if there is none.
    std::size_t FindFirst(unsigned int freeRun, std::size_t from) const;

private:
    // Node 1 is the root, nodes 2n and 2n + 1 are the children of n, and the last `leaves` nodes are the entries.
    std::vector<std::uint16_t> nodes;
    std::size_t leaves = 0;
};
