#include "io/FileIo.h"

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstddef>
#include <limits>
#include <locale>
#include <new>
#include <utility>

#include "io/ResultOf.h"
#include "string/Encoding.h"
#include "string/Path.h"
#include "system/NarrowPath.h"
#include "system/System.h"

namespace KX {

namespace {

// The C library asks the system for 4 KiB at a time, which costs a small piece half of its time, and a piece of 4 KiB
// even more.
constexpr std::size_t kPiecesSize = 0x10000;

// fopen for reading, but that a pipe without a writer is not waited for: opening one would never return.
std::FILE* OpenForReading(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor == -1) return nullptr;

    std::FILE* const file = ::fdopen(descriptor, "rb");
    if (file == nullptr) ::close(descriptor);
    return file;
}

void CloseFile(std::FILE*& file) {
    if (file != nullptr) (void)std::fclose(file);  // Flush is there for who must know
    file = nullptr;
}

}  // namespace

Result CFileIo::Replace(std::FILE* (*opener)(const std::string& narrowPath)) {
    const std::string narrow = NarrowPath(filePath);
    CloseFile(file);  // ahead of the new one, which may be the same file and is emptied
    file = opener(narrow);
    if (file == nullptr) return kResultOpenFailed;

    if (pieces == nullptr) pieces.reset(new (std::nothrow) char[kPiecesSize]);
    // Without memory for it the C library helps itself.
    if (pieces != nullptr) (void)std::setvbuf(file, pieces.get(), _IOFBF, kPiecesSize);
    return kResultOk;
}

Result CFileIo::Open(const wchar_t* path) {
    if (path == nullptr) return kResultInvalidArgument;

    return ResultOf([&] {
        filePath = path;
        unsigned long fileSize = size;
        const Result queried = CSystem::GetFileSize(filePath, fileSize);
        size = fileSize;
        if (Failed(queried)) return queried;

        readCount = 0;
        return Replace(OpenForReading);
    });
}

Result CFileIo::Save(const wchar_t* path) {
    if (path == nullptr) return kResultInvalidArgument;

    return ResultOf([&] {
        filePath = path;
        writeCount = 0;
        return Replace([](const std::string& narrow) { return std::fopen(narrow.c_str(), "wb"); });
    });
}

Result CFileIo::Close() {
    if (file == nullptr) return kResultOk;

    size = 0;
    readCount = 0;
    writeCount = 0;
    CloseFile(file);
    return kResultOk;
}

Result CFileIo::Flush() {
    if (file == nullptr) return kResultInvalidArgument;
    return std::fflush(file) == 0 && std::ferror(file) == 0 ? kResultOk : kResultIoFailed;
}

Result CFileIo::Seek(unsigned long offset, int origin) {
    if (file == nullptr) return kResultInvalidArgument;
    if (offset > static_cast<unsigned long>(std::numeric_limits<off_t>::max())) return kResultIoFailed;
    return ::fseeko(file, static_cast<off_t>(offset), origin) == 0 ? kResultOk : kResultIoFailed;
}

Result CFileIo::InitFilePosition(unsigned long offset) {
    return Seek(offset, SEEK_SET);
}

bool CFileIo::CheckFileExist(std::wstring name) const {
    return ResultOf([&] {
               const std::wstring path = ConvertToTstring(std::move(name), std::locale::classic());
               return CSystem::FileExists(path, false) ? kResultOk : kResultFail;
           }) == kResultOk;
}

Result CFileIo::GetSearchDirectory(std::wstring& directory) const {
    return ResultOf([&] {
        directory = GetPathDirectory(filePath);
        return kResultOk;
    });
}

Result CFileIo::SetOutputInfo(unsigned long outputSize, unsigned long /*secondSize*/) {
    if (!c_kfSpaceChecker) return kResultOk;

    try {
        return ResultOf([&] { return c_kfSpaceChecker(filePath, outputSize); });
    } catch (...) {  // the application's own
        return kResultFail;
    }
}

Result CFileIo::ReadIn(void* destination, unsigned long /*capacity*/, unsigned long count, CProgress* /*progress*/) {
    if (file == nullptr || (destination == nullptr && count > 0)) return kResultInvalidArgument;
    if (std::fread(destination, 1, count, file) != count) return kResultIoFailed;

    readCount += count;
    return kResultOk;
}

Result CFileIo::WriteOut(const void* source, unsigned long count, CProgress* /*progress*/) {
    if (file == nullptr || (source == nullptr && count > 0)) return kResultInvalidArgument;
    if (std::fwrite(source, 1, count, file) != count) return kResultIoFailed;

    writeCount += count;
    return kResultOk;
}

Result CFileIo::Skip(unsigned long count) {
    const Result result = Seek(count, SEEK_CUR);
    if (!Failed(result)) readCount += count;
    return result;
}

}  // namespace KX
