#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace KxStore {

struct SourceFile {
    std::string path;
    std::uint64_t size;
};

// Told of each path that cannot be read, and why.
using Complain = std::function<void(const std::string& path, const std::string& reason)>;

// The readable regular files among the paths and below the folders among them, each folder sorted by name. Links
// are followed where they are given as paths, and skipped below folders, as is all that is neither file nor folder.
// Throws Stopped.
std::vector<SourceFile> FindSourceFiles(const std::vector<std::string>& paths, const Complain& complain);

// Reads one source file, from its start unless it is moved. Throws std::runtime_error on every failure, and Stopped.
class CSourceReader {
public:
    // Opens the file, which must be a regular one.
    explicit CSourceReader(const std::string& path);
    ~CSourceReader();

    CSourceReader(const CSourceReader&) = delete;
    CSourceReader& operator=(const CSourceReader&) = delete;

    std::uint64_t Size() const;

    // Where the next Read starts.
    void MoveTo(std::uint64_t offset) const;

    // Reads the next bytes, as many as there is room for or fewer; 0 at the end of the file alone.
    std::size_t Read(std::span<unsigned char> room) const;

private:
    int descriptor;
};

}  // namespace KxStore
