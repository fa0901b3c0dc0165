// Keeps a block beyond the end of its process.
//
//   reopen save FOLDER            stores a block in the folder, which is empty or made, and prints its handle
//   reopen load FOLDER HANDLE     in another process: finds the block again, prints its first byte and deletes all
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "mmf/IndependentMmf.h"

namespace {

constexpr unsigned long kSize = 100'000'000;  // above 64 MiB: a smaller block would not survive
constexpr unsigned int kWindow = 16U << 20;

using Store = KX::CPointer<KX::CIndependentMmf>;  // counted: the last one that goes deletes the store and its files

// The folder with a separator at its end, without which its header file would lie beside it and not in it. Empty: the
// locale cannot read it.
std::wstring FolderOf(const char* text) {
    std::wstring folder(std::strlen(text) + 1, L'\0');
    const std::size_t length = std::mbstowcs(folder.data(), text, folder.size());
    if (length == static_cast<std::size_t>(-1) || length == 0) return {};
    folder.resize(length);
    if (!folder.ends_with(L'/')) folder += L'/';
    return folder;
}

// The folder ends with a separator; its parent must exist. Null: the store cannot be made.
Store OpenStore(const std::wstring& folder) {
    Store store = new KX::CIndependentMmf;
    if (KX::Failed(store->Initialize())) return nullptr;
    if (store->SetDirectory(L"map_", folder.c_str(), 0)) return nullptr;  // here true means refused
    return store;
}

bool WriteByte(const Store& store, unsigned int block) {
    KX::CIndependentSmartMap view(block, kWindow, store.Get());
    unsigned char* const window = view.GetMapAddress(nullptr, 0);
    if (window == nullptr) return false;
    window[0] = 42;
    return true;
}

// Whether nothing is in the folder that a save would overwrite.
bool IsFree(const char* folder) {
    std::error_code failure;
    return !std::filesystem::exists(folder, failure) || std::filesystem::is_empty(folder, failure);
}

int Fail(const char* message) {
    std::fprintf(stderr, "reopen: %s\n", message);
    return 1;
}

// Ends the program before the store does, which would delete its files.
[[noreturn]] void EndAndKeep(int status) {
    ::_exit(status);
}

int Save(const std::wstring& folder) {
    const Store store = OpenStore(folder);
    unsigned int block = 0;
    if (!store || !store->MemAlloc(kSize, block) || !WriteByte(store, block)) return Fail("the block cannot be stored");
    if (KX::Failed(store->SaveHeaderFile())) return Fail("the header file cannot be written");
    std::printf("%u\n", block);  // the header file holds no handles: keep them yourself
    if (std::fflush(stdout) != 0) return Fail("the handle cannot be printed");
    EndAndKeep(0);
}

int Load(const std::wstring& folder, unsigned int block) {
    const Store store = OpenStore(folder);
    if (!store) return Fail("the store cannot be made");
    if (KX::Failed(store->LoadHeaderFile())) EndAndKeep(Fail("the header file cannot be loaded"));
    if (store->GetSize(block) != kSize) EndAndKeep(Fail("there is no such block"));
    KX::CIndependentSmartMap view(block, kWindow, store.Get());
    const unsigned char* const window = view.GetMapAddress(nullptr, 0);
    if (window == nullptr) EndAndKeep(Fail("the block cannot be mapped"));
    std::printf("the first byte is %d\n", window[0]);
    return 0;  // the view goes, then the store, and the files with it
}

}  // namespace

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "");  // for a folder that is not plain ASCII
    const std::string_view task = argc > 2 ? argv[1] : "";
    const std::wstring folder = argc > 2 ? FolderOf(argv[2]) : L"";
    if (task == "save" && !folder.empty()) return IsFree(argv[2]) ? Save(folder) : Fail("the folder is not empty");
    if (task == "load" && !folder.empty() && argc > 3) {
        return Load(folder, static_cast<unsigned int>(std::strtoul(argv[3], nullptr, 10)));
    }
    std::fputs("usage: reopen save FOLDER | reopen load FOLDER HANDLE\n", stderr);
    return 2;
}
