#include "system/File.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace KX {

CFile OpenForReading(const std::string& narrowPath) {
    int descriptor = ::open(narrowPath.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    // Another process holds a lease on the file, which this makes it give up.
    if (descriptor == -1 && errno == EWOULDBLOCK) descriptor = ::open(narrowPath.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor == -1) return nullptr;

    (void)::fcntl(descriptor, F_SETFL, 0);  // reading waits, for a writer that is there
    CFile file(::fdopen(descriptor, "rb"));
    if (file == nullptr) ::close(descriptor);
    return file;
}

}  // namespace KX
