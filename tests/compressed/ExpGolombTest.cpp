#include "compressed/ExpGolomb.h"

#include <gtest/gtest.h>

namespace tessaro {
namespace {

struct UeCase {
    uint8_t bytes[4];
    uint32_t value;
};

class DecodeUe : public ::testing::TestWithParam<UeCase> {};

TEST_P(DecodeUe, DecodesWithinTheFourBytes) {
    EXPECT_EQ(DecodeUeFromFourBytes(GetParam().bytes), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    Codes, DecodeUe,
    ::testing::Values(UeCase{{0x80, 0, 0, 0}, 0},           // 1
                      UeCase{{0x40, 0, 0, 0}, 1},           // 010
                      UeCase{{0x60, 0, 0, 0}, 2},           // 011
                      UeCase{{0x16, 0, 0, 0}, 10},          // 0001011
                      // 15 zeros, one, 15 suffix bits: the code fills the window
                      UeCase{{0x00, 0x01, 0x80, 0x00}, 0x7FFF + 0x4000},
                      UeCase{{0x00, 0x01, 0xFF, 0xFF}, 0x7FFF + 0x7FFF},
                      // 16 zeros: the last suffix bit lies past the window and reads as 0
                      UeCase{{0x00, 0x00, 0xFF, 0xFF}, 0xFFFF + 0xFFFE},
                      // 31 zeros and the one bit as the very last bit
                      UeCase{{0x00, 0x00, 0x00, 0x01}, 0x7FFFFFFF},
                      // no one bit at all
                      UeCase{{0x00, 0x00, 0x00, 0x00}, 0}));

}  // namespace
}  // namespace tessaro
