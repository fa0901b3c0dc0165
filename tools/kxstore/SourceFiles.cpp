#include "SourceFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "Signals.h"

namespace KxStore {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void ThrowErrno(int error) {
    throw std::runtime_error(std::generic_category().message(error));
}

void AddFile(const std::string& path, const Complain& complain, std::vector<SourceFile>& files) {
    try {
        files.push_back({path, CSourceReader(path).Size()});
    } catch (const std::runtime_error& trouble) {
        complain(path, trouble.what());
    }
}

std::vector<fs::directory_entry> SortedEntries(const fs::path& folder, const Complain& complain) {
    std::vector<fs::directory_entry> entries;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::end(entry); entry.increment(error)) {
        entries.push_back(*entry);
    }
    if (error) complain(folder, error.message());
    std::ranges::sort(entries);
    return entries;
}

// Nested no deeper than the system lets a path be long.
void AddFolder(const fs::path& folder, const Complain& complain, std::vector<SourceFile>& files) {
    for (const fs::directory_entry& entry : SortedEntries(folder, complain)) {
        ThrowIfStopped();
        std::error_code error;
        const fs::file_status status = entry.symlink_status(error);
        if (error) complain(entry.path(), error.message());
        if (fs::is_directory(status)) AddFolder(entry.path(), complain, files);
        if (fs::is_regular_file(status)) AddFile(entry.path(), complain, files);
    }
}

}  // namespace

std::vector<SourceFile> FindSourceFiles(const std::vector<std::string>& paths, const Complain& complain) {
    std::vector<SourceFile> files;
    for (const std::string& path : paths) {
        std::error_code error;
        if (fs::is_directory(path, error)) {
            AddFolder(path, complain, files);
        } else if (error || fs::is_regular_file(path, error)) {
            AddFile(path, complain, files);
        } else {
            complain(path, "neither a regular file nor a folder");
        }
    }
    return files;
}

// Without O_NONBLOCK, a pipe that has taken the file's place would hold up the program here.
CSourceReader::CSourceReader(const std::string& path)
    : descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {
    if (descriptor == -1) ThrowErrno(errno);
}

CSourceReader::~CSourceReader() {
    ::close(descriptor);
}

std::uint64_t CSourceReader::Size() const {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) ThrowErrno(errno);
    if (!S_ISREG(status.st_mode)) throw std::runtime_error("not a regular file");
    return static_cast<std::uint64_t>(status.st_size);
}

void CSourceReader::MoveTo(std::uint64_t offset) const {
    if (::lseek(descriptor, static_cast<off_t>(offset), SEEK_SET) == -1) ThrowErrno(errno);
}

std::size_t CSourceReader::Read(std::span<unsigned char> room) const {
    for (;;) {
        ThrowIfStopped();
        const ssize_t count = ::read(descriptor, room.data(), room.size());
        if (count >= 0) return static_cast<std::size_t>(count);
        // The system cannot write into a mapped page that the disk has no room for.
        if (errno == EFAULT) throw std::runtime_error("the disk has no room for the block's file");
        if (errno != EINTR) ThrowErrno(errno);
    }
}

}  // namespace KxStore
