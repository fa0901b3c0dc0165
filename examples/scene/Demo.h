#pragma once

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

#include "io/Result.h"

// What the programs that demonstrate object streams share: the first failure ends the program with a message.

inline void Demand(bool isTrue, const std::string& what) {
    if (!isTrue) throw std::runtime_error(what);
}

inline void Check(KX::Result result, const std::string& what) {
    if (!KX::Failed(result)) return;
    char code[16];
    std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned int>(result));
    throw std::runtime_error(what + ": " + code + " (see io/Result.h)");
}

template <typename Work>
void Timed(const char* what, Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    std::printf("%-22s %7.1f ms\n", what, time.count());
}

// The current folder for one scope. Also keeps the list of objects that a save leaves there out of the user's folders.
struct CTemporaryFolder {
    explicit CTemporaryFolder(const std::string& name)
        : path((std::filesystem::temp_directory_path() / (name + "-XXXXXX")).string()) {
        Demand(::mkdtemp(path.data()) != nullptr, "cannot make a temporary folder");
        std::filesystem::current_path(path);
    }
    ~CTemporaryFolder() {
        std::error_code ignored;  // what cannot be removed is left to the system
        std::filesystem::current_path("/", ignored);
        std::filesystem::remove_all(path, ignored);
    }
    CTemporaryFolder(const CTemporaryFolder&) = delete;
    CTemporaryFolder& operator=(const CTemporaryFolder&) = delete;

    std::string path;
};
