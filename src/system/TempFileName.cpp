#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <cwchar>
#include <string>

#include "string/Path.h"
#include "system/System.h"

namespace KX {

unsigned int CSystem::GetSystemTempFileName(const wchar_t* folder, const wchar_t* prefix, unsigned int number,
                                            wchar_t* out) {
    const std::wstring start =
        GetNoPlatformSlashFolderPath(folder == nullptr ? L"" : folder) + L"/" + (prefix == nullptr ? L"" : prefix);
    const auto nameOf = [&start](std::uint32_t k) { return start + std::to_wstring(k) + L".tmp"; };
    const std::uint32_t ahead = static_cast<std::uint32_t>(std::time(nullptr)) + ::arc4random() % 100 + 1;

    std::uint32_t found = number == 0 ? ahead : number;
    // Upwards to a name that is taken: the sense that callers have settled on.
    while (number != 0 && !FileExists(nameOf(found), false)) ++found;
    if (out != nullptr) std::wcscpy(out, nameOf(found).c_str());
    return found == 0 ? ahead : found;
}

}  // namespace KX
