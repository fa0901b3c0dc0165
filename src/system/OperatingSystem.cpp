#include "system/OperatingSystem.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "string/Encoding.h"
#include "system/System.h"

namespace KX {
namespace {

constexpr std::size_t kMaxBundlePath = 259;  // bytes; what is longer is cut, as callers have settled on

constexpr int kOlder = -1;
constexpr int kNewer = 17;

}  // namespace

int ReleaseIndex(const Platform::Release& release) {
    const auto [major, minor, bugFix] = release;
    if (major > 10) return kNewer;
    if (major < 10 || minor < 6) return kOlder;

    switch (minor) {
        case 6:
            return bugFix <= 8 ? bugFix : kNewer;
        case 7:
            return bugFix <= 5 ? 9 + bugFix : kNewer;
        case 8:
            break;
        default:
            return kNewer;
    }
    switch (bugFix) {
        case 0:
            return 15;
        case 1:
            return kOlder;  // absent from the table, which callers have settled on
        case 2:
            return 16;
        default:
            return kNewer;
    }
}

bool IsConnected(std::optional<unsigned int> reachability) {
    constexpr unsigned int kLookedAt = Platform::kReachable | Platform::kConnectionRequired;
    return reachability.has_value() && (*reachability & kLookedAt) == Platform::kReachable;
}

CBundle::CBundle(std::string path) {
    path.resize(std::min(path.size(), kMaxBundlePath));
    std::wstring drive, extension;
    CSystem::GetTokenFileName(ConvertToWstring(std::move(path), kTextLocale), drive, folder, name, extension);
    name += extension;
}

std::wstring CSystem::GetModuleName() {
    return CBundle(Platform::BundlePath()).name;
}

std::wstring CSystem::GetModulePath(std::wstring subPath) {
    return CBundle(Platform::BundlePath()).folder + subPath;
}

std::wstring CSystem::GetBundlePath(std::wstring subPath) {
    const CBundle bundle(Platform::BundlePath());
    return bundle.folder + bundle.name + L"/" + subPath;
}

std::wstring CSystem::GetApplicationSupportPath() {
    return ConvertToWstring(Platform::ApplicationSupportFolder(), kTextLocale);
}

int CSystem::GetOSVersion() {
    return ReleaseIndex(Platform::SystemRelease());
}

bool CSystem::Is64BitOS() {
    return true;
}

bool CSystem::NetworkConnected() {
    return IsConnected(Platform::Reachability());
}

}  // namespace KX
