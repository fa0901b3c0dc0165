// Writing and reading a large block in pieces through its buffer, against memcpy to and from raw windows of the very
// file that the block has. Two files would not do: the pages that a file got with its first touch make it faster or
// slower for the whole run. By how much is seen from the raw windows of the two blocks, which are compared as well.

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "Workload.h"
#include "mmf/IndependentMmfIo.h"
#include "mmf/Mmf.h"
#include "mmf/MmfIo.h"

namespace {

constexpr std::uint64_t kWindow = 0x1000000;
constexpr std::size_t kLargestPiece = 0x100000;

class CGlobalIo : public KX::CMmfIo {
public:
    unsigned long GetReadSize() const override { return position; }
    unsigned long GetWriteSize() const override { return 0; }
};

std::unique_ptr<KX::CBlockIo> MakeGlobalIo(const std::wstring& folder, std::uint64_t size) {
    auto io = std::make_unique<CGlobalIo>();
    UseStoreFolder(0, folder);
    Require(io->Create(size, L"block") == KX::kResultOk, "no block");
    UseStoreFolder(0, StoreFolder("store0"));  // where the blocks of other benchmarks go
    return io;
}

std::unique_ptr<KX::CBlockIo> MakePrivateIo(const std::wstring& folder, std::uint64_t size) {
    auto io = std::make_unique<KX::CIndependentMmfIo>();
    Require(io->Initialize(L"KX__", folder.c_str()) == KX::kResultOk, "no store");
    Require(io->Create(size) == KX::kResultOk, "no block");
    return io;
}

// A buffer that holds a block, the only one in its folder, and the block's file.
struct CBlockFile : private boost::noncopyable {
    CBlockFile(std::unique_ptr<KX::CBlockIo> holder, const std::wstring& folder)
        : io(std::move(holder)),
          descriptor(::open(std::filesystem::directory_iterator(folder)->path().c_str(), O_RDWR | O_CLOEXEC)) {
        Require(descriptor != -1, "the block has no file");
    }
    ~CBlockFile() {
        ::close(descriptor);
        io->Remove();
    }

