#include "Child.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>

#include "Signals.h"

namespace KxStore {
namespace {

[[noreturn]] void ThrowErrno(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// Never returns into the parent's frames, whose destructors remove what is the parent's.
[[noreturn]] void RunChild(const CChild::Work& work, int telling, CProgress& progress) noexcept {
    std::signal(SIGBUS, SIG_DFL);  // the parent tells, and no file stays behind
    ::dup2(::open("/dev/null", O_WRONLY), STDOUT_FILENO);
    try {
        work(CTeller(telling));
        ::_exit(0);
    } catch (const std::exception& error) {
        progress.Message(error.what());
        ::_exit(1);
    }
}

}  // namespace

// So few bytes go into a pipe all or none.
void CTeller::Tell(std::uint64_t word) const {
    while (::write(descriptor, &word, sizeof word) == -1) {
        if (errno != EINTR) throw std::runtime_error("a process is left alone by the one that started it");
    }
}

CChild::CChild(const Work& work, CProgress& progress) {
    int ends[2];
    if (::pipe(ends) != 0) ThrowErrno("no pipe to another process");
    process = ::fork();
    if (process == 0) {
        ::close(ends[0]);
        RunChild(work, ends[1], progress);
    }
    const int error = errno;
    ::close(ends[1]);
    hearing = ends[0];
    if (process != -1) return;
    ::close(hearing);
    throw std::system_error(error, std::generic_category(), "no other process");
}

CChild::~CChild() {
    ::close(hearing);
    if (process == -1) return;
    Kill();
    Wait();
}

bool CChild::Hear(std::uint64_t& word) const {
    for (;;) {
        ThrowIfStopped();
        const ssize_t count = ::read(hearing, &word, sizeof word);
        if (count >= 0) return count == sizeof word;
        if (errno != EINTR) ThrowErrno("nothing can be heard from another process");
    }
}

void CChild::Kill() const {
    ::kill(process, SIGKILL);
}

int CChild::Wait() {
    int status = 0;
    while (::waitpid(process, &status, 0) == -1 && errno == EINTR) continue;
    process = -1;
    return status;
}

std::string EndOf(int status) {
    if (WIFSIGNALED(status)) return fmt::format("signal {}", WTERMSIG(status));
    return fmt::format("status {}", WEXITSTATUS(status));
}

}  // namespace KxStore
