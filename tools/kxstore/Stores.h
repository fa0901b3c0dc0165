#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace KxStore {

inline constexpr std::uint64_t kLargestSharedBlock = 0x4000000;
// The file of a larger block would be shorter than the block.
inline constexpr std::uint64_t kLargestBlock = 0xFFFFFFFE;

// Gives the global stores folders that cannot exist. When the program ends, a store prints what it finds in its
// folder, and in the folders that the stores start with other programs may have left something.
void PointStoresNowhere();

// The four global stores, with their folders in a private one of this object. Throws std::runtime_error.
class CStores {
public:
    // Makes the private folder in the given one.
    explicit CStores(const std::string& parent);
    ~CStores();

    CStores(const CStores&) = delete;
    CStores& operator=(const CStores&) = delete;

    // The handle of a new block.
    unsigned int Allocate(std::uint64_t size);
    void Free(unsigned int handle);

    const std::string& Folder() const { return folder; }
    // How many backing objects there have been.
    std::size_t ObjectsMade() const { return objectsMade; }

    // Destroys all blocks that are left and removes the private folder. To be called before the object goes, as
    // its destructor, which does the same, cannot tell that the folder stays.
    void Close();

private:
    void RequireRoom(std::uint64_t size) const;

    std::string folder;
    std::wstring wideFolder;
    std::map<unsigned int, std::size_t> blocksOfObject;
    std::size_t objectsMade = 0;
};

}  // namespace KxStore
