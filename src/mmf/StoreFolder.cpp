#include "mmf/StoreFolder.h"

#include <dirent.h>

#include <cstdlib>
#include <memory>

#include "system/NarrowPath.h"

namespace {

struct CFree {
    void operator()(void* memory) const { std::free(memory); }
};

}  // namespace

std::vector<std::string> ListStoreFolder(const std::wstring& folder) {
    dirent** listed = nullptr;
    const int count = ::scandir(KX::NarrowPath(folder).c_str(), &listed, nullptr, ::alphasort);
    if (count < 0) return {};

    const std::unique_ptr<dirent*[], CFree> entries(listed);
    std::vector<std::unique_ptr<dirent, CFree>> owned(entries.get(), entries.get() + count);
    std::vector<std::string> names;
    names.reserve(owned.size());
    for (const auto& entry : owned) names.emplace_back(entry->d_name);
    return names;
}

bool IsBackingFileName(const std::string& name) {
    const auto dot = name.rfind('.');
    return dot != std::string::npos && name.substr(dot) == "tmp";
}
