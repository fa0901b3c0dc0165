#pragma once

// Declares what MacPlatform.mm calls, for the cross-build alone; see ../../../README.md.

#include <CoreFoundation/CoreFoundation.h>

typedef SInt16 FSVolumeRefNum;

struct FSRef {
    UInt8 hidden[80];
};

enum { kUserDomain = -32763 };
enum { kApplicationSupportFolderType = 'asup' };
enum { gestaltSystemVersionMajor = 'sys1', gestaltSystemVersionMinor = 'sys2', gestaltSystemVersionBugFix = 'sys3' };

extern "C" {
__attribute__((deprecated)) OSErr Gestalt(OSType selector, SInt32* response);
__attribute__((deprecated)) OSErr FSFindFolder(FSVolumeRefNum volume, OSType folderType, Boolean create, FSRef* found);
__attribute__((deprecated)) OSStatus FSRefMakePath(const FSRef* file, UInt8* path, UInt32 size);
}
