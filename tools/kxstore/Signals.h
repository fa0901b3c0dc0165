#pragma once

#include <string>

namespace KxStore {

// Thrown by ThrowIfStopped; the program ends with 128 + number once everything is cleaned up.
struct Stopped {
    int number;
};

// From here on SIGINT, SIGTERM and SIGHUP are noted for ThrowIfStopped, SIGBUS ends the program with a message, and
// writing to a closed pipe or past a file size limit fails like any other write.
void InstallSignalHandlers();

// To be called often by all long work.
void ThrowIfStopped();

// The folder that the message of SIGBUS names, as its files stay behind.
void SetFolderAtRisk(const std::string& folder);

}  // namespace KxStore
