#include "string/Number.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <cwctype>
#include <new>
#include <sstream>
#include <string_view>
#include <utility>

#include "string/Encoding.h"

namespace KX {
namespace {

// Of characters. A longer text is no truth value, whatever it starts with.
constexpr std::size_t kLongestBool = 7;

// Of the text of a real number: its sign, a zero and a point, an exponent of five characters and the NUL go beyond the
// digits.
constexpr std::size_t kRealBytes = 349;
constexpr int kMostDigits = 340;
// What a negative number of digits stands for in printf; other C libraries leave it open.
constexpr int kDefaultDigits = 6;

// Of formatted text, in characters with the NUL. The C library counts in int.
constexpr std::size_t kFirstSize = 100;
constexpr std::size_t kLastSize = INT_MAX;

// A stream keeps to itself that memory ran out. Asked to throw, each C++ library throws something else.
template <typename Stream>
void RequireMemory(const Stream& stream) {
    if (stream.bad()) throw std::bad_alloc();
}

template <typename T, typename Text>
T Parsed(const Text& text, const std::locale& locale) {
    std::basic_stringstream<typename Text::value_type> stream;
    stream.imbue(locale);
    stream << text;
    T value{};
    stream >> value;  // stores 0 or a limit where it fails
    RequireMemory(stream);
    return value;
}

template <typename Text, typename T>
Text Printed(T value, const std::locale& locale) {
    std::basic_ostringstream<typename Text::value_type> stream;
    stream.imbue(locale);
    stream << value;
    RequireMemory(stream);
    return stream.str();
}

template <typename Text>
Text Padded(int value, unsigned int width, const std::locale& locale) {
    auto text = Printed<Text>(value, locale);
    if (text.size() < width) text.insert(0, width - text.size(), '0');
    return text;
}

// Of the low 32 bits of both.
template <typename Text>
Text PaddedLow(long value, unsigned long width) {
    return Padded<Text>(static_cast<int>(value), static_cast<unsigned int>(width), std::locale::classic());
}

char Lower(char character) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
}
wchar_t Lower(wchar_t character) {
    return static_cast<wchar_t>(std::towlower(static_cast<wint_t>(character)));
}

template <typename Text>
bool ParsedBool(Text text) {
    if (text.size() > kLongestBool) return false;
    std::ranges::transform(text, text.begin(), [](auto character) { return Lower(character); });
    if (std::ranges::equal(text, std::string_view("true"))) return true;
    return Parsed<bool>(text, std::locale::classic());  // no word, and so not "false" either
}

// One try: the number of characters without the NUL, or a negative one.
[[gnu::format(printf, 3, 0)]] int Print(char* to, std::size_t size, const char* format, std::va_list arguments) {
    return std::vsnprintf(to, size, format, arguments);
}
int Print(wchar_t* to, std::size_t size, const wchar_t* format, std::va_list arguments) {
    return std::vswprintf(to, size, format, arguments);
}

// What errno is after a try for wide text with too little room: each C library has its own answer.
int ErrorOfLittleRoom() {
    errno = 0;
    std::array<wchar_t, 1> room{};
    (void)std::swprintf(room.data(), room.size(), L"-");
    return errno;
}

// Whether a try may have failed for too little room. Narrow text is counted to its end whatever the room.
bool MayBeTooSmall(const std::string& /*text*/, int /*error*/) {
    return false;
}
bool MayBeTooSmall(const std::wstring& /*text*/, int error) {
    static const int littleRoom = ErrorOfLittleRoom();
    return error == littleRoom;
}

// The room for the next try, or 0 where none would do.
template <typename Text>
std::size_t NextSize(const Text& text, int count, int error) {
    if (count >= 0) return static_cast<std::size_t>(count) + 1;
    if (text.size() == kLastSize || !MayBeTooSmall(text, error)) return 0;
    return std::min(text.size() * 2, kLastSize);
}

template <typename Text>
Text Formatted(const typename Text::value_type* format, std::va_list arguments) {
    std::size_t size = kFirstSize;
    while (size != 0 && size <= kLastSize) {
        Text text(size, 0);
        std::va_list copy;
        va_copy(copy, arguments);
        errno = 0;
        const int count = Print(text.data(), size, format, copy);
        const int error = errno;
        va_end(copy);
        if (count < 0 && error == ENOMEM) throw std::bad_alloc();
        if (count >= 0 && static_cast<std::size_t>(count) < size) {
            text.resize(static_cast<std::size_t>(count));
            return text;
        }
        size = NextSize(text, count, error);
    }
    return {};
}

}  // namespace

