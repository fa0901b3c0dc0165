#include <gtest/gtest.h>

#include <cstdlib>

// The C library loses a few bytes with each newlocale while LOCPATH is set.
extern "C" const char* __lsan_default_suppressions() {  // NOLINT: the sanitizer's name
    return "leak:argz_add_sep";
}

int main(int argc, char** argv) {
    ::setenv("LOCPATH", KXMMF_LOCALE_FOLDER, 1);  // where the build has compiled the text locale to
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
