#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Progress.h"

namespace KxStore {

struct HoldOptions {
    std::vector<std::string> paths;
    std::string folder;  // empty for the system's temporary folder
    std::uint64_t atOnce = 0x100000000;
    bool isJoined = false;
    bool isJson = false;
};

// Holds files as blocks of the global stores, compares every byte with its source, frees the blocks and prints what
// was done. Returns the exit status: 1 where anything could not be held or compared. Throws std::runtime_error
// where the stores get no folder or the report cannot be printed, and Stopped.
int Hold(const HoldOptions& options, CProgress& progress);

}  // namespace KxStore
