#include "support/TextLocale.h"

#include <cstdlib>

// The C library loses a few bytes with each newlocale while LOCPATH is set.
extern "C" const char* __lsan_default_suppressions() {  // the sanitizer's name
    return "leak:argz_add_sep";
}

void UseTextLocaleOfTheBuild() {
    ::setenv("LOCPATH", KXMMF_LOCALE_FOLDER, 1);
}
