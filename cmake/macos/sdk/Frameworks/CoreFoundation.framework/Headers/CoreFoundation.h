#pragma once

// Declares what MacPlatform.mm calls, for the cross-build alone; see ../../../README.md.

#include <stdint.h>

typedef unsigned char Boolean;
typedef uint8_t UInt8;
typedef int16_t SInt16;
typedef int32_t SInt32;
typedef uint32_t UInt32;
typedef SInt16 OSErr;
typedef SInt32 OSStatus;
typedef UInt32 OSType;
typedef signed long CFIndex;

typedef const void* CFTypeRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef struct __CFBundle* CFBundleRef;
typedef const struct __CFString* CFStringRef;
typedef const struct __CFURL* CFURLRef;

typedef enum CFURLPathStyle : CFIndex { kCFURLPOSIXPathStyle = 0 } CFURLPathStyle;

enum { noErr = 0 };

extern "C" {
extern const CFAllocatorRef kCFAllocatorDefault;
void CFRelease(CFTypeRef object);
CFBundleRef CFBundleGetMainBundle(void);
CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle);
CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style);
CFIndex CFStringGetMaximumSizeOfFileSystemRepresentation(CFStringRef text);
Boolean CFStringGetFileSystemRepresentation(CFStringRef text, char* buffer, CFIndex size);
}
