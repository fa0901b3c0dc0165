// Reaches the stores through another file only: none of their headers is included here.
#include "mmf/StaticOrder.h"

static const CEarlyUser early;

// The block was taken before main and is given back after it; the other one goes with the stores.
int main() {
    return HoldsItsBlock(early) && LeaveALargeBlock() ? 0 : 1;
}
