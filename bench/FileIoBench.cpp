// Files in pieces through a buffer, against the C library's own calls. The files are small enough to stay in the
// system's cache, so that the calls are timed and not the disk.

#include <cstdio>
#include <vector>

#include "Workload.h"
#include "io/FileIo.h"

namespace {

constexpr std::size_t kFileSize = 0x2000000;
constexpr std::size_t kLargestPiece = 0x100000;

std::vector<char>& Piece() {
    static std::vector<char> piece(kLargestPiece, 'K');
    return piece;
}

// Each side writes a file of its own. Both read the same one: how the system caches a file depends on who wrote it.
std::filesystem::path FilePath(const char* name) {
    return WorkFolder() / name;
}

// A caller knows no more than the interface.
KX::CIoBuffer& Hidden(KX::CIoBuffer* buffer) {
    benchmark::DoNotOptimize(buffer);
    return *buffer;
}

void WriteFile(const char* name, std::size_t size) {
    KX::CFileIo file;
    Require(file.Save(FilePath(name).wstring().c_str()) == KX::kResultOk, "no file");
    KX::CIoBuffer& buffer = Hidden(&file);
    for (std::size_t at = 0; at < kFileSize; at += size) {
        Require(buffer.WriteOut(Piece().data(), size, nullptr) == KX::kResultOk, "not written");
    }
    Require(file.Flush() == KX::kResultOk, "not flushed");
}

void WriteOurs(std::size_t size) {
    WriteFile("ours", size);
}

void ReadOurs(std::size_t size) {
    KX::CFileIo file;
    Require(file.Open(FilePath("both").wstring().c_str()) == KX::kResultOk, "no file");
    KX::CIoBuffer& buffer = Hidden(&file);
    for (std::size_t at = 0; at < kFileSize; at += size) {
        Require(buffer.ReadIn(Piece().data(), size, size, nullptr) == KX::kResultOk, "not read");
    }
}

void WriteRaw(std::size_t size) {
    std::FILE* const file = std::fopen(FilePath("raw").c_str(), "wb");
    Require(file != nullptr, "no file");
    for (std::size_t at = 0; at < kFileSize; at += size) {
        Require(std::fwrite(Piece().data(), 1, size, file) == size, "not written");
    }
    Require(std::fclose(file) == 0, "not closed");
}

void ReadRaw(std::size_t size) {
    std::FILE* const file = std::fopen(FilePath("both").c_str(), "rb");
    Require(file != nullptr, "no file");
    for (std::size_t at = 0; at < kFileSize; at += size) {
        Require(std::fread(Piece().data(), 1, size, file) == size, "not read");
    }
    std::fclose(file);
}

using Transfer = void (*)(std::size_t size);

void TimeTransfer(benchmark::State& state, Transfer transfer, std::size_t size) {
    static const bool isThere = (WriteFile("both", kLargestPiece), true);
    benchmark::DoNotOptimize(isThere);
    for (auto _ : state) transfer(size);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kFileSize));
}

void RegisterTransfer(const std::string& kind, Transfer ours, Transfer raw, std::size_t size) {
    for (const auto& [name, transfer] : {std::pair{kind, ours}, std::pair{kind + "-by-stdio", raw}}) {
        Register(name, [transfer = transfer, size](benchmark::State& state) {
            TimeTransfer(state, transfer, size);
        })->Unit(benchmark::kMillisecond);
    }
    CompareSpeed(kind, kind + "-by-stdio", 0.95);
}

}  // namespace

void RegisterFileIoBench() {
    for (const auto& [name, size] : {std::pair{"64B", 64U}, std::pair{"4KiB", 0x1000U}, std::pair{"1MiB", 0x100000U}}) {
        RegisterTransfer(std::string("file-write/") + name, WriteOurs, WriteRaw, size);
        RegisterTransfer(std::string("file-read/") + name, ReadOurs, ReadRaw, size);
    }
}
