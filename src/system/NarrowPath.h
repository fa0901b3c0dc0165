#pragma once

#include <string>

namespace KX {

// The path as the C library takes it; empty, which no system call finds, where the text locale cannot express all
// of it. A path cut short would name some other file, and that file would be opened, grown or deleted.
std::string NarrowPath(const std::wstring& path);

}  // namespace KX
