#pragma once

#include <cstdio>
#include <string>

#include "io/Result.h"

namespace KX {

template <typename T>
class CBuffer;

// Files, folders and facts about the operating system. Static functions without state; any thread may call them.
// Wide paths reach the system in the system's text locale (string/Encoding.h); one that it cannot express whole names
// no file. std::bad_alloc may leave, but where a Result is returned it is kResultOutOfMemory.
class CSystem {
public:
    CSystem() = delete;

    // The folder for temporary files: the environment's TMPDIR as it stands, no separator added or removed; if
    // that is empty or not set, the folder "Ferrovance" in the user's home folder, which is made (mode 0700).
    // That the folder exists is not promised.
    static void GetTmpDirForOSX(std::string& out);
    static void GetSystemTmpPath(std::wstring& out);
    // Copies the path with its terminator; the caller provides the room, which is not checked.
    static void GetSystemTmpPath(wchar_t* out);

    // Whether a file or folder of that name can be queried; one separator at the end does not count. A link is
    // followed unless noFollow is true.
    static bool FileExists(std::wstring path, bool noFollow);

    // Deletes a file or an empty folder. kResultFail: the system did not, errno has its reason.
    static Result DeleteFileByName(const std::wstring& path);

    // Whether the folder of the path, as splitPath gives it, is "/" itself: true of "/" and "/x", false of "/a/x".
    static bool IsRootFolder(std::wstring path);

    // Whether the path names a folder, links followed. A path that cannot be queried is none, and "File stat Error!"
    // with the system's reason goes to standard error.
    static Result IsDirectory(std::wstring path, bool& isDir);
    static bool isDirectory(char* path);

    // fopen. The caller closes the file. kResultInvalidArgument: it was not opened, file is null and errno has the
    // reason.
    static Result OpenFile(std::wstring path, std::FILE*& file, const char* mode);

    // The size in bytes, 0 of a file that cannot be queried. kResultFileQueryFailed: the path is empty; size is left
    // as it was.
    static Result GetFileSize(const std::wstring& path, unsigned long& size);

    // Seconds since the epoch of the last modification; -1 where the file cannot be opened for reading.
    static long long GetFileModifiedTime(std::wstring path);

    // Reads a whole file into an array that the caller frees by delete[]. A file whose size the system gives as 0 (an
    // empty one, a pipe, most files of /proc) is not read: it gives an array of no bytes.
    //
    // kResultFileQueryFailed  the path is empty; data and size are left as they were
    // kResultOutOfMemory      there is no memory for it
    // kResultOpenFailed       it cannot be opened, or fewer bytes came than its size
    //
    // After the last two data is null or holds what it held before, and is not to be used.
    static Result ReadFileToMemory(std::wstring path, char*& data, unsigned long& size);

    // The same into a buffer, with the same codes. CreateBuffer makes no array of 0 elements: a file of size 0 succeeds
    // and leaves the buffer with what it held, its count included. After kResultOpenFailed the buffer keeps its memory,
    // and its bytes mean nothing.
    static Result ReadFileToMemory(std::wstring path, CBuffer<char>& buffer);

    // Makes the bytes the whole content of the file. kResultOpenFailed: it cannot be opened for writing, or not all
    // bytes reached it; what is there then may be cut short. kResultInvalidArgument: there is no data; the file is
    // left alone.
    static Result WriteMemoryToFile(std::wstring path, const char* data, unsigned long size);

    // Leaves the path of an existing folder as it is and cuts any other before its last separator, if it has one.
    static Result GetPathFolder(std::wstring& path);

    // The folder above the one that GetPathFolder gives: "/a" for the folder "/a/b/" and for the file "/a/b/c.txt".
    static Result GetPathParentFolder(std::wstring& path);

    // The deepest existing folder along the path, itself included; "" if there is none. The root is found only where
    // it is the path itself.
    static std::wstring GetExistPathFolder(const std::wstring& path);

    // Takes a path apart: drive is always "", the folder goes up to its last slash, which it keeps, and the extension
    // starts with the last dot behind that. Only the slash separates. The caller provides the room, which is not
    // checked; a null output is skipped, a null path is empty.
    static void splitPath(const wchar_t* path, wchar_t* drive, wchar_t* folder, wchar_t* name, wchar_t* extension);

    // Copies n characters, which the source must have, and a terminator behind them. Returns dest.
    static wchar_t* strcpypart(wchar_t* dest, const wchar_t* src, unsigned long n);

    // memcpy of srcSize bytes. The size of the destination is not looked at.
    static void MemoryCopy(const void* src, unsigned long srcSize, void* dest, unsigned long destSize);
};

}  // namespace KX
