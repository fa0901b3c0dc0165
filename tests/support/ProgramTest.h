#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "support/TempFolder.h"

// Without the tests' own locale: the C library loses some bytes when it finds one by LOCPATH, and sanitizers tell.
inline const std::string kProgram = "unset LOCPATH; " KXSTORE_PROGRAM " ";

// Runs our program by commands that leave its output in the files "out" and "err".
class ProgramTest : public TempFolderTest {
protected:
    int Shell(const std::string& command) {
        const int status = std::system(command.c_str());
        out = BytesOf("out");
        err = BytesOf("err");
        report = nlohmann::json::parse(out, nullptr, false);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    bool Tells(const std::string& text) const { return err.find(text) != std::string::npos; }

    std::string out;
    std::string err;
    nlohmann::json report;
};