    std::unique_ptr<KX::CBlockIo> io;
    int descriptor;
};

enum class Way { Write, Read };
using AfterWindow = std::function<void(std::uint64_t offset)>;
using Pass = void (*)(const CBlockFile& file, Way way, std::size_t piece, const AfterWindow& afterWindow);

std::vector<unsigned char>& Piece() {
    static std::vector<unsigned char> piece(kLargestPiece, 'K');
    return piece;
}

void PassOurs(const CBlockFile& file, Way way, std::size_t piece, const AfterWindow& afterWindow) {
    file.io->Reset();
    Require(file.io->SetOutputInfo(file.io->GetSize(), 0) == KX::kResultOk, "no view");
    KX::CIoBuffer& buffer = *file.io;  // a caller knows no more than the interface
    unsigned char* const bytes = Piece().data();
    for (std::uint64_t offset = 0; offset < buffer.GetSize(); offset += kWindow) {
        bool isMoved = true;
        for (std::uint64_t at = 0; at < kWindow && isMoved; at += piece) {
            isMoved = KX::kResultOk == (way == Way::Write ? buffer.WriteOut(bytes, piece, nullptr)
                                                          : buffer.ReadIn(bytes, piece, piece, nullptr));
        }
        Require(isMoved, "a piece was not moved");
        afterWindow(offset);
    }
    file.io->Close();
}

void PassRaw(const CBlockFile& file, Way way, std::size_t piece, const AfterWindow& afterWindow) {
    unsigned char* const bytes = Piece().data();
    for (std::uint64_t offset = 0; offset < file.io->GetSize(); offset += kWindow) {
        const auto start = static_cast<off_t>(offset);
        void* const address = ::mmap(nullptr, kWindow, PROT_READ | PROT_WRITE, MAP_SHARED, file.descriptor, start);
        Require(address != MAP_FAILED, "mmap failed");
        auto* const window = static_cast<unsigned char*>(address);
        for (std::uint64_t at = 0; at < kWindow; at += piece) {
            way == Way::Write ? std::memcpy(window + at, bytes, piece) : std::memcpy(bytes, window + at, piece);
            benchmark::ClobberMemory();
        }
        afterWindow(offset);
        ::munmap(address, kWindow);
    }
}

// Writes all of the file, whose first touch must not be timed: into each window its offset.
void TouchAndVerify(const CBlockFile& file) {
    const auto stamp = [](std::uint64_t offset) { std::memcpy(Piece().data(), &offset, sizeof(offset)); };
    const auto verify = [](std::uint64_t offset) {
        Require(std::memcmp(Piece().data(), &offset, sizeof(offset)) == 0, "a window reads otherwise than written");
    };
    stamp(0);
    PassOurs(file, Way::Write, kLargestPiece, [&](std::uint64_t offset) { stamp(offset + kWindow); });
    PassRaw(file, Way::Read, kLargestPiece, verify);
    PassOurs(file, Way::Read, kLargestPiece, verify);
}

using MakeIo = std::unique_ptr<KX::CBlockIo> (*)(const std::wstring& folder, std::uint64_t size);

const CBlockFile& WarmFile(MakeIo make, std::uint64_t size) {
    static std::map<MakeIo, CBlockFile> files;
    const std::wstring folder = StoreFolder(make == MakeGlobalIo ? "block-io" : "private-block-io");
    if (!files.contains(make)) TouchAndVerify(files.try_emplace(make, make(folder, size), folder).first->second);
    return files.at(make);
}

// In MiB, with the pages of files that are mapped; 0 where the system does not tell.
double ResidentSize() {
    std::ifstream pages("/proc/self/statm");
    double all = 0;
    double resident = 0;
    pages >> all >> resident;
    return resident * static_cast<double>(::getpagesize()) / 0x100000;
}

// By how much the resident set grows on a pass that is not timed, where each window ends.
double PeakGrowth(const CBlockFile& file, Pass pass, Way way, std::size_t piece) {
    const double before = ResidentSize();
    double peak = before;
    pass(file, way, piece, [&](std::uint64_t) { peak = std::max(peak, ResidentSize()); });
    return peak - before;
}

void RegisterPass(const std::string& name, MakeIo make, std::uint64_t size, Pass pass, Way way, std::size_t piece) {
    Register(name, [=](benchmark::State& state) {
        const CBlockFile& file = WarmFile(make, size);
        static std::map<std::string, double> peaks;
        if (!peaks.contains(name)) peaks[name] = PeakGrowth(file, pass, way, piece);
        for (auto _ : state) pass(file, way, piece, [](std::uint64_t) {});
        state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
        state.counters["peak_MiB"] = peaks[name];
    })->Unit(benchmark::kMillisecond);
}

void RegisterWay(const std::string& kind, std::uint64_t size, Way way, std::size_t piece) {
    const auto registerBlock = [=](const std::string& name, MakeIo make) {
        RegisterPass(name, make, size, PassOurs, way, piece);
        RegisterPass(name + "-raw", make, size, PassRaw, way, piece);
        CompareSpeed(name, name + "-raw", piece == kLargestPiece ? 0.95 : 0);
    };
    registerBlock(kind, MakeGlobalIo);
    registerBlock(kind + "-private", MakePrivateIo);
    CompareSpeed(kind + "-private-raw", kind + "-raw");
}

}  // namespace

void RegisterBlockIoBench(std::uint64_t blockSize) {
    for (const auto& [name, piece] :
         {std::pair{"64B", 64U}, std::pair{"4KiB", 0x1000U}, std::pair{"1MiB", 0x100000U}}) {
        RegisterWay(std::string("block-write/") + name, blockSize, Way::Write, piece);
        RegisterWay(std::string("block-read/") + name, blockSize, Way::Read, piece);
    }
}
