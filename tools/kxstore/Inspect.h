#pragma once

#include <string>

namespace KxStore {

struct InspectOptions {
    std::string path;
    bool isJson = false;
};

// Prints what a file of ours tells of itself. Returns the exit status: 1 where anything in it is wrong. Throws
// std::runtime_error where the file cannot be read at all or the report cannot be printed, and Stopped.
int Inspect(const InspectOptions& options);

}  // namespace KxStore
