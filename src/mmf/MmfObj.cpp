#include "mmf/MmfObj.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <cwchar>
#include <exception>
#include <iterator>

#include "mmf/BackingFile.h"
#include "mmf/FileMapping.h"
#include "mmf/HeaderFormat.h"
#include "stream/StreamText.h"
#include "string/Path.h"
#include "system/NarrowPath.h"
#include "system/System.h"

namespace {

// How often a backing file is tried again whose folder was removed between its making and the opening.
constexpr int kOpenAttempts = 100;

// An existing folder is fine.
[[nodiscard]] bool MakeFolder(const std::string& folder) {
    return ::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST;
}

// Writing past the limit for the size of files would raise a signal that ends the process.
bool MayWriteAt(std::uint64_t offset) {
    rlimit limit{};
    return ::getrlimit(RLIMIT_FSIZE, &limit) != 0 || offset < limit.rlim_cur;
}

bool IsNullOrEmpty(const wchar_t* text) {
    return text == nullptr || *text == L'\0';
}

// Room for a time stamp and ".tmp", beyond what the folder and the prefix need.
constexpr std::size_t kTimeStampRoom = 1024;

std::wstring BackingFilePath(const wchar_t* prefix, const wchar_t* directory) {
    std::wstring path(std::wcslen(directory) + 1 + std::wcslen(prefix) + kTimeStampRoom, L'\0');
    GetTempFileName(directory, prefix, 0, path.data());
    path.resize(std::wcslen(path.c_str()));
    return path;
}

// A failure shows when the missing pages are to be mapped.
void GrowFile(int descriptor, std::uint64_t length) {
    if (length == 0 || !MayWriteAt(length - 1)) return;
    const char lastByte = 0;
    [[maybe_unused]] const ssize_t written = ::pwrite(descriptor, &lastByte, 1, static_cast<off_t>(length - 1));
}

// Whether the file ends before so many bytes.
bool IsShorter(int descriptor, std::uint64_t bytes) {
    struct stat file {};
    return ::fstat(descriptor, &file) != 0 || static_cast<std::uint64_t>(file.st_size) < bytes;
}

}  // namespace

wchar_t* GetTempFileName(const wchar_t* directory, const wchar_t* prefix, unsigned char /*unique*/, wchar_t* out) {
    wchar_t stamp[kTimeStampRoom];
    std::swprintf(stamp, std::size(stamp), L"%ld.tmp", static_cast<long>(std::time(nullptr)));
    std::wcscpy(out, directory);
    std::wcscat(out, L"/");
    std::wcscat(out, prefix);
    return std::wcscat(out, stamp);
}

int OpenFile4MMF(std::wstring path, unsigned int size) {
    // Close-on-exec: a program that the application starts must not keep the file's room on disk. No link is followed:
    // the names can be foreseen, and somebody else's link would have his choice of file grown and written.
    const int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW;
    const int descriptor = ::open(KX::NarrowPath(path).c_str(), flags, 0600);
    if (descriptor != -1) GrowFile(descriptor, BackingFileLength(size));
    return descriptor;
}

CMmfObj::CMmfObj(bool bShareable) : bShareable(bShareable) {}

CMmfObj::~CMmfObj() {
    DestroyMemMapFile();
}

bool CMmfObj::MemAlloc(unsigned long /*size*/, unsigned int& block) {
    block = 0;
    return false;
}

KX::Result CMmfObj::MemFree(int /*block*/, bool& bEmpty) {
    bEmpty = true;
    return KX::kResultNotSupported;
}

unsigned char* CMmfObj::Map(int /*block*/) {
    return nullptr;
}

unsigned char* CMmfObj::MapWindow(int /*block*/, unsigned long /*offset*/, unsigned long /*length*/) {
    return nullptr;
}

void CMmfObj::UnMapWindow(void* /*address*/, unsigned long /*length*/) {}

void CMmfObj::UnMap(int /*block*/) {}

unsigned long CMmfObj::GetSize(unsigned int /*block*/) {
    return 0;
}

unsigned long CMmfObj::GetRefCount(unsigned int /*block*/) {
    return 0;
}

KX::Result CMmfObj::SaveHeader(KX::CIoStream& stream, const wchar_t* /*directory*/) {
    const CKXCriticalSectionSmartLock guard(lock);
    const KX::Result result = KX::StreamWrite(stream, KX::GetPathFilename(filePath));
    return KX::Failed(result) ? result : KX::StreamWrite(stream, static_cast<std::uint32_t>(fileSize));
}

