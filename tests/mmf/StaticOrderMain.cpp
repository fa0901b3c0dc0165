// Reaches the stores through another file only: none of their headers is included here.
#include "mmf/StaticOrder.h"

#include <sys/wait.h>
#include <unistd.h>

static const CEarlyUser early;

// The block was taken before main and is given back after it; the other one goes with the stores, though not with those
// of a child.
int main() {
    if (!HoldsItsBlock(early) || !LeaveALargeBlock()) return 1;

    const pid_t child = ::fork();
    if (child == 0) return 0;
    int status = 1;
    return ::waitpid(child, &status, 0) == child && status == 0 && HasBackingFile() ? 0 : 1;
}
