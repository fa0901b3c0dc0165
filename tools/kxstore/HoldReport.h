#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "SourceFiles.h"

namespace KxStore {

struct HoldRow {
    std::string name;
    std::vector<const SourceFile*> files;  // as they follow each other in the block
    std::uint64_t size = 0;
    std::uint64_t room = 0;   // of the block, which may be larger
    unsigned int handle = 0;  // stays 0 for an empty file, which needs no block
    bool isVerified = false;
};

struct Transfer {
    std::uint64_t bytes = 0;
    double seconds = 0;
};

// What was held, and how fast.
struct HoldReport {
    std::vector<HoldRow> rows;
    std::size_t objects = 0;
    std::size_t failures = 0;
    Transfer in;
    Transfer out;
};

std::string ToTable(const HoldReport& report);
// One document; bytes of file names that are no valid UTF-8 are replaced.
std::string ToJson(const HoldReport& report);

}  // namespace KxStore
