#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include "PrivateFolder.h"

namespace KxStore {

inline constexpr std::uint64_t kLargestSharedBlock = 0x4000000;
// The file of a larger block would be shorter than the block.
inline constexpr std::uint64_t kLargestBlock = 0xFFFFFFFE;

// A prefix for a store's SetDirectory, of its own for each object: the name of an object's file is its prefix and the
// second, and two objects of one name would overwrite each other. Three digits count, and the stores drop the last
// character: that comes around after 46656 objects.
std::wstring PrefixOf(std::size_t object);

// Gives the global stores folders that cannot exist. When the program ends, a store prints what it finds in its
// folder, and in the folders that the stores start with other programs may have left something.
void PointStoresNowhere();

// The four global stores, with their folders in a private one of this object. Throws std::runtime_error.
class CStores {
public:
    // Makes the private folder in the given one; see CPrivateFolder.
    explicit CStores(const std::string& parent);
    ~CStores();

    CStores(const CStores&) = delete;
    CStores& operator=(const CStores&) = delete;

    // The handle of a new block.
    unsigned int Allocate(std::uint64_t size);
    void Free(unsigned int handle);

    // How many backing objects there have been.
    std::size_t ObjectsMade() const { return objectsMade; }

    // Destroys all blocks that are left and removes the private folder. To be called before the object goes, as
    // its destructor, which does the same, cannot tell that the folder stays.
    void Close();

private:
    CPrivateFolder folder;
    std::map<unsigned int, std::size_t> blocksOfObject;
    std::size_t objectsMade = 0;
};

}  // namespace KxStore
