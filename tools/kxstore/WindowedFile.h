#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "SourceFiles.h"
#include "io/LittleEndian.h"

namespace KxStore {

// What is wrong in a file, and where. Thrown where reading cannot go on.
struct Problem {
    std::uint64_t offset;
    std::string what;
};

// The bytes of a file by their offsets. Holds one window of them at a time, whatever the file's size.
class CWindowedFile {
public:
    static constexpr std::size_t kWindow = 0x10000;

    // Opens a regular file. Throws std::runtime_error.
    explicit CWindowedFile(const std::string& path) : reader(path), size(reader.Size()) {}

    // As it was when the file was opened.
    std::uint64_t Size() const { return size; }

    // Bytes inside the file, no more than a window's. They live until the next call. Throws Problem where the system
    // does not give them, and Stopped.
    std::span<const unsigned char> Get(std::uint64_t offset, std::size_t count);

private:
    void Fill(std::uint64_t offset, std::size_t needed);

    CSourceReader reader;
    std::uint64_t size;
    std::uint64_t windowOffset = 0;
    std::vector<unsigned char> window;
};

// Walks through a stretch of a file and not beyond its end.
class CCursor {
public:
    // The name is what the messages call the stretch.
    CCursor(CWindowedFile& file, std::uint64_t begin, std::uint64_t end, std::string name)
        : file(file), at(begin), end(end), name(std::move(name)) {}

    std::uint64_t At() const { return at; }
    std::uint64_t Left() const { return end - at; }
    const std::string& Name() const { return name; }

    // Throws Problem, named by what the next bytes were to be, where the stretch has not as many.
    void Require(std::uint64_t count, std::string_view what) const;

    // The next bytes, which live until the file's next ones are asked for. Throws as Require does.
    std::span<const unsigned char> Take(std::size_t count, std::string_view what);

    template <std::integral T>
    T Take(std::string_view what) {
        return KX::LoadLittleEndian<T>(Take(sizeof(T), what).data());
    }

    // Passes over bytes, no more than are left.
    void Pass(std::uint64_t count) { at += count; }

private:
    CWindowedFile& file;
    std::uint64_t at;
    std::uint64_t end;
    std::string name;
};

}  // namespace KxStore
