#include "string/Path.h"

#include <algorithm>
#include <cstddef>
#include <locale>
#include <string_view>
#include <utility>

#include "string/Text.h"

namespace KX {
namespace {

template <typename Char>
bool IsSeparator(Char character) {
    return character == Char{'\\'} || character == Char{'/'};
}

template <typename Text>
bool EndsWithSeparator(const Text& path) {
    return !path.empty() && IsSeparator(path.back());
}

// The position of the last separator, npos if there is none.
template <typename Text>
std::size_t LastSeparator(const Text& path) {
    std::size_t end = path.size();
    while (end > 0 && !IsSeparator(path[end - 1])) --end;
    return end - 1;
}

template <typename Text>
Text FilenameOf(Text path) {
    path.erase(0, LastSeparator(path) + 1);
    return path;
}

template <typename Text>
Text WithSeparator(Text path) {
    if (!path.empty() && !EndsWithSeparator(path)) path.push_back('/');
    return path;
}

template <typename Text>
Text WithoutSeparator(Text path) {
    if (EndsWithSeparator(path)) path.pop_back();
    return path;
}

// Whether the last component is there and holds no dot, which marks a file's name.
template <typename Text>
bool EndsInFolderName(const Text& path, std::size_t separator) {
    const std::size_t dot = path.rfind('.');
    return separator + 1 != path.size() && (dot == Text::npos || (separator != Text::npos && dot <= separator));
}

template <typename Text>
Text DirectoryOf(Text path) {
    const std::size_t separator = LastSeparator(path);
    if (separator == Text::npos) return {};
    if (!EndsInFolderName(path, separator)) path.resize(separator);
    return path;
}

template <typename Text>
Text FullPath(Text path, const Text& name) {
    Text full = DirectoryOf(std::move(path));
    full.push_back('/');
    return full.append(name);
}

template <typename Text>
Text SubNameOf(Text path) {
    const std::size_t dot = path.rfind('.');
    if (dot == Text::npos) return {};
    path.erase(0, dot + 1);
    return path;
}

template <typename Text>
Text MainNameOf(Text path) {
    Text name = FilenameOf(std::move(path));
    name.resize(std::min(name.size(), name.rfind('.')));
    return name;
}

template <typename Text>
Text WithSubName(Text path, const Text& oldText, const Text& newText) {
    const std::size_t found = path.rfind(oldText);
    if (found == Text::npos) return path;
    path.resize(found);
    return path.append(newText);
}

template <typename Text>
Text WithMainName(Text path, const Text& newMain) {
    const std::size_t separator = LastSeparator(path);
    const Text extension = SubNameOf(path);
    if (extension.empty() || EndsInFolderName(path, separator)) return path;
    path.resize(separator + 1);
    path.append(newMain).push_back('.');
    return path.append(extension);
}

template <typename Text>
Text WithSlashes(Text path) {
    using Char = typename Text::value_type;
    std::ranges::replace(path, Char{'\\'}, Char{'/'});
    return path;
}

template <typename Text>
bool IsSame(const Text& a, const Text& b) {
    const std::locale& classic = std::locale::classic();
    return MakeStringLower(WithSlashes(a), classic) == MakeStringLower(WithSlashes(b), classic);
}

template <typename Text>
Text WithoutInvalid(Text text) {
    constexpr std::string_view kInvalid = "\\\"/:*?<>|";
    for (auto& character : text) {
        const auto isCharacter = [character](char invalid) { return character == invalid; };
        if (std::ranges::any_of(kInvalid, isCharacter)) character = '_';
    }
    return text;
}

}  // namespace

std::string GetPathFilename(std::string path) {
    return FilenameOf(std::move(path));
}

std::wstring GetPathFilename(std::wstring path) {
    return FilenameOf(std::move(path));
}

std::string GetPlatformSlashFolderPath(std::string path) {
    return WithSeparator(std::move(path));
}

std::wstring GetPlatformSlashFolderPath(std::wstring path) {
    return WithSeparator(std::move(path));
}

std::string GetNoPlatformSlashFolderPath(std::string path) {
    return WithoutSeparator(std::move(path));
}

std::wstring GetNoPlatformSlashFolderPath(std::wstring path) {
    return WithoutSeparator(std::move(path));
}

std::string GetPathDirectory(std::string path) {
    return DirectoryOf(std::move(path));
}

std::wstring GetPathDirectory(std::wstring path) {
    return DirectoryOf(std::move(path));
}

std::string GetFullPath(std::string path, std::string name) {
    return FullPath(std::move(path), name);
}

std::wstring GetFullPath(std::wstring path, std::wstring name) {
    return FullPath(std::move(path), name);
}

std::wstring RemoveLastPathDirectory(std::wstring path) {
    std::wstring folder = WithoutSeparator(std::move(path));
    const std::size_t separator = LastSeparator(folder);
    folder.resize(separator == std::wstring::npos ? 0 : separator);
    return folder;
}

std::string GetSubName(std::string path) {
    return SubNameOf(std::move(path));
}

std::wstring GetSubName(std::wstring path) {
    return SubNameOf(std::move(path));
}

std::string GetMainName(std::string path) {
    return MainNameOf(std::move(path));
}

std::wstring GetMainName(std::wstring path) {
    return MainNameOf(std::move(path));
}

std::string ChangeSubName(std::string path, std::string oldText, std::string newText) {
    return WithSubName(std::move(path), oldText, newText);
}

std::wstring ChangeSubName(std::wstring path, std::wstring oldText, std::wstring newText) {
    return WithSubName(std::move(path), oldText, newText);
}

std::string ChangeMainName(std::string path, std::string newMain) {
    return WithMainName(std::move(path), newMain);
}

std::wstring ChangeMainName(std::wstring path, std::wstring newMain) {
    return WithMainName(std::move(path), newMain);
}

bool IsPathTheSame(const std::string& a, const std::string& b) {
    return IsSame(a, b);
}

bool IsPathTheSame(const std::wstring& a, const std::wstring& b) {
    return IsSame(a, b);
}

std::string ConvertToPlatformSlashFolderPath(std::string path) {
    return WithSlashes(std::move(path));
}

std::wstring ConvertToPlatformSlashFolderPath(std::wstring path) {
    return WithSlashes(std::move(path));
}

std::string ConvertToCanonicalSlashFolderPath(std::string path) {
    return WithSlashes(std::move(path));
}

std::wstring ConvertToCanonicalSlashFolderPath(std::wstring path) {
    return WithSlashes(std::move(path));
}

std::wstring GetReplacedPath(std::wstring path, std::wstring replacement) {
    const std::wstring whole = path.ends_with(L'\\') ? path.substr(0, path.size() - 1) : path;
    const std::size_t separator = whole.rfind(L'\\');
    if (separator == std::wstring::npos) return {};
    return whole.substr(0, separator + 1) + replacement + L'\\';
}

std::string RemoveFolderInvalidCharacter(std::string text) {
    return WithoutInvalid(std::move(text));
}

std::wstring RemoveFolderInvalidCharacter(std::wstring text) {
    return WithoutInvalid(std::move(text));
}

}  // namespace KX