KX::Result CMmfObj::LoadHeader(KX::CIoStream& stream, const wchar_t* directory) {
    const CKXCriticalSectionSmartLock guard(lock);
    if (directory == nullptr || HasStore()) return KX::kResultInvalidArgument;

    std::wstring name;
    KX::Result result = KX::StreamRead(stream, name);
    if (KX::Failed(result)) return result;
    if (!HeaderFormat::IsName(name)) return KX::kResultMalformed;
    std::uint32_t size = 0;
    result = KX::StreamRead(stream, size);
    if (KX::Failed(result)) return result;

    if (!name.empty()) filePath = directory + name;
    fileSize = size;
    return KX::kResultOk;
}

unsigned int CMmfObj::FreeRunBound() {
    return 0;
}

std::uint64_t CMmfObj::GetSerial(unsigned int /*block*/) {
    return 0;
}

bool CMmfObj::CreateMemMapFile(const wchar_t* prefix, const wchar_t* directory, unsigned long size) {
    const CKXCriticalSectionSmartLock guard(lock);
    if (IsNullOrEmpty(prefix) || IsNullOrEmpty(directory)) return false;

    const std::string folder = KX::NarrowPath(directory);
    (void)MakeFolder(folder);  // no failure is reported: opening the file shows it
    filePath = BackingFilePath(prefix, directory);
    if (TakeHeap(size)) {
        fileSize = size;
        return true;
    }
    if (fd == -1) OpenInFolder(folder, size);
    fileSize = size;
    return true;
}

KX::Result CMmfObj::MappingFile() {
    const CKXCriticalSectionSmartLock guard(lock);
    if (TakeHeap(fileSize)) return KX::kResultOk;
    if (fd != -1) return KX::kResultOk;
    fd = OpenBackingFile(0);
    if (fd != -1 && IsShorter(fd, BackingFileLength(fileSize))) GrowFile(fd, BackingFileLength(fileSize));
    return KX::kResultOk;
}

void CMmfObj::DestroyMemMapFile() {
    const CKXCriticalSectionSmartLock guard(lock);
    if (heapBuffer != nullptr) {
        std::free(heapBuffer);
        heapBuffer = nullptr;
        bInMemory = false;
    }
    if (fd != -1) {
        ::close(fd);
        fd = -1;
    }
    if (!filePath.empty()) {
        try {
            (void)KX::CSystem::DeleteFileByName(filePath);  // it may be gone, or never have been made
        } catch (const std::exception&) {
            // No memory for the name: the file stays, which is better than the end of the process.
        }
        filePath.clear();
    }
    fileSize = 0;
}

std::uint64_t CMmfObj::NewSerial() {
    static std::atomic<std::uint64_t> last = 0;
    return ++last;
}

bool CMmfObj::IsInMemory() {
    const CKXCriticalSectionSmartLock guard(lock);
    return bInMemory;
}

std::uint64_t CMmfObj::GetFileSize() {
    const CKXCriticalSectionSmartLock guard(lock);
    return fileSize;
}

int CMmfObj::OpenBackingFile(std::uint64_t size) const noexcept {
    try {
        return OpenFile4MMF(filePath, static_cast<unsigned int>(size));  // modulo 2^32, as when it was made
    } catch (const std::exception&) {
        errno = ENOMEM;
        return -1;
    }
}

unsigned char* CMmfObj::MapBackingFile(std::uint64_t storeSize, unsigned long length, unsigned long offset) const {
    const std::uint64_t needed = std::min<std::uint64_t>(offset + length, ReachableLength(storeSize));
    if (IsShorter(fd, needed)) return static_cast<unsigned char*>(MAP_FAILED);
    return MapFile(fd, length, offset);
}

void CMmfObj::ForgetFile() {
    const CKXCriticalSectionSmartLock guard(lock);
    filePath.clear();
    fileSize = 0;
}

bool CMmfObj::HasStore() const {
    return fd != -1 || heapBuffer != nullptr || !filePath.empty();
}

// Makes the heap buffer of an object that wants one. Without the memory the object turns to its file.
bool CMmfObj::TakeHeap(std::uint64_t size) {
    if (!bInMemory) return false;
    heapBuffer = static_cast<unsigned char*>(std::malloc(size));
    bInMemory = heapBuffer != nullptr;
    return bInMemory;
}

// Opens the backing file. Another thread that frees the last block in the folder removes the folder, perhaps just
// now: then it is made again.
void CMmfObj::OpenInFolder(const std::string& folder, std::uint64_t size) {
    for (int attempt = 0; attempt < kOpenAttempts; ++attempt) {
        fd = OpenFile4MMF(filePath, static_cast<unsigned int>(size));  // modulo 2^32: see BackingFileLength
        if (fd != -1 || errno != ENOENT || !MakeFolder(folder)) return;
    }
}
