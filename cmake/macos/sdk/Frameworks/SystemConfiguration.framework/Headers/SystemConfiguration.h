#pragma once

// Declares what MacPlatform.mm calls, for the cross-build alone; see ../../../README.md.

#include <CoreFoundation/CoreFoundation.h>
#include <sys/socket.h>

typedef const struct __SCNetworkReachability* SCNetworkReachabilityRef;
typedef UInt32 SCNetworkReachabilityFlags;

enum : UInt32 { kSCNetworkReachabilityFlagsReachable = 1 << 1, kSCNetworkReachabilityFlagsConnectionRequired = 1 << 2 };

extern "C" {
__attribute__((deprecated)) SCNetworkReachabilityRef SCNetworkReachabilityCreateWithAddress(
    CFAllocatorRef allocator, const struct sockaddr* address);
__attribute__((deprecated)) Boolean SCNetworkReachabilityGetFlags(SCNetworkReachabilityRef target,
                                                                  SCNetworkReachabilityFlags* flags);
}
