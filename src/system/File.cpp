#include "system/File.h"

#include <fcntl.h>
#include <unistd.h>

namespace KX {

CFile OpenForReading(const std::string& narrowPath) {
    const int descriptor = ::open(narrowPath.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor == -1) return nullptr;

    CFile file(::fdopen(descriptor, "rb"));
    if (file == nullptr) ::close(descriptor);
    return file;
}

}  // namespace KX
