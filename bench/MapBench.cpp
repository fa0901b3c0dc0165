// Mapping a block of 64 KiB that lies in a heap buffer: two locks each way and a look-up, so four pairs of mutex
// calls are the measure.

#include <pthread.h>
#include <sys/mman.h>

#include <boost/interprocess/file_mapping.hpp>
#include <boost/interprocess/mapped_region.hpp>
#include <cstddef>
#include <deque>

#include "Workload.h"
#include "mmf/Mmf.h"

namespace {

namespace ipc = boost::interprocess;

constexpr std::size_t kBlockSize = 0x10000;
constexpr std::size_t kBlocksOfAnObject = 1024;

// In this order the first fill an object, so that the one block has an object for itself.
struct Blocks {
    std::deque<CBlock> full = std::deque<CBlock>(kBlocksOfAnObject);
    CBlock one;
};

const Blocks& LiveBlocks() {
    static const Blocks blocks;
    return blocks;
}

void MapAndUnMap(unsigned int handle) {
    unsigned char* const address = KX::CMmf::Map(handle);
    Require(address != nullptr && address != MAP_FAILED, "the block could not be mapped");
    KX::CMmf::UnMap(handle);
}

void OneBlock(benchmark::State& state) {
    const unsigned int handle = LiveBlocks().one.handle;
    for (auto _ : state) MapAndUnMap(handle);
}

void EachBlockOfAFullObject(benchmark::State& state) {
    constexpr std::size_t kStride = 389;  // prime, so that it comes by all blocks, and never by neighbours in turn
    std::size_t index = 0;
    for (auto _ : state) {
        MapAndUnMap(LiveBlocks().full[index].handle);
        index = (index + kStride) % kBlocksOfAnObject;
    }
}

void FourMutexPairs(benchmark::State& state) {
    static pthread_mutex_t mutexes[] = {PTHREAD_MUTEX_INITIALIZER, PTHREAD_MUTEX_INITIALIZER, PTHREAD_MUTEX_INITIALIZER,
                                        PTHREAD_MUTEX_INITIALIZER};
    for (auto _ : state) {
        for (pthread_mutex_t& mutex : mutexes) {  // NOLINT(misc-non-copyable-objects)
            ::pthread_mutex_lock(&mutex);
            ::pthread_mutex_unlock(&mutex);
        }
    }
}

void Posix(benchmark::State& state) {
    const CPeerFile file(kBlockSize);
    for (auto _ : state) file.MapAndUnmap();
}

void Boost(benchmark::State& state) {
    const CPeerFile file(kBlockSize);
    const ipc::file_mapping mapping(file.path.c_str(), ipc::read_write);
    for (auto _ : state) const ipc::mapped_region region(mapping, ipc::read_write, 0, kBlockSize);
}

}  // namespace

void RegisterMapBench() {
    Register("map/one-block", OneBlock);
    Register("map/full-object", EachBlockOfAFullObject);
    Register("map/four-mutex-pairs", FourMutexPairs);
    Register("map/posix-mmap", Posix);
    Register("map/boost-mapped-region", Boost);
    CompareCost("map/one-block", "map/four-mutex-pairs", 2);
    CompareCost("map/full-object", "map/four-mutex-pairs", 2);
    CompareCost("map/one-block", "map/posix-mmap");
    CompareCost("map/one-block", "map/boost-mapped-region");
}
