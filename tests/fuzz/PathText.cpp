// The path, text, number and conversion functions against each other and against their definitions, for narrow text of
// any bytes and for its wide twins. Input: one byte with two lengths, the texts `from` and `to` of these lengths, the
// text.
#include <algorithm>
#include <cstring>
#include <cwchar>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/Target.h"
#include "string/Encoding.h"
#include "string/Number.h"
#include "string/Path.h"
#include "string/Text.h"
#include "system/NarrowPath.h"

namespace {

template <typename Text>
struct Input {
    Text text, from, to;
};

std::string Take(std::string_view& rest, std::size_t count) {
    std::string taken(rest.substr(0, count));
    rest.remove_prefix(taken.size());
    return taken;
}

Input<std::string> SplitInput(std::string_view rest) {
    const std::string lengths = Take(rest, 1);
    if (lengths.empty()) return {};
    std::string from = Take(rest, static_cast<unsigned char>(lengths[0]) % 16);
    std::string to = Take(rest, static_cast<unsigned char>(lengths[0]) / 16);
    return {std::string(rest), std::move(from), std::move(to)};
}

// Each byte as a character of its own.
std::wstring Widened(const std::string& bytes) {
    std::wstring wide(bytes.size(), L'\0');
    std::ranges::transform(bytes, wide.begin(), [](char byte) { return static_cast<unsigned char>(byte); });
    return wide;
}

template <typename Text>
Text Ascii(std::string_view text) {
    return {text.begin(), text.end()};
}

template <typename Text>
bool HasAny(const Text& text, std::string_view characters) {
    return text.find_first_of(Ascii<Text>(characters)) != Text::npos;
}

template <typename Text>
bool IsAscii(const Text& text) {
    return std::ranges::all_of(text, [](auto character) { return character >= 0 && character < 0x80; });
}

template <typename Text>
void CheckPaths(const Input<Text>& in) {
    const auto& [path, from, to] = in;
    const Text name = KX::GetPathFilename(path);
    const Text folder = path.substr(0, path.size() - name.size());
    const bool hasDot = HasAny(name, ".");
    Check(folder + name == path && !HasAny(name, "\\/"), "the file name is the end of the path, without separators");
    Check(folder.empty() || HasAny(folder.substr(folder.size() - 1), "\\/"), "a separator stands before the name");

    const Text cut = KX::GetNoPlatformSlashFolderPath(folder);
    const Text directory = folder.empty() || name.empty() || hasDot ? cut : path;
    Check(KX::GetPathDirectory(path) == directory, "the directory is the path without its file name");
    Check(KX::GetFullPath(path, to) == directory + Ascii<Text>("/") + to, "the full path is the directory and a name");

    const Text closed = KX::GetPlatformSlashFolderPath(path);
    Check(KX::GetPlatformSlashFolderPath(closed) == closed, "one closing separator is enough");
    Check(closed == path || KX::GetNoPlatformSlashFolderPath(closed) == path, "a separator added can be removed");
    Check(KX::GetNoPlatformSlashFolderPath(path + Ascii<Text>("\\")) == path, "one separator at the end is removed");

    const Text mainName = KX::GetMainName(path);
    Check(hasDot ? mainName + Ascii<Text>(".") + KX::GetSubName(path) == name : mainName == name,
          "two parts of a name");
    Check(name.empty() || KX::ChangeMainName(path, mainName) == path, "a main name changed to itself");
    const Text tail = path + from;
    Check(KX::ChangeSubName(tail, from, to) == path + to || tail.rfind(from) != path.size(), "the end is replaced");

    const Text slashes = KX::ConvertToPlatformSlashFolderPath(path);
    Check(slashes == KX::ReplaceString(path, Ascii<Text>("\\"), Ascii<Text>("/"), false), "slashes for backslashes");
    Check(slashes == KX::ConvertToCanonicalSlashFolderPath(path), "both names do the same");
    Check(!IsAscii(path) || KX::IsPathTheSame(path, KX::MakeStringUpper(slashes, std::locale::classic())),
          "the same but for the case");
    Check(KX::IsPathTheSame(path, tail) == KX::IsPathTheSame(tail, path), "sameness goes both ways");
    const Text valid = KX::RemoveFolderInvalidCharacter(path);
    Check(valid.size() == path.size(), "invalid characters are replaced one by one");
    for (std::size_t i = 0; i < path.size(); ++i) {
        const bool isInvalid = HasAny(path.substr(i, 1), "\\\"/:*?<>|");
        Check(valid[i] == (isInvalid ? '_' : path[i]), "and no others");
    }
}

// The definition, which replaces in place.
template <typename Text>
Text ReplacedInPlace(const Input<Text>& in, bool firstOnly) {
    Text text = in.text;
    for (auto at = text.find(in.from); at != Text::npos; at = text.find(in.from, at + in.to.size())) {
        if (in.from.empty() && !firstOnly) break;  // would never end, and so changes nothing
        text.replace(at, in.from.size(), in.to);
        if (firstOnly) break;
    }
    return text;
}

template <typename Text>
void CheckTexts(const Input<Text>& in) {
    const auto& [text, from, to] = in;
    for (const bool firstOnly : {false, true}) {
        Check(KX::ReplaceString(text, from, to, firstOnly) == ReplacedInPlace(in, firstOnly), "replaced as in place");
    }
    Text condensed = text;
    const Text blanks = Ascii<Text>("  ");
    while (condensed.find(blanks) != Text::npos) condensed.erase(condensed.find(blanks), 1);
    Check(KX::CondenseWhiteSpace(text) == condensed, "every run of blanks is one");
    if (!from.empty()) {
        Check(KX::RemoveSpecificChar(text, from[0]) == ReplacedInPlace<Text>({text, from.substr(0, 1), {}}, false),
              "removed is replaced by nothing");
    }
    Check(KX::StringStartsWith(text, from) == (text.substr(0, from.size()) == from), "prefix");
    Check(KX::StringEndsWith(text, from) ==
              (text.size() >= from.size() && text.substr(text.size() - from.size()) == from),
          "suffix");
    Check(KX::GetQuoteString(text) == Ascii<Text>("\"") + text + Ascii<Text>("\""), "quoted");

    const Text lower = KX::MakeStringLower(text, std::locale::classic());
    const Text upper = KX::MakeStringUpper(text, std::locale::classic());
    Check(lower.size() == Text::traits_type::length(text.c_str()), "the case changes up to the first NUL");
    Check(!IsAscii(text) || KX::MakeStringLower(upper, std::locale::classic()) == lower, "lower of upper is lower");
    Check(!HasAny(lower, "AZ") && !HasAny(upper, "az"), "one case is left");
}

void CheckWideTexts(const Input<std::wstring>& in) {
    const auto& [text, from, to] = in;
    const std::wstring whole = KX::GetNoPlatformSlashFolderPath(text);
    const std::wstring name = KX::GetPathFilename(whole);
    const std::wstring parent = name == whole ? L"" : whole.substr(0, whole.size() - name.size() - 1);
    Check(KX::RemoveLastPathDirectory(text) == parent, "the parent is the path without its last name");
    const std::wstring base = KX::ReplaceString(text, L"\\", L"|", false) + L"\\";
    Check(KX::GetReplacedPath(base + L"x", to) == base + to + L"\\", "the last name is replaced");
    Check(KX::GetReplacedPath(base, to).empty(), "one name has nothing before it");

    const std::wstring trimmed = KX::Trim(text);
    Check(KX::Trim(L"\r\n" + trimmed + L" \t") == trimmed, "what is trimmed is put back and trimmed");
    Check(text.find(trimmed) <= text.find_first_not_of(L" \n\r\t"), "trimming leaves the inside");

    const std::wstring kept = KX::RemoveNonAlphanumericCharacter(text);
    Check(kept.size() == text.size() && KX::RemoveNonAlphanumericCharacter(kept) == kept, "identifiers stay");
    for (std::size_t i = 0; i < text.size(); ++i) {
        Check(kept[i] == text[i] || kept[i] == L'_', "what is no letter becomes an underscore");
    }
}

// The numbers that a text starts with.
template <typename Text>
std::vector<double> Numbers(const Text& text) {
    return {KX::StringToDouble(text), static_cast<double>(KX::StringToFloat(text)),
            static_cast<double>(KX::StringToLong(text)), static_cast<double>(KX::StringToUint64(text)),
            static_cast<double>(KX::StringToBool(text))};
}

void CheckNumbers(const std::string& text, const std::wstring& wide) {
    Check(Numbers(text) == Numbers(wide) || !IsAscii(text), "narrow and wide text have one number");
    const long whole = KX::StringToLong(text);
    Check(KX::StringToLong(KX::LongToWstring(whole)) == whole, "a number printed is read again");
    const double real = KX::StringToDouble(text);
    Check(KX::StringToDouble(KX::DoubleToString(real, 17)) == real, "17 digits tell every number");
    const char* const start = text.c_str();  // up to the first NUL, as printf takes it
    const wchar_t* const wideStart = wide.c_str();
    Check(KX::StringFormat("%s", start) == start, "formatted as it is");
    Check(KX::StringFormat(L"%ls", wideStart) == wideStart, "formatted as it is");
}

std::wstring Decoded(const std::string& text) {
    return KX::ConvertToWstring(text);
}

// One of the characters that every text may hold: no NUL and no surrogate.
wchar_t Valid(char32_t any) {
    const char32_t valid = any % 0x10F7FF + 1;
    return static_cast<wchar_t>(valid < 0xD800 ? valid : valid + 0x800);
}

void CheckConversions(const std::string& bytes) {
    const std::wstring wide = Decoded(bytes);
    const std::string back = KX::ConvertToString(wide);
    Check(bytes.starts_with(back) && Decoded(back) == wide, "what was converted converts back");
    const auto isPlain = [](char byte) { return byte > 0; };
    const auto plain = static_cast<std::size_t>(std::ranges::find_if_not(bytes, isPlain) - bytes.begin());
    Check(wide.starts_with(Widened(bytes.substr(0, plain))), "ASCII comes first and as it is");
    Check(KX::ConvertToTstring(bytes, std::locale::classic()) == wide, "the text type is the wide one");
    Check(KX::StringBufferSizeInBytes(bytes) == std::strlen(bytes.c_str()), "bytes up to the NUL");

    // Any characters at all: one for each four bytes.
    std::wstring characters(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(characters.data(), bytes.data(), characters.size() * sizeof(wchar_t));
    Check(characters.starts_with(Decoded(KX::ConvertToString(characters))), "the text before what cannot be converted");
    const std::string path = KX::NarrowPath(characters);
    Check(path.empty() || Decoded(path) == characters, "a path is converted whole or not at all");
    for (wchar_t& character : characters) character = Valid(static_cast<char32_t>(character));
    Check(Decoded(KX::ConvertToString(characters)) == characters, "valid text survives");
    CheckWideTexts({characters, {}, {}});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Input<std::string> narrow = SplitInput({reinterpret_cast<const char*>(data), size});
    const Input<std::wstring> wide{Widened(narrow.text), Widened(narrow.from), Widened(narrow.to)};
    CheckPaths(narrow);
    CheckPaths(wide);
    CheckTexts(narrow);
    CheckTexts(wide);
    CheckWideTexts(wide);
    CheckNumbers(narrow.text, wide.text);
    CheckConversions(narrow.text);
    return 0;
}
