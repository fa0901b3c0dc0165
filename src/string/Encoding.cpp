#include "string/Encoding.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <utility>

#include "string/LocaleScope.h"

namespace KX {

std::string ConvertToString(std::wstring text, const std::string& localeName) {
    std::string narrow(text.size() * 4 + 4, '\0');
    const CLocaleScope scope(localeName);
    // The result is not looked at: the buffer was zeroed, so what stands before its first NUL is what was
    // converted, and on a character that cannot be converted that is the text before it.
    (void)std::wcstombs(narrow.data(), text.c_str(), narrow.size());
    narrow.resize(::strnlen(narrow.data(), narrow.size() - 1));
    return narrow;
}

std::string ConvertToString(std::string text) {
    return text;
}

std::wstring ConvertToWstring(std::string text, const std::string& localeName) {
    std::wstring wide(text.size() + 1, L'\0');
    const CLocaleScope scope(localeName);
    (void)std::mbstowcs(wide.data(), text.c_str(), wide.size());
    wide.resize(std::wcslen(wide.c_str()));
    return wide;
}

std::wstring ConvertToWstring(std::wstring text) {
    return text;
}

std::wstring ConvertToTstring(std::string text, const std::locale& /*ignored*/) {
    return ConvertToWstring(std::move(text));
}

std::wstring ConvertToTstring(std::wstring text, const std::locale& /*ignored*/) {
    return text;
}

std::string ConvertWstringToUTF8(std::wstring /*text*/) {
    return {};
}

std::wstring ConvertUTF8ToWstring(std::string /*text*/) {
    return {};
}

std::string ConvertStringToUTF8(std::string text) {
    return ConvertWstringToUTF8(ConvertToWstring(std::move(text), kTextLocale));
}

std::string ConvertUTF8ToString(std::string text) {
    return ConvertToString(ConvertUTF8ToWstring(std::move(text)), kTextLocale);
}

std::uint64_t StringBufferSizeInBytes(std::string text) {
    return std::strlen(text.c_str());
}

std::uint64_t StringBufferSizeInBytes(std::wstring text) {
    return std::wcslen(text.c_str()) * sizeof(wchar_t);
}

}  // namespace KX