template <typename T>
T StringToValue(std::string text, const std::locale& locale) {
    return Parsed<T>(text, locale);
}

template <typename T>
T StringToValue(std::wstring text, const std::locale& locale) {
    return Parsed<T>(text, locale);
}

template bool StringToValue(std::string, const std::locale&);
template bool StringToValue(std::wstring, const std::locale&);
template int StringToValue(std::string, const std::locale&);
template int StringToValue(std::wstring, const std::locale&);
template long StringToValue(std::string, const std::locale&);
template long StringToValue(std::wstring, const std::locale&);
template unsigned long StringToValue(std::string, const std::locale&);
template unsigned long StringToValue(std::wstring, const std::locale&);
template unsigned int StringToValue(std::string, const std::locale&);
template unsigned int StringToValue(std::wstring, const std::locale&);
template unsigned long long StringToValue(std::string, const std::locale&);
template unsigned long long StringToValue(std::wstring, const std::locale&);
template float StringToValue(std::string, const std::locale&);
template float StringToValue(std::wstring, const std::locale&);
template double StringToValue(std::string, const std::locale&);
template double StringToValue(std::wstring, const std::locale&);

// NOLINTBEGIN(readability-const-return-type): the settled interface
template <typename T>
const std::string ValueToString(T value, const std::locale& locale) {
    return Printed<std::string>(value, locale);
}

template <typename T>
const std::wstring ValueToWstring(T value, const std::locale& locale) {
    return Printed<std::wstring>(value, locale);
}
// NOLINTEND(readability-const-return-type)

template const std::string ValueToString(int, const std::locale&);
template const std::wstring ValueToWstring(int, const std::locale&);
template const std::string ValueToString(long, const std::locale&);
template const std::wstring ValueToWstring(long, const std::locale&);
template const std::string ValueToString(unsigned int, const std::locale&);
template const std::wstring ValueToWstring(unsigned int, const std::locale&);
template const std::string ValueToString(unsigned long, const std::locale&);
template const std::wstring ValueToWstring(unsigned long, const std::locale&);
template const std::string ValueToString(long long, const std::locale&);
template const std::wstring ValueToWstring(long long, const std::locale&);
template const std::string ValueToString(unsigned long long, const std::locale&);
template const std::wstring ValueToWstring(unsigned long long, const std::locale&);

std::string ValueToString(int value, unsigned int width, const std::locale& locale) {
    return Padded<std::string>(value, width, locale);
}

std::wstring ValueToWstring(int value, unsigned int width, const std::locale& locale) {
    return Padded<std::wstring>(value, width, locale);
}

bool StringToBool(std::string text) {
    return ParsedBool(std::move(text));
}

bool StringToBool(std::wstring text) {
    return ParsedBool(std::move(text));
}

int StringToInt(std::string text) {
    return Parsed<int>(text, std::locale::classic());
}

int StringToInt(std::wstring text) {
    return Parsed<int>(text, std::locale::classic());
}

long StringToLong(std::string text) {
    return Parsed<long>(text, std::locale::classic());
}

long StringToLong(std::wstring text) {
    return Parsed<long>(text, std::locale::classic());
}

unsigned long StringToUlong(std::string text) {
    return Parsed<unsigned long>(text, std::locale::classic());
}

unsigned long StringToUlong(std::wstring text) {
    return Parsed<unsigned long>(text, std::locale::classic());
}

std::size_t StringToSizet(std::string text) {
    return Parsed<unsigned long>(text, std::locale::classic());
}

std::size_t StringToSizet(std::wstring text) {
    return Parsed<unsigned long>(text, std::locale::classic());
}

unsigned int StringToUint(std::string text) {
    return Parsed<unsigned int>(text, std::locale::classic());
}

unsigned int StringToUint(std::wstring text) {
    return Parsed<unsigned int>(text, std::locale::classic());
}

unsigned int StringToUint32(std::string text) {
    return Parsed<unsigned int>(text, std::locale::classic());
}

