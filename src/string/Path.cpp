#include "string/Path.h"

#include <utility>

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

template <typename Text>
Text FilenameOf(Text path) {
    auto start = path.size();
    while (start > 0 && !IsSeparator(path[start - 1])) --start;
    path.erase(0, start);
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

}  // namespace KX
