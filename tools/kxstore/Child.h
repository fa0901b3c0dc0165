#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>

#include "Progress.h"

namespace KxStore {

// The end of the pipe at which a child tells its parent.
class CTeller {
public:
    explicit CTeller(int descriptor) : descriptor(descriptor) {}

    // Throws std::runtime_error where the parent has gone: a child that tells now and then does not outlive it long.
    void Tell(std::uint64_t word) const;

private:
    int descriptor;
};

// A process of its own that does some work, tells numbers meanwhile, and ends with status 0, or with a message and
// status 1 where the work throws. It is forked without starting a program: there are no other threads to lose, and it
// takes nothing along of stores that this process does not have. What it prints to standard output is lost.
class CChild {
public:
    using Work = std::function<void(const CTeller&)>;

    // Throws std::system_error.
    CChild(const Work& work, CProgress& progress);
    // Kills the process if it is there.
    ~CChild();

    CChild(const CChild&) = delete;
    CChild& operator=(const CChild&) = delete;

    // The next number. False: the process has ended and all it told is heard. Throws Stopped, and std::system_error.
    bool Hear(std::uint64_t& word) const;

    // By SIGKILL. What was told before can still be heard.
    void Kill() const;

    // Waits for the end and gives what waitpid says. To be called once.
    int Wait();

private:
    int hearing = -1;
    pid_t process = -1;
};

// How a process ended, by what waitpid said.
std::string EndOf(int status);

}  // namespace KxStore