unsigned int StringToUint32(std::wstring text) {
    return Parsed<unsigned int>(text, std::locale::classic());
}

unsigned long long StringToUint64(std::string text) {
    return Parsed<unsigned long long>(text, std::locale::classic());
}

unsigned long long StringToUint64(std::wstring text) {
    return Parsed<unsigned long long>(text, std::locale::classic());
}

float StringToFloat(std::string text) {
    return Parsed<float>(text, std::locale::classic());
}

float StringToFloat(std::wstring text) {
    return Parsed<float>(text, std::locale::classic());
}

double StringToDouble(std::string text) {
    return Parsed<double>(text, std::locale::classic());
}

double StringToDouble(std::wstring text) {
    return Parsed<double>(text, std::locale::classic());
}

std::string BoolToString(bool value) {
    return value ? "true" : "false";
}

std::wstring BoolToWstring(bool value) {
    return value ? L"true" : L"false";
}

std::wstring BoolToTstring(bool value) {
    return BoolToWstring(value);
}

std::string IntToString(int value) {
    return Printed<std::string>(value, std::locale::classic());
}

std::wstring IntToWstring(int value) {
    return Printed<std::wstring>(value, std::locale::classic());
}

std::wstring IntToTstring(int value) {
    return IntToWstring(value);
}

std::string LongToString(long value) {
    return Printed<std::string>(value, std::locale::classic());
}

std::wstring LongToWstring(long value) {
    return Printed<std::wstring>(value, std::locale::classic());
}

std::wstring LongToTstring(long value) {
    return LongToWstring(value);
}

std::string UintToString(unsigned int value) {
    return Printed<std::string>(value, std::locale::classic());
}

std::wstring UintToWstring(unsigned int value) {
    return Printed<std::wstring>(value, std::locale::classic());
}

std::string UlongToString(unsigned long value) {
    return Printed<std::string>(value, std::locale::classic());
}

std::wstring UlongToWstring(unsigned long value) {
    return Printed<std::wstring>(value, std::locale::classic());
}

std::wstring UlongToTstring(unsigned long value) {
    return UlongToWstring(value);
}

std::string SizetToString(std::size_t value) {
    return Printed<std::string>(value, std::locale::classic());
}

std::wstring SizetToWstring(std::size_t value) {
    return Printed<std::wstring>(value, std::locale::classic());
}

std::wstring SizetToTstring(std::size_t value) {
    return SizetToWstring(value);
}

std::string Int64tToString(long long value) {
    return Printed<std::string>(value, std::locale::classic());
}

std::wstring Int64tToWstring(long long value) {
    return Printed<std::wstring>(value, std::locale::classic());
}

std::string Uint64tToString(unsigned long long value) {
    return Printed<std::string>(value, std::locale::classic());
}

std::wstring Uint64tToWstring(unsigned long long value) {
    return Printed<std::wstring>(value, std::locale::classic());
}

std::string LongToString(long value, unsigned long width) {
    return PaddedLow<std::string>(value, width);
}

std::wstring LongToWstring(long value, unsigned long width) {
    return PaddedLow<std::wstring>(value, width);
}

std::wstring LongToTstring(long value, unsigned long width) {
    return LongToWstring(value, width);
}

std::string DoubleToString(double value, int digits) {
    std::array<char, kRealBytes> buffer{};
    return ::gcvt(value, digits < 0 ? kDefaultDigits : std::min(digits, kMostDigits), buffer.data());
}

std::wstring DoubleToWstring(double value, int digits) {
    return ConvertToWstring(DoubleToString(value, digits));
}

std::wstring DoubleToTstring(double value, int digits) {
    return DoubleToWstring(value, digits);
}

std::string FloatToString(float value, int digits) {
    return DoubleToString(static_cast<double>(value), digits);
}

std::wstring FloatToWstring(float value, int digits) {
    return DoubleToWstring(static_cast<double>(value), digits);
}

std::wstring FloatToTstring(float value, int digits) {
    return FloatToWstring(value, digits);
}

std::string StringFormat(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    auto text = Formatted<std::string>(format, arguments);
    va_end(arguments);
    return text;
}

std::wstring StringFormat(const wchar_t* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    auto text = Formatted<std::wstring>(format, arguments);
    va_end(arguments);
    return text;
}

}  // namespace KX
