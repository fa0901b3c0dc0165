#pragma once

#include <optional>
#include <string>

// The one seam to the operating system's own interfaces. One source per platform defines these functions, chosen
// by the build; nothing that could be tested elsewhere is done behind them. Paths are as the system spells them,
// without a separator at the end. Any thread; std::bad_alloc may leave.
namespace KX::Platform {

// The home folder of the user who runs the process, as the system gives it; empty where it knows none.
std::string HomeFolder();

// The bundle of the application that runs, of a program that has none the folder that holds it; empty where the system
// cannot tell.
std::string BundlePath();

// The folder for files that support the user's applications, which is made where it is missing; empty where the system
// cannot tell. That the folder exists is not promised.
std::string ApplicationSupportFolder();

// A release of macOS; a number that the system does not tell is 0. Elsewhere one that is newer than all that
// CSystem::GetOSVersion tells apart.
struct Release {
    int major = 0;
    int minor = 0;
    int bugFix = 0;
};
Release SystemRelease();

// What stands between this machine and the network: bits of kReachable and kConnectionRequired, none where the system
// cannot tell. Nothing is sent.
inline constexpr unsigned int kReachable = 2;
inline constexpr unsigned int kConnectionRequired = 4;  // someone has to dial first
std::optional<unsigned int> Reachability();

}  // namespace KX::Platform
