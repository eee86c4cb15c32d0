#include "runtime/float_conversion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace stiltforge {
namespace {

constexpr int32_t lowest = std::numeric_limits<int32_t>::min();
constexpr uint32_t topBit = 0x80000000;

TEST(FloatConversion, TruncatesTowardsZero) {
  EXPECT_EQ(toInt32(2.9), 2);
  EXPECT_EQ(toInt32(-2.9), -2);
  EXPECT_EQ(toInt32(200.9), 200);
  EXPECT_EQ(toUint32(2.9), 2u);
  EXPECT_EQ(toUint16(65535.9), 65535);
}

TEST(FloatConversion, ReachesBothEndsOfTheRange) {
  EXPECT_EQ(toInt32(2147483647.0), 2147483647);
  EXPECT_EQ(toInt32(2147483647.9), 2147483647);
  EXPECT_EQ(toInt32(-2147483648.0), lowest);
  EXPECT_EQ(toInt32(-2147483648.9), lowest);
  EXPECT_EQ(toUint32(4294967295.9), 4294967295u);
}

TEST(FloatConversion, AnswersWhatDoesNotFitAsTheProcessorDoes) {
  for (const double value :
       {2147483648.0, -2147483649.0, 1e300, -1e300, std::nan(""), HUGE_VAL, -HUGE_VAL}) {
    EXPECT_EQ(toInt32(value), lowest) << value;
  }
  for (const double value : {0x1p63, -0x1p63, 1e300, -1e300, std::nan(""), HUGE_VAL, -HUGE_VAL}) {
    EXPECT_EQ(toUint32(value), 0u) << value;
  }
}

TEST(FloatConversion, WrapsInUnsignedTargets) {
  EXPECT_EQ(toUint32(4294967296.0), 0u);
  EXPECT_EQ(toUint32(5e9), 705032704u);
  EXPECT_EQ(toUint32(-3e9), 1294967296u);
  EXPECT_EQ(toUint32(-1.5), 0xFFFFFFFFu);
  EXPECT_EQ(toUint32(-2147483648.0), topBit);
  EXPECT_EQ(toUint16(-1.0), 65535);
  EXPECT_EQ(toUint16(-0.9), 0);
}

TEST(FloatConversion, KeepsTheLowSixteenBits) {
  EXPECT_EQ(toUint16(65536.0), 0);
  EXPECT_EQ(toUint16(70000.0), 4464);
  EXPECT_EQ(toUint16(std::nan("")), 0);
  EXPECT_EQ(toUint16(1e20), 0);
}

}  // namespace
}  // namespace stiltforge
