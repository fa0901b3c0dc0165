// Allocating and freeing a block of 64 KiB: the cost must not grow with what the store already holds.

#include <sys/mman.h>

#include <boost/interprocess/managed_heap_memory.hpp>
#include <boost/interprocess/managed_mapped_file.hpp>
#include <cstddef>
#include <cstdlib>
#include <map>
#include <vector>

#include "Workload.h"
#include "mmf/MmfManager.h"

namespace {

namespace ipc = boost::interprocess;

constexpr std::size_t kBlockSize = 0x10000;
constexpr std::size_t kObjectSize = 0x4000000;

// A store of its own with some live blocks, and a last one of 64 KiB: without it the object that the new block goes
// to would come and go with that block. No block is touched, so they cost address space alone.
class CFilledStore : private boost::noncopyable {
public:
    CFilledStore(const std::string& name, std::size_t count, std::size_t size) {
        Require(store.SetDirectory(L"KX__", StoreFolder(name).c_str()), "the store refused its folder");
        while (handles.size() < count) handles.push_back(Alloc(size));
        handles.push_back(Alloc(kBlockSize));
    }
    ~CFilledStore() {  // with the last block goes the folder, which the store would print otherwise
        for (const unsigned int handle : handles) (void)store.MemFree(handle);
    }

    // As the facade does it: a new block is mapped once.
    void AllocAndFree() {
        const unsigned int handle = Alloc(kBlockSize);
        unsigned char* const address = store.Map(handle);
        Require(address != nullptr && address != MAP_FAILED, "the block could not be mapped");
        store.UnMap(handle);
        Require(store.MemFree(handle) == KX::kResultOk, "the block could not be freed");
    }

private:
    unsigned int Alloc(std::size_t size) {
        unsigned int handle = 0;
        Require(store.MemAlloc(size, handle), "no block");
        return handle;
    }

    CMmfManager store;
    std::vector<unsigned int> handles;
};

void RegisterStore(const std::string& name, std::size_t count, std::size_t size) {
    Register("alloc/" + name, [=](benchmark::State& state) {
        static std::map<std::string, CFilledStore> stores;
        CFilledStore& store = stores.try_emplace(name, name, count, size).first->second;
        for (auto _ : state) store.AllocAndFree();
    });
}

void Malloc(benchmark::State& state) {
    for (auto _ : state) {
        void* memory = std::malloc(kBlockSize);
        benchmark::DoNotOptimize(memory);
        std::free(memory);
    }
}

void BoostHeap(benchmark::State& state) {
    static ipc::managed_heap_memory segment(kObjectSize);
    for (auto _ : state) segment.deallocate(segment.allocate(kBlockSize));
}

void BoostFile(benchmark::State& state) {
    static ipc::managed_mapped_file segment(ipc::create_only, (WorkFolder() / "segment").c_str(), kObjectSize);
    for (auto _ : state) segment.deallocate(segment.allocate(kBlockSize));
}

void Posix(benchmark::State& state) {
    for (auto _ : state) CPeerFile(kBlockSize).MapAndUnmap();
}

}  // namespace

void RegisterAllocBench() {
    RegisterStore("empty-store", 0, 0);
    RegisterStore("after-1000-full-objects", 1000, kObjectSize);
    RegisterStore("beside-16000-blocks", 15999, kBlockSize);
    Register("alloc/malloc", Malloc);
    Register("alloc/boost-heap", BoostHeap);
    Register("alloc/boost-mapped-file", BoostFile);
    Register("alloc/posix-file", Posix);
    CompareCost("alloc/after-1000-full-objects", "alloc/empty-store", 2);
    CompareCost("alloc/beside-16000-blocks", "alloc/empty-store", 2);
    for (const char* peer : {"alloc/malloc", "alloc/boost-heap", "alloc/boost-mapped-file", "alloc/posix-file"}) {
        CompareCost("alloc/empty-store", peer);
    }
}
