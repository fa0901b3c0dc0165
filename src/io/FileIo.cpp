#include "io/FileIo.h"

#include <sys/types.h>

#include <cstddef>
#include <limits>
#include <locale>
#include <new>
#include <utility>

#include "io/ResultOf.h"
#include "string/Encoding.h"
#include "string/Path.h"
#include "system/File.h"
#include "system/NarrowPath.h"
#include "system/System.h"

namespace KX {

namespace {

// The C library asks the system for 4 KiB at a time, which costs a small piece half of its time, and a piece of 4 KiB
// even more.
constexpr std::size_t kPiecesSize = 0x10000;

}  // namespace

Result CFileIo::Replace(CFile (*opener)(const std::string& narrowPath)) {
    const std::string narrow = NarrowPath(filePath);
    file.reset();  // ahead of the new one, which may be the same file and is emptied
    file = opener(narrow);
    if (file == nullptr) return kResultOpenFailed;

    if (pieces == nullptr) pieces.reset(new (std::nothrow) char[kPiecesSize]);
    // Without memory for it the C library helps itself.
    if (pieces != nullptr) (void)std::setvbuf(file.get(), pieces.get(), _IOFBF, kPiecesSize);
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
        return Replace([](const std::string& narrow) { return CFile(std::fopen(narrow.c_str(), "wb")); });
    });
}

Result CFileIo::Close() {
    if (file == nullptr) return kResultOk;

    size = 0;
    readCount = 0;
    writeCount = 0;
    file.reset();
    return kResultOk;
}

Result CFileIo::Flush() {
    if (file == nullptr) return kResultInvalidArgument;
    return std::fflush(file.get()) == 0 && std::ferror(file.get()) == 0 ? kResultOk : kResultIoFailed;
}

Result CFileIo::Seek(unsigned long offset, int origin) {
    if (file == nullptr) return kResultInvalidArgument;
    if (offset > static_cast<unsigned long>(std::numeric_limits<off_t>::max())) return kResultIoFailed;
    return ::fseeko(file.get(), static_cast<off_t>(offset), origin) == 0 ? kResultOk : kResultIoFailed;
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

    return ResultOf([&] { return c_kfSpaceChecker(filePath, outputSize); });
}

Result CFileIo::ReadIn(void* destination, unsigned long /*capacity*/, unsigned long count, CProgress* /*progress*/) {
    if (file == nullptr || (destination == nullptr && count > 0)) return kResultInvalidArgument;
    if (std::fread(destination, 1, count, file.get()) != count) return kResultIoFailed;

    readCount += count;
    return kResultOk;
}

Result CFileIo::WriteOut(const void* source, unsigned long count, CProgress* /*progress*/) {
    if (file == nullptr || (source == nullptr && count > 0)) return kResultInvalidArgument;
    if (std::fwrite(source, 1, count, file.get()) != count) return kResultIoFailed;

    writeCount += count;
    return kResultOk;
}

Result CFileIo::Skip(unsigned long count) {
    const Result result = Seek(count, SEEK_CUR);
    if (!Failed(result)) readCount += count;
    return result;
}

}  // namespace KX
