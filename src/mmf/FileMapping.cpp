#include "mmf/FileMapping.h"

#include <sys/mman.h>
#include <sys/types.h>

#include <cerrno>

namespace {

unsigned char* MapWith(int protection, int descriptor, unsigned long length, unsigned long offset) {
    void* const address = ::mmap(nullptr, length, protection, MAP_SHARED, descriptor, static_cast<off_t>(offset));
    return static_cast<unsigned char*>(address);
}

// Linux fills the cache for an executable mapping page by page, which makes each later walk through the file
// several times slower; the advice has it filled in long runs, as for any other mapping.
unsigned char* AdviseLongRuns(unsigned char* address, unsigned long length) {
    if (address != MAP_FAILED) (void)::madvise(address, length, MADV_SEQUENTIAL);
    return address;
}

bool IsRefusal(int error) {
    return error == EACCES || error == EPERM;
}

}  // namespace

unsigned char* MapFile(int descriptor, unsigned long length, unsigned long offset) {
    unsigned char* const address = MapWith(PROT_READ | PROT_WRITE | PROT_EXEC, descriptor, length, offset);
    if (address != MAP_FAILED || !IsRefusal(errno)) return AdviseLongRuns(address, length);
    return MapWith(PROT_READ | PROT_WRITE, descriptor, length, offset);
}

void UnmapFile(void* address, unsigned long length) {
    if (address != nullptr && address != MAP_FAILED) ::munmap(address, length);
}
