#pragma once

#include <string>

#include "io/Result.h"

namespace KX {

// Files, folders and facts about the operating system. Static functions without state; any thread may call them.
// Wide paths reach the system in the system's text locale (string/Encoding.h). std::bad_alloc may leave.
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
};

}  // namespace KX
