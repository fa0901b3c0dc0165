// Header files of any bytes are loaded into a private store, and what they tell of is used. Input: a number of steps,
// a byte for each of them, then the header file.
#include <sys/mman.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "fuzz/Target.h"
#include "mmf/IndependentMmf.h"

namespace fs = std::filesystem;

static void Step(KX::CIndependentMmf& store, unsigned int input) {
    unsigned int step = input % 6, handle = (input / 6 % 3 + 1) << 16 | (input / 18 % 8 + 1);
    const unsigned long size = store.GetSize(handle), last = step == 0 ? 0 : size / 4096 * 4096;
    void* address = nullptr;
    if (step == 0) address = store.Map(handle);
    if (step == 1) address = store.MapWindow(handle, last, size - last);
    if (address != nullptr && address != MAP_FAILED && size > last) {  // read, as written pages would take room on disk
        (void)*(static_cast<const volatile char*>(address) + (size - last - 1));
    }
    if (step == 2) (void)store.MemFree(handle);
    // Below 4 GiB: larger blocks are known to reach beyond their files, and to end who touches them there.
    if (step == 3) (void)store.MemAlloc(size / 2 * 3 % 0x80000000 + 1, handle);
    if (step == 4) (void)store.SaveHeaderFile();
    if (step == 5) (void)store.LoadHeaderFile();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::uint8_t* const header = data + (size > 16 ? 1 + data[0] % 16 : 0);
    std::string folder = (fs::temp_directory_path() / "header-XXXXXX").string();
    std::ofstream(::mkdtemp(folder.data()) + std::string("/KX_.mmfheader")) << std::string(header, data + size);
    {
        KX::CIndependentMmf store;
        const std::wstring directory = fs::path(folder + "/").wstring();
        Check(store.Initialize() == 0 && !store.SetDirectory(L"KX__", directory.c_str(), 0), "there is a store");
        (void)store.LoadHeaderFile();
        for (const std::uint8_t* step = data + 1; step < header; ++step) Step(store, *step);
    }
    Check(fs::is_empty(folder), "the store leaves nothing behind");
    fs::remove_all(folder);
    return 0;
}
