#include <gtest/gtest.h>

#include "support/TextLocale.h"

int main(int argc, char** argv) {
    UseTextLocaleOfTheBuild();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
