#include "Signals.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>

namespace KxStore {
namespace {

volatile std::sig_atomic_t stopSignal = 0;
char busMessage[8192];  // written ahead of time: a signal handler may not format anything

extern "C" void NoteStop(int number) {
    stopSignal = number;
}

// A page of a backing file is gone: nothing that the interrupted code does next could be trusted.
extern "C" void EndOnBusError(int /*number*/) {
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, busMessage, std::strlen(busMessage));
    ::_exit(1);
}

// No SA_RESTART, so that a slow read is interrupted and the stop is noticed.
void Handle(int number, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    ::sigaction(number, &action, nullptr);
}

}  // namespace

void InstallSignalHandlers() {
    Handle(SIGINT, NoteStop);
    Handle(SIGTERM, NoteStop);
    if (std::signal(SIGHUP, SIG_IGN) != SIG_IGN) Handle(SIGHUP, NoteStop);  // nohup means to outlive the terminal
    Handle(SIGBUS, EndOnBusError);
    Handle(SIGPIPE, SIG_IGN);
    Handle(SIGXFSZ, SIG_IGN);
}

void ThrowIfStopped() {
    if (stopSignal != 0) throw Stopped{stopSignal};
}

void SetFolderAtRisk(const std::string& folder) {
    std::snprintf(busMessage, sizeof busMessage,
                  "\nkxstore: a page of a backing file is gone (is the disk full?); the files stay behind in %s\n",
                  folder.c_str());
}

}  // namespace KxStore
