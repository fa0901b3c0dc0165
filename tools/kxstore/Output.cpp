#include "Output.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace KxStore {

void Print(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) return;
    throw std::system_error(errno, std::generic_category(), "the report cannot be written");
}

}  // namespace KxStore
