#include "support/TempFolder.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>

namespace fs = std::filesystem;

TempFolderTest::TempFolderTest() : folderBefore(fs::current_path()) {
    if (const char* const tmpdir = std::getenv("TMPDIR")) tmpdirBefore = tmpdir;
    std::string name = (fs::temp_directory_path() / "kxmmf-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw fs::filesystem_error("mkdtemp", name, {});
    folder = name;
    fs::current_path(folder);
    ::setenv("TMPDIR", folder.c_str(), 1);
}

TempFolderTest::~TempFolderTest() {
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        EXPECT_NE(entry.path().extension(), ".tmp") << "a backing file survived: " << entry.path();
    }
    fs::current_path(folderBefore);
    fs::remove_all(folder);
    tmpdirBefore.empty() ? ::unsetenv("TMPDIR") : ::setenv("TMPDIR", tmpdirBefore.c_str(), 1);
}

std::wstring TempFolderTest::StoreFolder(const std::wstring& name) const {
    return (folder / name).wstring() + L"/";
}

std::vector<std::string> NamesIn(const fs::path& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
}

std::string BytesOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string Pattern(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i % 251);
    return bytes;
}

CMount::CMount(const fs::path& folder, const char* options) : folder(folder.string()) {
    fs::create_directories(folder);
    const std::string command =
        "mount -t tmpfs -o " + std::string(options) + " kxmmf-test '" + this->folder + "' 2>/dev/null";
    isMounted = std::system(command.c_str()) == 0;
}

CMount::~CMount() {
    if (!isMounted) return;
    const int status = std::system(("umount '" + folder + "'").c_str());
    EXPECT_EQ(status, 0);
}

bool IsMapped(const unsigned char* address) {
    const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    const auto start = reinterpret_cast<std::uintptr_t>(address) / page * page;
    return ::msync(reinterpret_cast<void*>(start), 1, MS_ASYNC) == 0;  // NOLINT(performance-no-int-to-ptr)
}
