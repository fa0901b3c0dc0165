#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "io/Buffer.h"
#include "io/ResultOf.h"
#include "string/Path.h"
#include "system/File.h"
#include "system/NarrowPath.h"
#include "system/System.h"

namespace KX {
namespace {

// Reads the file from its start; fewer bytes than asked for fail.
Result ReadWhole(const std::wstring& path, char* data, unsigned long size) {
    const CFile file = OpenForReading(NarrowPath(path));
    if (file == nullptr) return kResultOpenFailed;
    return size == 0 || std::fread(data, 1, size, file.get()) == size ? kResultOk : kResultOpenFailed;
}

void CutBeforeLastSeparator(std::wstring& path) {
    const std::size_t name = GetPathFilename(path).size();
    if (name < path.size()) path.resize(path.size() - name - 1);
}

struct PathParts {
    std::wstring_view folder, name, extension;
};

PathParts PartsOf(std::wstring_view path) {
    const std::size_t nameStart = path.rfind(L'/') + 1;  // 0 where there is no slash
    const std::wstring_view filename = path.substr(nameStart);
    const std::size_t nameEnd = std::min(filename.rfind(L'.'), filename.size());
    return {path.substr(0, nameStart), filename.substr(0, nameEnd), filename.substr(nameEnd)};
}

void CopyOut(std::wstring_view text, wchar_t* out) {
    if (out != nullptr) CSystem::strcpypart(out, text.data(), text.size());
}

}  // namespace

bool CSystem::IsRootFolder(std::wstring path) {
    return PartsOf(path.c_str()).folder == L"/";
}

Result CSystem::IsDirectory(std::wstring path, bool& isDir) {
    return ResultOf([&] {
        isDir = isDirectory(NarrowPath(path).data());
        return kResultOk;
    });
}

bool CSystem::isDirectory(char* path) {  // NOLINT(readability-non-const-parameter): the settled interface
    struct stat status {};
    if (::stat(path == nullptr ? "" : path, &status) == 0) return S_ISDIR(status.st_mode);

    std::perror("File stat Error!");
    return false;
}

Result CSystem::OpenFile(std::wstring path, std::FILE*& file, const char* mode) {
    file = nullptr;
    return ResultOf([&] {
        if (mode != nullptr) file = std::fopen(NarrowPath(path).c_str(), mode);
        return file != nullptr ? kResultOk : kResultInvalidArgument;
    });
}

Result CSystem::GetFileSize(const std::wstring& path, unsigned long& size) {
    if (path.empty()) return kResultFileQueryFailed;
    return ResultOf([&] {
        struct stat status {};  // stays empty, and the size with it, where the query fails, which is no failure here
        (void)::stat(NarrowPath(path).c_str(), &status);
        size = static_cast<unsigned long>(status.st_size);
        return kResultOk;
    });
}

long long CSystem::GetFileModifiedTime(std::wstring path) {
    const CFile file = OpenForReading(NarrowPath(path));
    struct stat status {};
    if (file == nullptr || ::fstat(::fileno(file.get()), &status) != 0) return -1;
    return status.st_mtime;
}

Result CSystem::ReadFileToMemory(std::wstring path, char*& data, unsigned long& size) {
    const Result queried = GetFileSize(path, size);
    if (Failed(queried)) return queried;

    data = new (std::nothrow) char[size];
    if (data == nullptr) return kResultOutOfMemory;
    const Result read = ResultOf([&] { return ReadWhole(path, data, size); });
    if (!Failed(read)) return read;

    delete[] data;
    data = nullptr;
    return read;
}

Result CSystem::ReadFileToMemory(std::wstring path, CBuffer<char>& buffer) {
    unsigned long size = 0;
    const Result queried = GetFileSize(path, size);
    if (Failed(queried)) return queried;

    return ResultOf([&] {
        const Result created = buffer.CreateBuffer(size, nullptr);
        return Failed(created) ? created : ReadWhole(path, buffer.GetBuffer(), size);
    });
}

Result CSystem::WriteMemoryToFile(std::wstring path, const char* data, unsigned long size) {
    if (data == nullptr && size != 0) return kResultInvalidArgument;

    return ResultOf([&] {
        std::FILE* const file = std::fopen(NarrowPath(path).c_str(), "wb");
        if (file == nullptr) return kResultOpenFailed;
        const bool isTaken = size == 0 || std::fwrite(data, 1, size, file) == size;
        const bool isClosed = std::fclose(file) == 0;  // the last bytes leave the C library here
        return isTaken && isClosed ? kResultOk : kResultOpenFailed;
    });
}

Result CSystem::GetPathFolder(std::wstring& path) {
    return ResultOf([&] {
        bool isDir = false;
        const Result asked = IsDirectory(path, isDir);
        if (!Failed(asked) && !isDir) CutBeforeLastSeparator(path);
        return asked;
    });
}

Result CSystem::GetPathParentFolder(std::wstring& path) {
    return ResultOf([&] {
        const Result found = GetPathFolder(path);
        if (Failed(found)) return found;

        path = GetNoPlatformSlashFolderPath(path);
        CutBeforeLastSeparator(path);
        return kResultOk;
    });
}

std::wstring CSystem::GetExistPathFolder(const std::wstring& path) {
    // Ends because each round returns or leaves a shorter text.
    for (std::wstring folder = path;;) {
        // The system has nothing of a longer name, and asking for each of many would take the square of the length.
        if (folder.size() <= PATH_MAX && isDirectory(NarrowPath(folder).data())) return folder;

        const std::wstring whole = GetNoPlatformSlashFolderPath(std::move(folder));
        folder = whole;
        CutBeforeLastSeparator(folder);
        if (folder.empty() || folder == whole) return {};
    }
}

void CSystem::splitPath(const wchar_t* path, wchar_t* drive, wchar_t* folder, wchar_t* name, wchar_t* extension) {
    const PathParts parts = PartsOf(path == nullptr ? L"" : path);
    CopyOut(L"", drive);
    CopyOut(parts.folder, folder);
    CopyOut(parts.name, name);
    CopyOut(parts.extension, extension);
}

bool CSystem::GetTokenFileName(std::wstring path, std::wstring& drive, std::wstring& folder, std::wstring& name,
                               std::wstring& extension) {
    const PathParts parts = PartsOf(path.c_str());
    drive.clear();
    folder = parts.folder;
    name = parts.name;
    extension = parts.extension;
    return true;
}

wchar_t* CSystem::strcpypart(wchar_t* dest, const wchar_t* src, unsigned long n) {
    std::wmemcpy(dest, src, n);
    dest[n] = L'\0';
    return dest;
}

void CSystem::MemoryCopy(const void* src, unsigned long srcSize, void* dest, unsigned long /*destSize*/) {
    if (srcSize != 0) std::memcpy(dest, src, srcSize);
}

}  // namespace KX
