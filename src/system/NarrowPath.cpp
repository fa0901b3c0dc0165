#include "system/NarrowPath.h"

#include "string/Encoding.h"

namespace KX {

std::string NarrowPath(const std::wstring& path) {
    std::string narrow = ConvertToString(path, kTextLocale);
    if (ConvertToWstring(narrow, kTextLocale) != path) narrow.clear();
    return narrow;
}

}  // namespace KX
