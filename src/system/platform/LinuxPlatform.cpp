#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "system/platform/Platform.h"

namespace KX::Platform {

std::string HomeFolder() {
    std::string buffer(1024, '\0');
    passwd entry{};
    passwd* found = nullptr;
    while (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE) {
        buffer.resize(buffer.size() * 2);
    }
    return found == nullptr || found->pw_dir == nullptr ? std::string() : std::string(found->pw_dir);
}

}  // namespace KX::Platform
