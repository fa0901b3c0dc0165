#pragma once

#include <benchmark/benchmark.h>

#include <boost/core/noncopyable.hpp>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <string>

// Each registers the benchmarks of its file, and which of them are to be compared.
void RegisterMapBench();
void RegisterAllocBench();
void RegisterSequentialBench(std::uint64_t blockSize);
void RegisterEncodingBench();
void RegisterMd5Bench();
void RegisterFileIoBench();
void RegisterBlockIoBench(std::uint64_t blockSize);
void RegisterHeaderBench(bool isQuick);
void RegisterContainerBench(bool isQuick);

// Have the medians of two benchmarks of a run compared: the time of ours / the time of the peer, or its inverse,
// the speed. Without a limit the peer is there for information.
void CompareCost(const std::string& ours, const std::string& peer, double atMost = 0);
void CompareSpeed(const std::string& ours, const std::string& peer, double atLeast = 0);

// Runs what is registered and prints the ratios. False: a benchmark failed, or missed its limit if that counts.
bool RunAndCompare(bool isStrict);

// Throws unless it is true.
void Require(bool isTrue, const char* otherwise);

// Registers a benchmark timed by the wall clock, which is what users wait by. An exception ends it with an error,
// so that a side that fails is reported instead of timed.
template <typename Body>
benchmark::internal::Benchmark* Register(const std::string& name, Body body) {
    const auto guarded = [body](benchmark::State& state) {
        try {
            body(state);
        } catch (const std::exception& error) {
            state.SkipWithError(error.what());
        }
    };
    return benchmark::RegisterBenchmark(name.c_str(), guarded)->UseRealTime();
}

// The folder that all files of this run go into, in the temporary folder. It is removed at exit, after every static
// object that was built later than it.
const std::filesystem::path& WorkFolder();

// A folder in it, as a store takes it: the store makes it with its first block and removes it with its last.
std::wstring StoreFolder(const std::string& name);

// Has a global store put its next objects there.
void UseStoreFolder(int store, const std::wstring& folder);

// A live block of the first global store, 64 KiB unless told otherwise.
struct CBlock : private boost::noncopyable {
    explicit CBlock(std::uint64_t size = 0x10000);
    ~CBlock();

    unsigned int handle = 0;
};

// A sparse file for the peers of the library.
struct CPeerFile : private boost::noncopyable {
    explicit CPeerFile(std::uint64_t size);
    ~CPeerFile();

    void MapAndUnmap() const;

    std::string path;
    std::uint64_t size;
    int descriptor;
};
