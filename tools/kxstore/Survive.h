#pragma once

#include <cstdint>
#include <string>

#include "Progress.h"

namespace KxStore {

// The handles of a store number 16383 objects, and one is that of a small block.
inline constexpr unsigned int kMostSurvivors = 16382;

struct SurviveOptions {
    std::string folder;  // empty for the system's temporary folder
    unsigned int blocks = 4;
    std::uint64_t blockSize = 0x6000000;  // more than kLargestSharedBlock
    bool isJson = false;
};

// Has a process fill the blocks of a private store, save its header file and write over the blocks again and again
// until it is killed; has another one load the header file and compare every byte; and prints what came of it. Returns
// the exit status: 1 where a byte was lost or a file is left. Throws std::runtime_error where the first process ends on
// its own or writes no header file, where there is no room, or the report cannot be printed, and Stopped.
int Survive(const SurviveOptions& options, CProgress& progress);

}  // namespace KxStore
