#include <dirent.h>
#include <glob.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "io/ArrayList.h"
#include "io/ResultOf.h"
#include "string/Encoding.h"
#include "string/Path.h"
#include "system/NarrowPath.h"
#include "system/System.h"

namespace KX {
namespace {

constexpr std::wstring_view kSeparators = L"\\/";

// Takes the folder from the front of the rest and goes there from the base, a component at a time.
std::wstring Resolve(std::wstring base, std::wstring_view rest) {
    while (!rest.empty()) {
        const std::size_t length = rest.find_first_of(kSeparators);
        if (length == std::wstring_view::npos) return base.append(L"\\").append(rest);

        const std::wstring_view component = rest.substr(0, length);
        if (component == L"..") {
            const std::size_t last = base.find_last_of(kSeparators);
            if (last == std::wstring::npos) return base;
            base.resize(last);
        } else if (!component.empty() && component != L".") {
            base.append(L"\\").append(component);
        }
        rest.remove_prefix(length + 1);
    }
    return base;
}

// Up to the first NUL, as printf takes a text.
std::wstring AsPrinted(const std::wstring& text) {
    return text.substr(0, text.find(L'\0'));
}

std::wstring WithSeparator(std::wstring folder) {
    const bool hasSeparator = !folder.empty() && kSeparators.find(folder.back()) != std::wstring_view::npos;
    if (!hasSeparator) folder += L'\\';
    return folder;
}

struct CloseFolder {
    void operator()(DIR* folder) const { (void)::closedir(folder); }
};

// Reads the names in the folder as the system spells them, "." and ".." included. False if it cannot be opened.
// The folder is closed again at once: however deep a tree is, a walk through it holds no descriptors.
bool ReadNames(const std::string& folder, std::vector<std::string>& names) {
    const std::unique_ptr<DIR, CloseFolder> opened(::opendir(folder.c_str()));
    if (opened == nullptr && errno == ENOMEM) throw std::bad_alloc();
    if (opened == nullptr) return false;
    while (const dirent* const entry = ::readdir(opened.get())) names.emplace_back(entry->d_name);
    return true;
}

bool IsItselfOrParent(std::string_view name) {
    return name == "." || name == "..";
}

// Whether glob might take too much of the stack: it calls itself for each separator at the pattern's end, escaped or
// not, and for each from the first folder on that a wildcard stands for, and each call copies the text.
bool IsTooDeep(const std::string& pattern) {
    constexpr std::size_t kMostStack = 128 << 10;  // bytes: a quarter of the smallest that threads have by themselves
    constexpr std::size_t kStackOfCall = 2048;     // besides the text; GNU's takes about 1,600
    const std::size_t named = pattern.find_last_not_of("\\/") + 1;  // npos + 1 is 0
    const std::size_t first = std::min(pattern.find_first_of("*?["), named);
    const auto calls = std::ranges::count(pattern.substr(first), '/');
    return static_cast<std::size_t>(calls) * (pattern.size() + kStackOfCall) > kMostStack;
}

void AppendMatches(const std::string& pattern, std::vector<std::wstring>& out) {
    if (IsTooDeep(pattern)) return;
    glob_t found{};
    const std::unique_ptr<glob_t, decltype(&::globfree)> owner(&found, &::globfree);
    // No other answer is looked at: what was found up to a failure counts, and no match is none.
    if (::glob(pattern.c_str(), GLOB_ERR, nullptr, &found) == GLOB_NOSPACE) throw std::bad_alloc();
    for (std::size_t i = 0; i < found.gl_pathc; ++i) out.push_back(ConvertToWstring(found.gl_pathv[i], kTextLocale));
}

// Puts the folders in a folder on the pile, the first of them on top. False if the folder cannot be opened.
bool PileFolders(const std::string& folder, std::vector<std::string>& pile) {
    std::vector<std::string> names;
    if (!ReadNames(folder, names)) return false;
    const auto first = static_cast<std::ptrdiff_t>(pile.size());
    for (const std::string& name : names) {
        std::string path = folder + name;
        if (!IsItselfOrParent(name) && CSystem::isDirectory(path.data())) pile.push_back(path + "/");
    }
    std::reverse(pile.begin() + first, pile.end());
    return true;
}

// Paths stay narrow on the way down: the wide form of a name that the text locale cannot read leads elsewhere, and of
// some names back to where it stands. The folder ends in a separator or is empty.
Result FindBelow(const std::string& pattern, const std::string& folder, std::vector<std::wstring>& out) {
    std::vector<std::string> pile;
    AppendMatches(folder + pattern, out);
    if (!PileFolders(folder, pile)) return kResultFileQueryFailed;

    while (!pile.empty()) {
        const std::string next = std::move(pile.back());
        pile.pop_back();
        AppendMatches(next + pattern, out);
        (void)PileFolders(next, pile);  // a folder that cannot be read is passed over
    }
    return kResultOk;
}

// The folder ends in a separator or is empty.
Result CountBelow(const std::string& folder, unsigned int& count) {
    std::vector<std::string> names;
    if (!ReadNames(folder, names)) return kResultInvalidArgument;

    for (const std::string& name : names) {
        if (IsItselfOrParent(name)) continue;
        std::string path = folder + name;
        if (!CSystem::isDirectory(path.data())) {
            ++count;
            continue;
        }
        const Result counted = CountBelow(path + "/", count);
        if (Failed(counted)) return counted;
    }
    return kResultOk;
}

}  // namespace

bool CSystem::SearchFile(std::wstring& path, const wchar_t* otherFile) {
    if (FileExists(path, false)) return true;
    if (otherFile == nullptr) return false;

    path = GetPathDirectory(otherFile) + L"\\" + GetPathFilename(path);
    return FileExists(path, false);
}

std::wstring CSystem::SearchFile(std::wstring fileName, const std::vector<std::wstring>& folders,
                                 std::wstring baseFile) {
    const bool isOnNetwork = fileName.starts_with(L"\\\\");
    const std::wstring name = GetPathFilename(std::move(fileName));
    const std::wstring base = GetPathDirectory(baseFile);
    for (const std::wstring& folder : folders) {
        const bool isAbsolute = isOnNetwork || folder.find(L':') != std::wstring::npos;
        if (!isAbsolute && baseFile.empty()) continue;

        std::wstring candidate = isAbsolute ? WithSeparator(folder) : Resolve(base, folder) + L"\\";
        candidate += name;
        if (FileExists(candidate, false)) return ConvertToPlatformSlashFolderPath(std::move(candidate));
    }
    return {};
}

Result CSystem::GetAllSpecifiedExpendFilesInDirectory(std::wstring folder, std::vector<std::wstring>& out) {
    return ResultOf([&] {
        std::vector<std::string> names;
        if (!ReadNames(NarrowPath(folder), names)) return kResultFileQueryFailed;

        for (std::string& name : names) out.push_back(ConvertToWstring(std::move(name), kTextLocale));
        return kResultOk;
    });
}

Result CSystem::FindAllFiles(std::wstring pattern, std::wstring folder, bool recursive,
                             std::vector<std::wstring>& out) {
    return ResultOf([&] {
        const std::wstring wideFolder = GetPlatformSlashFolderPath(std::move(folder));
        const std::string narrowFolder = NarrowPath(wideFolder);
        const std::string whole = NarrowPath(wideFolder + pattern);
        if (!recursive) {
            AppendMatches(whole, out);
            return kResultOk;
        }
        // Nothing has a name that has no narrow form; whether the folder can be opened is still to be told.
        std::vector<std::string> names;
        if (whole.empty()) return ReadNames(narrowFolder, names) ? kResultOk : kResultFileQueryFailed;
        return FindBelow(whole.substr(narrowFolder.size()), narrowFolder, out);
    });
}

Result CSystem::FindAllFiles(std::wstring pattern, std::wstring folder, bool recursive, CArrayList<std::wstring>& out) {
    return ResultOf([&] {
        std::vector<std::wstring> found;
        const Result searched = FindAllFiles(std::move(pattern), std::move(folder), recursive, found);
        for (std::wstring& path : found) {
            const Result added = out.Add(std::move(path));
            if (Failed(added)) return added;
        }
        return searched;
    });
}

Result CSystem::CountFiles(std::wstring folder, bool /*recursive*/, unsigned int& count) {
    return ResultOf([&] { return CountBelow(NarrowPath(GetPlatformSlashFolderPath(std::move(folder))), count); });
}

std::wstring CSystem::GetSerialFileName(std::wstring folder, std::wstring baseName, std::wstring extension) {
    constexpr std::size_t kMaxLength = 259;
    const std::size_t dot = extension.rfind(L'.');
    const std::wstring end = AsPrinted(dot == std::wstring::npos ? L"." + extension : extension.substr(dot));
    const std::wstring start = AsPrinted(folder) + AsPrinted(baseName);
    for (int number = -1; number <= 998; ++number) {
        std::wstring path = start;
        if (number >= 0) path += std::to_wstring(number);
        path += end;
        path.resize(std::min(path.size(), kMaxLength));
        if (!FileExists(path, false)) return path;
    }
    return {};
}

}  // namespace KX
