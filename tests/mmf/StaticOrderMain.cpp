#include "mmf/Mmf.h"
#include "mmf/StaticOrder.h"

static const CEarlyUser alsoEarly;

// Both blocks were taken before main and are still held.
int main() {
    return KX::CMmf::GetSize(alsoEarly.handle) == 65536 ? 0 : 1;
}
