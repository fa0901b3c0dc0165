#include "string/Text.h"

#include <langinfo.h>

#include <algorithm>
#include <cctype>
#include <cwctype>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>

#include "string/Encoding.h"
#include "string/LocaleScope.h"

namespace KX {
namespace {

// What std::locale calls a locale without a name, under which no switch of the C library's locale takes place.
constexpr const char* kUnnamed = "*";

char Upper(char character) {
    return static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
}
wchar_t Upper(wchar_t character) {
    return static_cast<wchar_t>(std::towupper(static_cast<wint_t>(character)));
}
char Lower(char character) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
}
wchar_t Lower(wchar_t character) {
    return static_cast<wchar_t>(std::towlower(static_cast<wint_t>(character)));
}

// The C library surely knows the letters of all scripts under a UTF-8 locale. Where none is in force, this brings one for
// a scope: the text locale or, on a machine that lacks it, the C library's own.
class CAllLetters {
public:
    CAllLetters() {
        if (!IsUtf8InForce()) text.emplace(kTextLocale);
        if (!IsUtf8InForce()) plain.emplace("C.UTF-8");
    }

private:
    static bool IsUtf8InForce() { return std::string_view(::nl_langinfo(CODESET)) == "UTF-8"; }

    std::optional<CLocaleScope> text;
    std::optional<CLocaleScope> plain;
};

// Converts each character up to the first NUL under the locale.
template <typename Text, typename Convert>
void ConvertInPlace(Text& text, const std::locale& locale, Convert convert) {
    text.resize(Text::traits_type::length(text.c_str()));
    const std::string name = locale.name();
    std::optional<CLocaleScope> named;
    if (name != kUnnamed) named.emplace(name);
    std::optional<CAllLetters> allLetters;
    if (std::is_same_v<Text, std::wstring>) allLetters.emplace();
    std::ranges::transform(text, text.begin(), convert);
}

template <typename Text>
void MakeUpper(Text& text, const std::locale& locale) {
    ConvertInPlace(text, locale, [](auto character) { return Upper(character); });
}

template <typename Text>
void MakeLower(Text& text, const std::locale& locale) {
    ConvertInPlace(text, locale, [](auto character) { return Lower(character); });
}

template <typename Text>
Text Condensed(Text text) {
    const auto areBlanks = [](auto left, auto right) { return left == ' ' && right == ' '; };
    text.erase(std::unique(text.begin(), text.end(), areBlanks), text.end());
    return text;
}

template <typename Text, typename Char>
Text Without(Text text, Char character) {
    std::erase(text, character);
    return text;
}

// Appends piece by piece, so that many occurrences in a long text cost no more than its length.
template <typename Text>
Text Replaced(const Text& text, const Text& from, const Text& to, bool firstOnly) {
    if (from.empty() && !firstOnly) return text;  // it is everywhere, and the search would never end
    Text replaced;
    std::size_t done = 0;
    for (auto found = text.find(from); found != Text::npos; found = text.find(from, done)) {
        replaced.append(text, done, found - done).append(to);
        done = found + from.size();
        if (firstOnly) break;
    }
    return replaced.append(text, done);
}

template <typename Text>
Text Quoted(const Text& text) {
    Text quoted(1, '"');
    return quoted.append(text).append(1, '"');
}

bool IsIdentifierCharacter(wchar_t character) {
    const auto code = static_cast<std::wint_t>(static_cast<char32_t>(character));
    return character == L'_' || std::iswalpha(code) != 0 || std::iswdigit(code) != 0;
}

}  // namespace

std::string MakeStringUpper(std::string text, const std::locale& locale) {
    MakeUpper(text, locale);
    return text;
}

std::wstring MakeStringUpper(std::wstring text, const std::locale& locale) {
    MakeUpper(text, locale);
    return text;
}

std::string MakeStringLower(std::string text, const std::locale& locale) {
    MakeLower(text, locale);
    return text;
}

std::wstring MakeStringLower(std::wstring text, const std::locale& locale) {
    MakeLower(text, locale);
    return text;
}

std::string CondenseWhiteSpace(std::string text) {
    return Condensed(std::move(text));
}

std::wstring CondenseWhiteSpace(std::wstring text) {
    return Condensed(std::move(text));
}

std::string RemoveSpecificChar(std::string text, char character) {
    return Without(std::move(text), character);
}

std::wstring RemoveSpecificChar(std::wstring text, wchar_t character) {
    return Without(std::move(text), character);
}

std::string ReplaceString(const std::string& text, const std::string& from, const std::string& to, bool firstOnly) {
    return Replaced(text, from, to, firstOnly);
}

std::wstring ReplaceString(const std::wstring& text, const std::wstring& from, const std::wstring& to, bool firstOnly) {
    return Replaced(text, from, to, firstOnly);
}

std::wstring Trim(const std::wstring& text) {
    constexpr const wchar_t* kBlanks = L" \n\r\t";
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::wstring::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool StringStartsWith(const std::string& text, const std::string& prefix) {
    return text.starts_with(prefix);
}

bool StringStartsWith(const std::wstring& text, const std::wstring& prefix) {
    return text.starts_with(prefix);
}

bool StringEndsWith(const std::string& text, const std::string& suffix) {
    return text.ends_with(suffix);
}

bool StringEndsWith(const std::wstring& text, const std::wstring& suffix) {
    return text.ends_with(suffix);
}

std::string GetQuoteString(const std::string& text) {
    return Quoted(text);
}

std::wstring GetQuoteString(const std::wstring& text) {
    return Quoted(text);
}

std::wstring RemoveNonAlphanumericCharacter(const std::wstring& text) {
    const CAllLetters scope;
    std::wstring kept = text;
    std::ranges::replace_if(
        kept, [](wchar_t character) { return !IsIdentifierCharacter(character); }, L'_');
    return kept;
}

}  // namespace KX
