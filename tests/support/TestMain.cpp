// Entry point of every test program: quiet logs unless TESSARO_TEST_LOG is set.
#include <gtest/gtest.h>

#include "support/LogCapture.h"

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    tessaro::test::InstallDefaultTestLogger();
    return RUN_ALL_TESTS();
}
