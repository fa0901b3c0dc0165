// Saving and loading the header file of a store of 100 or 1,000 shared objects with 200 blocks each. Every time is that
// of 200,000 blocks: of one store, or of ten of 20,000 after one another, so that the ratio of the two is what the
// time of a block grows by. Loading opens the file of each object, makes it where it is missing, or does neither where
// the object has no name. The peers make such files, or write the same bytes. What making a file costs is the system's
// affair: ext4 takes from 20 us to more than a millisecond, and the more the more files were deleted just before.

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

#include "Workload.h"
#include "mmf/IndependentMmf.h"

namespace fs = std::filesystem;

namespace {

constexpr unsigned int kBlocks = 200;  // of each object
constexpr unsigned int kSlots = 1024;
constexpr unsigned int kObjectSize = 0x4000000;

// Each object has a file of its own, or none.
enum class Names { Distinct, Empty };

struct Volume {
    std::string name;
    unsigned int objects;
    int rounds;
    int repetitions;
};

void Put(std::string& bytes, unsigned int value, int width = 4) {
    for (; width > 0; --width, value >>= 8) bytes += static_cast<char>(value);
}

// Written by hand, as the objects that a store makes in one second share one name.
std::string HeaderBytes(const std::vector<std::string>& names) {
    std::string bytes;
    Put(bytes, static_cast<unsigned int>(names.size()));
    for (const std::string& name : names) {
        Put(bytes, 1, 1);
        Put(bytes, static_cast<unsigned int>(name.size()));
        for (const char character : name) Put(bytes, static_cast<unsigned char>(character), 2);
        Put(bytes, kObjectSize);
        Put(bytes, kBlocks);
        for (unsigned int slot = 0; slot < kBlocks; ++slot) {
            Put(bytes, slot);
            Put(bytes, 1);
        }
        bytes.append(kBlocks, 1).append(kSlots - kBlocks, 0);
    }
    return bytes;
}

// Each loaded object keeps its file open, and many systems allow no more than 1024 unless asked.
void AllowOpenFiles(unsigned int count) {
    rlimit limit{};
    Require(::getrlimit(RLIMIT_NOFILE, &limit) == 0, "no limit for open files");
    if (limit.rlim_cur >= count) return;
    limit.rlim_cur = count;
    Require(count <= limit.rlim_max && ::setrlimit(RLIMIT_NOFILE, &limit) == 0, "too few files may be open");
}

// A store in a fresh folder with a header file. The folder stays under another name, in which the store does not find
// the files, until the end of the run: deleting them would slow the rounds to come.
class CHeaderSide : private boost::noncopyable {
public:
    CHeaderSide(unsigned int objects, Names kind) : names(objects) {
        AllowOpenFiles(2 * objects + 256);  // those of the store and of MakeFiles
        for (unsigned int i = 0; kind == Names::Distinct && i < objects; ++i)
            names[i] = "KX_" + std::to_string(1'000'000'000 + i) + ".tmp";
        header = HeaderBytes(names);
        fs::create_directory(folder);
        WriteBytes();
        Require(store.Initialize() == KX::kResultOk, "no store");
        Require(!store.SetDirectory(L"KX__", StoreFolder("header").c_str(), 0), "the store refused its folder");
    }
    ~CHeaderSide() {
        for (const int descriptor : descriptors) ::close(descriptor);
        static int used = 0;
        std::error_code ignored;
        fs::rename(folder, WorkFolder() / ("header-" + std::to_string(++used)), ignored);
    }

    void Load() { Require(store.LoadHeaderFile() == KX::kResultOk, "not loaded"); }
    void Save() { Require(store.SaveHeaderFile() == KX::kResultOk, "not saved"); }

    void WriteBytes() {
        std::FILE* const file = std::fopen(headerFile.c_str(), "wb");
        Require(file != nullptr, "no file");
        const std::size_t written = std::fwrite(header.data(), 1, header.size(), file);
        Require(std::fclose(file) == 0 && written == header.size(), "not written");
    }

    void MakeFiles() {
        for (const std::string& name : names) {
            descriptors.push_back(::open((folder / name).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
            Require(::pwrite(descriptors.back(), "", 1, kObjectSize + 1) == 1, "no file");
        }
    }

    void DropHeader() { fs::remove(headerFile); }
    void VerifyHeader() {
        std::ifstream file(headerFile, std::ios::binary);
        Require(std::string(std::istreambuf_iterator<char>(file), {}) == header, "saved otherwise than loaded");
    }
    void VerifyFiles() {
        Require(std::distance(fs::directory_iterator(folder), {}) == std::ssize(names) + 1, "files are missing");
    }

private:
    std::vector<std::string> names;
    std::string header;
    std::vector<int> descriptors;
    const fs::path folder = WorkFolder() / "header";
    const fs::path headerFile = folder / "KX_.mmfheader";
    KX::CIndependentMmf store;
};

using Side = CHeaderSide;
using Steps = std::vector<void (Side::*)()>;

// Of the steps of a round, times one.
void RegisterStep(const std::string& what, const Volume& volume, const Steps& before, void (Side::*timed)(),
                  const Steps& after, Names names = Names::Distinct) {
    const auto round = [=](benchmark::State& state) {
        Side side(volume.objects, names);
        for (const auto step : before) (side.*step)();
        state.ResumeTiming();
        (side.*timed)();
        state.PauseTiming();
        for (const auto step : after) (side.*step)();
    };
    const auto body = [=](benchmark::State& state) {
        for (auto _ : state) {
            for (int i = 0; i < volume.rounds; ++i) {
                state.PauseTiming();
                round(state);
                state.ResumeTiming();
            }
        }
        state.SetItemsProcessed(state.iterations() * volume.rounds * volume.objects * kBlocks);
    };
    Register(what + '/' + volume.name, body)
        ->Unit(benchmark::kMillisecond)
        ->Iterations(1)
        ->Repetitions(volume.repetitions);
}

void RegisterVolume(const Volume& volume) {
    const Steps saveAndVerify = {&Side::DropHeader, &Side::Save, &Side::VerifyHeader};
    RegisterStep("header-save", volume, {&Side::Load, &Side::DropHeader}, &Side::Save, {&Side::VerifyHeader});
    RegisterStep("header-bytes", volume, {&Side::DropHeader}, &Side::WriteBytes, {});
    RegisterStep("header-load", volume, {&Side::MakeFiles}, &Side::Load, saveAndVerify);
    RegisterStep("header-load-nameless", volume, {}, &Side::Load, saveAndVerify, Names::Empty);
    RegisterStep("header-load-missing", volume, {}, &Side::Load, {&Side::VerifyFiles});
    RegisterStep("header-files", volume, {}, &Side::MakeFiles, {&Side::VerifyFiles});
    CompareCost("header-save/" + volume.name, "header-bytes/" + volume.name);
    CompareCost("header-load/" + volume.name, "header-load-nameless/" + volume.name);
    CompareCost("header-load-missing/" + volume.name, "header-files/" + volume.name);
}

}  // namespace

void RegisterHeaderBench(bool isQuick) {
    const Volume smaller = {"20k", 100, isQuick ? 1 : 10, isQuick ? 1 : 9};
    const Volume larger = {"200k", 1000, 1, 9};
    RegisterVolume(smaller);
    if (isQuick) return;

    RegisterVolume(larger);
    for (const std::string what : {"header-save/", "header-load/", "header-load-nameless/"}) {
        CompareCost(what + larger.name, what + smaller.name, 1.2);
    }
    CompareCost("header-load-missing/200k", "header-load-missing/20k");
    CompareCost("header-files/200k", "header-files/20k");
}
