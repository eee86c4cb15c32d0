#include "reference/conversions.h"

#include <gtest/gtest.h>

#include <cmath>

namespace stiltforge::reference {
namespace {

constexpr int32_t lowest = std::numeric_limits<int32_t>::min();

TEST(Conversions, TruncateTowardsZero) {
  EXPECT_EQ(toInt32(2.9f), 2);
  EXPECT_EQ(toInt32(-2.9f), -2);
  EXPECT_EQ(toUint32(2.9f), 2u);
  EXPECT_EQ(toUint32(4294967040.0f), 4294967040u);
}

TEST(Conversions, WrapInUnsignedTargets) {
  EXPECT_EQ(toUint32(-1.5f), 0xFFFFFFFFu);
  EXPECT_EQ(toUint32(4294967296.0f), 0u);
  EXPECT_EQ(toUint32(5e9f), 705032704u);
  EXPECT_EQ(toUint32(-2147483648.0f), 0x80000000u);
}

TEST(Conversions, AnswerWhatDoesNotFitAsTheProcessorDoes) {
  for (const float value : {2147483648.0f, -2147483904.0f, INFINITY, -INFINITY, NAN}) {
    EXPECT_EQ(toInt32(value), lowest) << value;
  }
  for (const float value : {9.3e18f, -9.3e18f, INFINITY, -INFINITY, NAN}) {
    EXPECT_EQ(toUint32(value), 0u) << value;
  }
  EXPECT_EQ(toInt32(-2147483648.0f), lowest);
}

}  // namespace
}  // namespace stiltforge::reference
