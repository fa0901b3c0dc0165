#pragma once

// Declares what MacPlatform.mm calls, for the cross-build alone; see ../../../README.md.

#include <CoreFoundation/CoreFoundation.h>

#define nil nullptr

@interface NSObject
@end

@interface NSString : NSObject
- (const char*)UTF8String;
@end

extern "C" {
NSString* NSFullUserName(void);
NSString* NSHomeDirectoryForUser(NSString* userName);
}
