#pragma once

#include <cstddef>
#include <locale>
#include <string>

namespace KX {

// Numbers from text and back. Each function exists for narrow and for wide text with the same behaviour unless it says
// otherwise; a Tstring is the wide string.
//
// Locale:  functions that take none parse and print whole numbers under the classic locale, whatever the process has
//          set. What follows the C library's locale in force says so.
// Errors:  nothing is reported; std::bad_alloc is the one exception that may leave, also where a facet of a locale of
//          yours throws or fails its stream for another reason.
// Threads: any, at once, as long as none of them switches the C library's locale.

// The number at the start of the text, read as a stream with the locale reads it: blanks in front are skipped, digits
// are decimal, what follows is ignored. Text that starts with no number gives 0. A whole number out of range gives the
// nearest limit of its type; a minus in front of an unsigned number wraps, as in strtoull. A bool is a whole number
// other than 0, never a word. Real numbers beyond the range, "inf", "nan", hexadecimal digits and an exponent cut short
// are the standard library's affair: GNU's gives the largest number of that sign for the first and 0 for the rest.
// T: bool, int, long, unsigned long, unsigned int, unsigned long long, float, double.
template <typename T>
T StringToValue(std::string text, const std::locale& locale);
template <typename T>
T StringToValue(std::wstring text, const std::locale& locale);

// The whole number as a stream with the locale prints it.
// T: int, long, unsigned int, unsigned long, long long, unsigned long long.
template <typename T>
const std::string ValueToString(T value, const std::locale& locale);
template <typename T>
const std::wstring ValueToWstring(T value, const std::locale& locale);

// The same with zeros in front up to `width` characters. They also go in front of a minus: -5 and 4 give "00-5".
std::string ValueToString(int value, unsigned int width, const std::locale& locale);
std::wstring ValueToWstring(int value, unsigned int width, const std::locale& locale);

// "true" and "false" alone, in any case, else as StringToValue<bool>. Eight characters or more are false.
bool StringToBool(std::string text);
bool StringToBool(std::wstring text);

// StringToValue under the classic locale. Uint32 has 32 bits, Uint64 and Sizet have 64.
int StringToInt(std::string text);
int StringToInt(std::wstring text);
long StringToLong(std::string text);
long StringToLong(std::wstring text);
unsigned long StringToUlong(std::string text);
unsigned long StringToUlong(std::wstring text);
std::size_t StringToSizet(std::string text);
std::size_t StringToSizet(std::wstring text);
unsigned int StringToUint(std::string text);
unsigned int StringToUint(std::wstring text);
unsigned int StringToUint32(std::string text);
unsigned int StringToUint32(std::wstring text);
unsigned long long StringToUint64(std::string text);
unsigned long long StringToUint64(std::wstring text);
float StringToFloat(std::string text);
float StringToFloat(std::wstring text);
double StringToDouble(std::string text);
double StringToDouble(std::wstring text);

// "true" or "false".
std::string BoolToString(bool value);
std::wstring BoolToWstring(bool value);
std::wstring BoolToTstring(bool value);

// ValueToString under the classic locale.
std::string IntToString(int value);
std::wstring IntToWstring(int value);
std::wstring IntToTstring(int value);
std::string LongToString(long value);
std::wstring LongToWstring(long value);
std::wstring LongToTstring(long value);
std::string UintToString(unsigned int value);
std::wstring UintToWstring(unsigned int value);
std::string UlongToString(unsigned long value);
std::wstring UlongToWstring(unsigned long value);
std::wstring UlongToTstring(unsigned long value);
std::string SizetToString(std::size_t value);
std::wstring SizetToWstring(std::size_t value);
std::wstring SizetToTstring(std::size_t value);
std::string Int64tToString(long long value);
std::wstring Int64tToWstring(long long value);
std::string Uint64tToString(unsigned long long value);
std::wstring Uint64tToWstring(unsigned long long value);

// The zero-padded form, of the low 32 bits of both.
std::string LongToString(long value, unsigned long width);
std::wstring LongToWstring(long value, unsigned long width);
std::wstring LongToTstring(long value, unsigned long width);

// As the C library's gcvt prints that many significant digits: trailing zeros dropped, the exponent form where gcvt
// chooses it, the decimal point of the C library's locale in force. GNU's shows 17 digits at most and takes 0 for 1.
// More than 340 digits are 340, a negative number of them is 6.
std::string DoubleToString(double value, int digits);
std::wstring DoubleToWstring(double value, int digits);
std::wstring DoubleToTstring(double value, int digits);
std::string FloatToString(float value, int digits);
std::wstring FloatToWstring(float value, int digits);
std::wstring FloatToTstring(float value, int digits);

// As printf formats, under the C library's locale in force; so do "%ls" in a narrow format and "%s" in a wide one
// convert. Empty if that fails, if the C library refuses the format, or if the text would have INT_MAX characters or
// more. Wide text is formatted anew for each doubling of its room, from 100 characters on.
// errno is cleared first, so glibc's %m tells nothing; a format is never to come from data, as for printf.
[[gnu::format(printf, 1, 2)]] std::string StringFormat(const char* format, ...);
std::wstring StringFormat(const wchar_t* format, ...);

}  // namespace KX
