#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace KxStore {

// What survived the killed process.
struct SurviveReport {
    unsigned int blocks = 0;
    std::uint64_t blockSize = 0;
    std::uint64_t headerSize = 0;
    std::uint64_t rewritten = 0;  // bytes written over before the kill, at the least
    std::uint64_t compared = 0;   // bytes that are as they must be
    std::size_t filesLeft = 0;    // in the store's folder, at the end
    double secondsWriting = 0;
    double secondsComparing = 0;
    bool isVerified = false;  // every byte was compared, and every block freed
    bool isTorn = false;      // a piece was found half written
    bool isSmallKept = false;
};

std::string ToText(const SurviveReport& report);
std::string ToJson(const SurviveReport& report);

}  // namespace KxStore
