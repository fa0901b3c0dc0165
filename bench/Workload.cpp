#include "Workload.h"

#include <sys/mman.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <system_error>

#include "mmf/Mmf.h"

namespace fs = std::filesystem;

namespace {

struct Folder : private boost::noncopyable {
    Folder() {
        std::string name = fs::temp_directory_path() / "kxmmf-bench-XXXXXX";
        Require(::mkdtemp(name.data()) != nullptr, "no folder to work in");
        path = name;
    }
    ~Folder() {
        std::error_code ignored;  // at exit nobody is left to tell
        fs::remove_all(path, ignored);
    }

    fs::path path;
};

}  // namespace

void Require(bool isTrue, const char* otherwise) {
    if (!isTrue) throw std::runtime_error(otherwise);
}

const fs::path& WorkFolder() {
    static const Folder folder;
    return folder.path;
}

std::wstring StoreFolder(const std::string& name) {
    return (WorkFolder() / name).wstring() + L'/';
}

void UseStoreFolder(int store, const std::wstring& folder) {
    Require(KX::CMmf::SetDirectory(store, L"KX__", folder.c_str(), 0), "a store refused its folder");
}

CBlock::CBlock(std::uint64_t size) {
    Require(KX::CMmf::MemAlloc(size, handle, false, nullptr), "no block");
}

CBlock::~CBlock() {
    KX::CMmf::MemFree(handle);
}

CPeerFile::CPeerFile(std::uint64_t size)
    : path(WorkFolder() / "peer-XXXXXX"), size(size), descriptor(::mkstemp(path.data())) {
    Require(descriptor != -1 && ::ftruncate(descriptor, static_cast<off_t>(size)) == 0, "no file for the peer");
}

CPeerFile::~CPeerFile() {
    ::unlink(path.c_str());
    ::close(descriptor);
}

void CPeerFile::MapAndUnmap() const {
    void* const address = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    Require(address != MAP_FAILED && ::munmap(address, size) == 0, "mmap failed");
}
