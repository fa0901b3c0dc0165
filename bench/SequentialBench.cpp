// Walking through a large block window by window, against the same walk by the peers through the very file that the
// block has. A file of their own would not do: the pages that a file got with its first touch make it faster or slower
// for the whole run, by as much as half.

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <boost/interprocess/file_mapping.hpp>
#include <boost/interprocess/mapped_region.hpp>
#include <cstring>
#include <functional>
#include <optional>
#include <set>
#include <vector>

#include "Workload.h"
#include "mmf/SmartMap.h"

namespace {

namespace ipc = boost::interprocess;

constexpr unsigned int kWindow = 0x1000000;
constexpr std::uint64_t kStampStep = 4096;  // no more than a page, so that stamping touches each one

using Visit = std::function<void(unsigned char* window, std::uint64_t offset)>;
using Walk = void (*)(std::uint64_t size, const Visit& visit);

// A block in a folder of its own, and its file.
struct CBlockFile : private boost::noncopyable {
    explicit CBlockFile(std::uint64_t size) {
        const std::wstring folder = StoreFolder("sequential");
        UseStoreFolder(0, folder);
        block.emplace(size);
        UseStoreFolder(0, StoreFolder("store0"));  // where the blocks of other benchmarks go
        path = std::filesystem::directory_iterator(folder)->path();
        descriptor = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
        Require(descriptor != -1, "the block has no file");
    }
    ~CBlockFile() { ::close(descriptor); }

    std::optional<CBlock> block;
    std::string path;
    int descriptor = -1;
};

const CBlockFile& BlockFile(std::uint64_t size) {
    static const CBlockFile file(size);
    return file;
}

void WalkOurs(std::uint64_t size, const Visit& visit) {
    KX::CKXSmartWindowMap map(BlockFile(size).block->handle, kWindow);
    for (std::uint64_t offset = 0; offset < size; offset += kWindow) {
        unsigned char* const window = map.GetMapAddress(nullptr, offset);
        Require(window != nullptr, "no window");
        visit(window, offset);
    }
}

void WalkRaw(std::uint64_t size, const Visit& visit) {
    const int file = BlockFile(size).descriptor;
    for (std::uint64_t offset = 0; offset < size; offset += kWindow) {
        const auto start = static_cast<off_t>(offset);
        void* const window = ::mmap(nullptr, kWindow, PROT_READ | PROT_WRITE, MAP_SHARED, file, start);
        Require(window != MAP_FAILED, "mmap failed");
        visit(static_cast<unsigned char*>(window), offset);
        ::munmap(window, kWindow);
    }
}

void WalkBoost(std::uint64_t size, const Visit& visit) {
    const ipc::file_mapping mapping(BlockFile(size).path.c_str(), ipc::read_write);
    for (std::uint64_t offset = 0; offset < size; offset += kWindow) {
        const auto start = static_cast<ipc::offset_t>(offset);
        const ipc::mapped_region region(mapping, ipc::read_write, start, kWindow);
        visit(static_cast<unsigned char*>(region.get_address()), offset);
    }
}

// Writes its offset into each page, then reads them all back. The first touch of a sparse file must not be timed.
void TouchAndVerify(Walk walk, std::uint64_t size) {
    walk(size, [](unsigned char* window, std::uint64_t offset) {
        for (std::uint64_t i = 0; i < kWindow; i += kStampStep) {
            *reinterpret_cast<std::uint64_t*>(window + i) = offset + i;
        }
    });
    walk(size, [](const unsigned char* window, std::uint64_t offset) {
        for (std::uint64_t i = 0; i < kWindow; i += kStampStep) {
            const bool isRight = *reinterpret_cast<const std::uint64_t*>(window + i) == offset + i;
            Require(isRight, "a page reads otherwise than it was written");
        }
    });
}

void TimeWalk(benchmark::State& state, Walk walk, std::uint64_t size, const Visit& visit) {
    static std::set<Walk> warm;
    if (!warm.contains(walk)) TouchAndVerify(walk, size);
    warm.insert(walk);
    for (auto _ : state) walk(size, visit);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
}

void RegisterWalk(const std::string& name, Walk walk, std::uint64_t size) {
    static std::vector<unsigned char> buffer(kWindow, 'K');  // filled, hence touched
    const auto write = [](unsigned char* window, std::uint64_t) { std::memcpy(window, buffer.data(), kWindow); };
    const auto read = [](const unsigned char* window, std::uint64_t) {
        std::memcpy(buffer.data(), window, kWindow);
        benchmark::ClobberMemory();
    };
    const auto time = [=](const Visit& visit) {
        return [=](benchmark::State& state) { TimeWalk(state, walk, size, visit); };
    };
    Register("write/" + name, time(write))->Unit(benchmark::kMillisecond);
    Register("read/" + name, time(read))->Unit(benchmark::kMillisecond);
}

}  // namespace

void RegisterSequentialBench(std::uint64_t blockSize) {
    RegisterWalk("smart-window", WalkOurs, blockSize);
    RegisterWalk("raw-mmap", WalkRaw, blockSize);
    RegisterWalk("boost-mapped-region", WalkBoost, blockSize);
    CompareSpeed("write/smart-window", "write/raw-mmap", 0.95);
    CompareSpeed("read/smart-window", "read/raw-mmap", 0.95);
    CompareSpeed("write/smart-window", "write/boost-mapped-region");
    CompareSpeed("read/smart-window", "read/boost-mapped-region");
}
