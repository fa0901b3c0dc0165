#include "fuzz/Target.h"
#include "support/TextLocale.h"

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    UseTextLocaleOfTheBuild();
    return 0;
}
