#import <CoreFoundation/CoreFoundation.h>
#import <CoreServices/CoreServices.h>
#import <Foundation/Foundation.h>
#import <SystemConfiguration/SystemConfiguration.h>

#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cstddef>
#include <string>

#include "system/platform/Platform.h"

namespace KX::Platform {
namespace {

static_assert(kReachable == kSCNetworkReachabilityFlagsReachable);
static_assert(kConnectionRequired == kSCNetworkReachabilityFlagsConnectionRequired);

constexpr std::size_t kMaxSupportPath = 260;  // bytes, the zero at the end included

// Releases what a function with Create or Copy in its name has returned; null is what such a function fails with.
template <typename Reference>
class CHolder {
public:
    explicit CHolder(Reference object) : object(object) {}
    ~CHolder() {
        if (object != nullptr) CFRelease(object);
    }

    CHolder(const CHolder&) = delete;
    CHolder& operator=(const CHolder&) = delete;

    Reference Get() const { return object; }

private:
    const Reference object;
};

std::string FileSystemText(CFStringRef path) {
    // The system refuses a buffer that is too small, so it gets one that is not.
    const CFIndex size = CFStringGetMaximumSizeOfFileSystemRepresentation(path) + 1;
    std::string text(static_cast<std::size_t>(size), '\0');
    return CFStringGetFileSystemRepresentation(path, text.data(), size) ? std::string(text.c_str()) : std::string();
}

int Answer(OSType selector) {
    SInt32 answer = 0;
    return Gestalt(selector, &answer) == noErr ? answer : 0;
}

sockaddr_in ZeroAddress() {
    sockaddr_in address{};
    address.sin_len = sizeof(address);
    address.sin_family = AF_INET;
    return address;
}

}  // namespace

std::string HomeFolder() {
    @autoreleasepool {
        // By the full name and not the login name: applications already have their folder where this leads.
        NSString* const home = NSHomeDirectoryForUser(NSFullUserName());
        return home == nil ? std::string() : std::string([home UTF8String]);
    }
}

std::string BundlePath() {
    const CFBundleRef bundle = CFBundleGetMainBundle();  // stays the system's
    if (bundle == nullptr) return {};
    const CHolder url(CFBundleCopyBundleURL(bundle));
    if (url.Get() == nullptr) return {};
    const CHolder path(CFURLCopyFileSystemPath(url.Get(), kCFURLPOSIXPathStyle));
    return path.Get() == nullptr ? std::string() : FileSystemText(path.Get());
}

std::string ApplicationSupportFolder() {
    FSRef folder{};
    (void)FSFindFolder(kUserDomain, kApplicationSupportFolderType, true, &folder);  // a zeroed folder has no path
    std::array<UInt8, kMaxSupportPath> path{};
    if (FSRefMakePath(&folder, path.data(), path.size()) != noErr) return {};
    return reinterpret_cast<const char*>(path.data());
}

Release SystemRelease() {
    return {Answer(gestaltSystemVersionMajor), Answer(gestaltSystemVersionMinor), Answer(gestaltSystemVersionBugFix)};
}

std::optional<unsigned int> Reachability() {
    const sockaddr_in anywhere = ZeroAddress();
    const CHolder target(
        SCNetworkReachabilityCreateWithAddress(kCFAllocatorDefault, reinterpret_cast<const sockaddr*>(&anywhere)));
    if (target.Get() == nullptr) return std::nullopt;

    SCNetworkReachabilityFlags flags = 0;
    if (!SCNetworkReachabilityGetFlags(target.Get(), &flags)) return std::nullopt;
    return flags;
}

}  // namespace KX::Platform
