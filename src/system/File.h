#pragma once

#include <cstdio>
#include <memory>
#include <string>

namespace KX {

struct CloseFile {
    // What was written may yet be lost here: flush first where that matters.
    void operator()(std::FILE* file) const { (void)std::fclose(file); }
};

// An open file of the C library, closed with its owner.
using CFile = std::unique_ptr<std::FILE, CloseFile>;

// fopen for reading, but that a pipe without a writer is not waited for: opening one would never return. Null where the
// file cannot be opened; errno has the reason.
CFile OpenForReading(const std::string& narrowPath);

}  // namespace KX
