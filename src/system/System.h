#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "io/Result.h"

namespace KX {

template <typename T>
class CArrayList;
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

    // Whether the file exists where the path says or else beside the other file, which may be null. In the latter case
    // the path is changed to the second place, found or not. A backslash joins it, as callers have settled on: where
    // slashes alone separate, that asks for a file with a backslash in its name.
    static bool SearchFile(std::wstring& path, const wchar_t* otherFile);

    // Looks in each folder in turn for the file name of fileName. Returns the first path that exists, its backslashes
    // turned into slashes, or "" if none does.
    //
    // A folder with a colon, or any if fileName begins with two backslashes, stands for itself; its file is joined by a
    // backslash unless it ends in a separator. Any other folder, "/x" as well, is resolved as text against the folder
    // of baseFile, "./" and "../" in it included, and passed over if baseFile is empty; here backslashes join all. What
    // is asked for are the paths with their backslashes, as callers have settled on: see above.
    static std::wstring SearchFile(std::wstring fileName, const std::vector<std::wstring>& folders,
                                   std::wstring baseFile);

    // Appends the name of every entry of the folder, "." and ".." included, in the system's order; nothing is chosen by
    // extension, despite the name. A name that the text locale cannot read ends before the bytes that it cannot.
    // kResultFileQueryFailed: the folder cannot be opened, out is left as it was.
    static Result GetAllSpecifiedExpendFilesInDirectory(std::wstring folder, std::vector<std::wstring>& out);

    // Appends the full paths of all that matches the pattern of glob (*, ?, [...], backslash before what is meant
    // literally) in the folder, sorted; then, if recursive, those in each folder below it, in the system's order.
    // Folder and pattern are one pattern together, on every level: wildcards and backslashes in names of folders count,
    // and an unreadable folder that a wildcard of them stands for leaves nothing found there. What is one character,
    // and the order, are the C library's affair under the locale in force. A path that the text locale cannot read ends
    // before the bytes that it cannot. Each dangling link gives a message as IsDirectory prints it, if recursive.
    //
    // A pattern, folder included, matches nothing where it would take glob too deep: where its separators, those at its
    // end or, with a wildcard in a folder's name, all from there on, times its bytes and 2048 more come to over 128 KiB.
    // So some 50 levels are searched below a folder whose name is a wildcard.
    //
    // Links to folders are followed. One that leads to a folder above itself is followed over and over, until the
    // system refuses a path of too many links (Linux: more than 40) or characters: each file is found as often. With
    // several such links every combination of them is a path, which takes time and memory without practical end: do not
    // search such trees recursively.
    //
    // kResultFileQueryFailed  recursive, and the folder itself cannot be opened, as "" cannot; a folder below it that
    //                         cannot be is passed over. What was found stays in out.
    static Result FindAllFiles(std::wstring pattern, std::wstring folder, bool recursive,
                               std::vector<std::wstring>& out);
    static Result FindAllFiles(std::wstring pattern, std::wstring folder, bool recursive,
                               CArrayList<std::wstring>& out);

    // Adds to count the number of files in the folder and in all below it, whether recursive or not, as callers have
    // settled on. What is no folder is a file; so is what cannot be queried, a dangling link for example, after a
    // message as IsDirectory prints it. Links to folders are followed as FindAllFiles does, with the same price.
    // kResultInvalidArgument: a folder cannot be opened; what was counted before stays in count.
    static Result CountFiles(std::wstring folder, bool recursive, unsigned int& count);

    // splitPath into texts, which has no limit of length. Always true.
    static bool GetTokenFileName(std::wstring path, std::wstring& drive, std::wstring& folder, std::wstring& name,
                                 std::wstring& extension);

    // The first of folder + baseName + extension and folder + baseName + 0 to 998 + extension that names nothing that
    // exists; "" if all of them do. The folder must end in a separator, for none is added. The extension starts with
    // the last dot of the last argument; if that has none, a dot is put in front of it. Names are cut to 259
    // characters. Nothing is made: another program may take the name meanwhile.
    static std::wstring GetSerialFileName(std::wstring folder, std::wstring baseName, std::wstring extension);

    // Writes the name folder + "/" + prefix + number + ".tmp" to out, where the caller provides the room, and returns
    // the number. Null texts are empty; nothing is made.
    //
    // Number 0: one that lies 1 to 100 ahead of the clock's seconds; whether it is taken is not looked at. Any other:
    // the first from there on whose name is taken, as callers have settled on, and the call does not return before
    // there is one. Where the search went round to 0, the name is that of 0 and what is returned that of the first
    // case.
    static unsigned int GetSystemTempFileName(const wchar_t* folder, const wchar_t* prefix, unsigned int number,
                                              wchar_t* out);

    // Sleeps so many milliseconds, signals or not.
    static void MSleep(unsigned int milliseconds);

    // Seconds since the epoch by the system's clock, to the microsecond. The clock may be set back.
    static double GetTime();

    // The bundle of the application that runs: its name with extension ("X.app"), the folder that it is in with a
    // separator at the end, followed by the sub path, and the bundle itself, "/" and the sub path. The bundle of a
    // program that has none is the folder that holds it. Its path is cut to 259 bytes. Empty, or the rest without it,
    // where the system cannot tell.
    static std::wstring GetModuleName();
    static std::wstring GetModulePath(std::wstring subPath);
    static std::wstring GetBundlePath(std::wstring subPath);

    // The folder for files that support the user's applications, made where it is missing, without a separator at the
    // end: Library/Application Support at home on macOS, XDG_DATA_HOME or .local/share at home on Linux. Empty where
    // the system cannot tell.
    static std::wstring GetApplicationSupportPath();

    // Which release of macOS runs: 10.6.0 to 10.6.8 are 0 to 8, 10.7.0 to 10.7.5 are 9 to 14, 10.8.0 is 15, 10.8.2 is
    // 16, and 17 is anything newer or between, 10.6.9 and 10.7.6 included. -1 is anything older, and 10.8.1, which
    // callers have settled on. Always 17 on Linux.
    static int GetOSVersion();

    // Always true.
    static bool Is64BitOS();

    // Whether there is a way to the network over IPv4 that nobody has to dial first: on Linux, whether the kernel has a
    // default route. Nothing is sent, so the network behind it may still be down.
    static bool NetworkConnected();
};

}  // namespace KX
