#pragma once

#include <string>

namespace KxStore {

inline constexpr const char* kContainerKind = "container";
inline constexpr const char* kHeaderKind = "header";

struct InspectOptions {
    std::string path;
    std::string kind;  // one of the above; told by the file's name where it is empty
    bool isJson = false;
};

// Prints what a file of ours tells of itself. Returns the exit status: 1 where anything in it is wrong. Throws
// std::runtime_error where the file cannot be read at all or the report cannot be printed, and Stopped.
int Inspect(const InspectOptions& options);

}  // namespace KxStore
