#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

// What a fuzz target defines. libFuzzer's main calls these two, and Replay.cpp's for the committed inputs.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);  // Initialize.cpp has it, for all targets
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Ends the program where a law does not hold, in every kind of build.
inline void Check(bool holds, const char* law) {
    if (holds) return;
    (void)std::fprintf(stderr, "Does not hold: %s\n", law);
    std::abort();
}
