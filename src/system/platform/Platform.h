#pragma once

#include <string>

// The one seam to the operating system's own interfaces. One source per platform defines these functions, chosen
// by the build; nothing that could be tested elsewhere is done behind them.
namespace KX::Platform {

// The home folder of the user who runs the process, as the system gives it; empty where it knows none. Any thread.
// May throw std::bad_alloc.
std::string HomeFolder();

}  // namespace KX::Platform
