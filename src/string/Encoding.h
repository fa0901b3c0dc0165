#pragma once

#include <cstdint>
#include <locale>
#include <string>

namespace KX {

// The locale under which the whole system converts between wide and narrow text.
inline constexpr const char* kTextLocale = "zh_TW.UTF-8";

// Text conversion by the C library's rules for a named locale.
//
// Locale:  a name as setlocale takes it; "" follows the environment at each call. A name that the C library
//          does not know leaves the conversion to the locale in force. The process's own locale is never
//          switched and stays as it was.
// Errors:  nothing is reported. A character or byte sequence that the locale cannot convert ends the result
//          before it, and so does a NUL inside the text. std::bad_alloc is the one exception that may leave.
// Threads: any, at once. Locales are loaded once per name and kept for the life of the process; a call
//          with an unknown name, or with "", pays for the look-up again.
std::string ConvertToString(std::wstring text, const std::string& localeName = kTextLocale);
std::wstring ConvertToWstring(std::string text, const std::string& localeName = kTextLocale);

// The text as it came: for code that is written once for both kinds of text.
std::string ConvertToString(std::string text);
std::wstring ConvertToWstring(std::wstring text);

// The system's own text type, which is the wide string. The std::locale is ignored.
std::wstring ConvertToTstring(std::string text, const std::locale& ignored);
std::wstring ConvertToTstring(std::wstring text, const std::locale& ignored);

// Always the empty text, whatever comes in: callers of these four have settled on it. Use ConvertToString
// and ConvertToWstring to convert.
std::string ConvertWstringToUTF8(std::wstring text);
std::wstring ConvertUTF8ToWstring(std::string text);
std::string ConvertStringToUTF8(std::string text);
std::string ConvertUTF8ToString(std::string text);

// Bytes of the text up to its first NUL, the NUL not counted.
std::uint64_t StringBufferSizeInBytes(std::string text);
std::uint64_t StringBufferSizeInBytes(std::wstring text);

}  // namespace KX
