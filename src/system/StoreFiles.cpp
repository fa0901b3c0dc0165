#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <string>
#include <utility>

#include "io/ResultOf.h"
#include "string/Encoding.h"
#include "string/Path.h"
#include "system/NarrowPath.h"
#include "system/System.h"
#include "system/platform/Platform.h"

namespace KX {

void CSystem::GetTmpDirForOSX(std::string& out) {
    const char* const fromEnvironment = std::getenv("TMPDIR");
    out = fromEnvironment == nullptr ? "" : fromEnvironment;
    if (!out.empty()) return;

    out = Platform::HomeFolder() + "/Ferrovance";
    (void)::mkdir(out.c_str(), 0700);  // an existing folder is fine, and no failure is reported
}

void CSystem::GetSystemTmpPath(std::wstring& out) {
    std::string narrow;
    GetTmpDirForOSX(narrow);
    out = ConvertToWstring(std::move(narrow), kTextLocale);
}

void CSystem::GetSystemTmpPath(wchar_t* out) {
    if (out == nullptr) return;

    std::wstring path;
    GetSystemTmpPath(path);
    std::wcscpy(out, path.c_str());
}

bool CSystem::FileExists(std::wstring path, bool noFollow) {
    const std::string narrow = NarrowPath(GetNoPlatformSlashFolderPath(std::move(path)));
    struct stat status {};
    return (noFollow ? ::lstat(narrow.c_str(), &status) : ::stat(narrow.c_str(), &status)) == 0;
}

Result CSystem::DeleteFileByName(const std::wstring& path) {
    return ResultOf([&] { return std::remove(NarrowPath(path).c_str()) == 0 ? kResultOk : kResultFail; });
}

}  // namespace KX
