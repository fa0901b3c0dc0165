#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include "system/platform/LinuxFacts.h"
#include "system/platform/Platform.h"

namespace KX::Platform {
namespace {

// Makes the folder and those above it that are missing, for the user alone. No failure is reported.
void MakeFolders(const std::string& folder) {
    for (std::size_t end = folder.find('/', 1); end != std::string::npos; end = folder.find('/', end + 1)) {
        (void)::mkdir(folder.substr(0, end).c_str(), 0700);
    }
    (void)::mkdir(folder.c_str(), 0700);
}

}  // namespace

std::string HomeFolder() {
    std::string buffer(1024, '\0');
    passwd entry{};
    passwd* found = nullptr;
    while (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE) {
        buffer.resize(buffer.size() * 2);
    }
    return found == nullptr || found->pw_dir == nullptr ? std::string() : std::string(found->pw_dir);
}

std::string BundlePath() {
    std::error_code failure;  // leaves the path empty
    return BundleOfProgram(std::filesystem::read_symlink("/proc/self/exe", failure).native());
}

std::string ApplicationSupportFolder() {
    const char* const home = std::getenv("HOME");
    const bool hasHome = home != nullptr && *home != '\0';
    std::string folder = DataFolder(std::getenv("XDG_DATA_HOME"), hasHome ? home : HomeFolder());
    MakeFolders(folder);
    return folder;
}

Release SystemRelease() {
    return {11, 0, 0};  // newer than all that anyone asks for
}

std::optional<unsigned int> Reachability() {
    std::ifstream routes("/proc/net/route");
    if (!routes) return std::nullopt;
    return ReachabilityByRoutes(routes);
}

}  // namespace KX::Platform
