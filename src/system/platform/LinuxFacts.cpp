#include "system/platform/LinuxFacts.h"

#include <sstream>
#include <string_view>

#include "system/platform/Platform.h"

namespace KX::Platform {
namespace {

constexpr std::string_view kProgramsInBundle = "/Contents/MacOS";
constexpr std::string_view kBundleExtension = ".app";

// Flags of a route, as the kernel's interface numbers them.
constexpr unsigned int kRouteUp = 0x0001;
constexpr unsigned int kRouteReject = 0x0200;

bool IsAbsolute(std::string_view path) {
    return path.starts_with('/');
}

// Whether a line of the table is the way to everywhere: to the address 0 under the mask 0.
bool IsUsableDefault(const std::string& line) {
    std::istringstream fields(line);
    std::string interface, gateway, ignored;
    unsigned int destination = 1, flags = 0, mask = 1;
    fields >> interface >> std::hex >> destination >> gateway >> flags >> ignored >> ignored >> ignored >> mask;
    return fields && destination == 0 && mask == 0 && (flags & (kRouteUp | kRouteReject)) == kRouteUp;
}

}  // namespace

std::string BundleOfProgram(const std::string& program) {
    if (!IsAbsolute(program)) return {};

    std::string folder = program.substr(0, program.rfind('/'));
    if (folder.empty()) return "/";
    if (!folder.ends_with(kProgramsInBundle)) return folder;

    std::string bundle = folder.substr(0, folder.size() - kProgramsInBundle.size());
    return bundle.ends_with(kBundleExtension) ? bundle : folder;
}

std::string DataFolder(const char* xdgDataHome, const std::string& home) {
    if (xdgDataHome == nullptr || !IsAbsolute(xdgDataHome))
        return IsAbsolute(home) ? home + "/.local/share" : std::string();

    std::string folder = xdgDataHome;
    while (folder.size() > 1 && folder.ends_with('/')) folder.pop_back();
    return folder;
}

unsigned int ReachabilityByRoutes(std::istream& routes) {
    for (std::string line; std::getline(routes, line);) {
        if (IsUsableDefault(line)) return kReachable;
    }
    return 0;
}

}  // namespace KX::Platform
