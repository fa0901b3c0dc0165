#pragma once

#include <string>

namespace KxStore {

// Writes to standard output, where the reports go. Throws std::system_error where that fails.
void Print(const std::string& text);

}  // namespace KxStore
