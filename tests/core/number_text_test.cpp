#include "runtime/number_text.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace stiltforge {
namespace {

TEST(NumberText, HasNoTrailingZeros) {
  EXPECT_EQ(numberText(-1), "-1");
  EXPECT_EQ(numberText(0.05), "0.05");
  EXPECT_EQ(numberText(2.5), "2.5");
  EXPECT_EQ(numberText(-0.0), "0");
}

TEST(NumberText, HasSixDigitsAtMost) {
  EXPECT_EQ(numberText(0.1 + 0.2), "0.3");
  EXPECT_EQ(numberText(static_cast<double>(0.05F)), "0.05");
  EXPECT_EQ(numberText(1234.56789), "1234.57");
}

TEST(NumberText, KeepsAllDigitsOfWholeNumbers) {
  EXPECT_EQ(numberText(4294967296), "4294967296");
  EXPECT_EQ(numberText(-12345678), "-12345678");
  EXPECT_EQ(numberText(1e300), "1e+300");
}

TEST(NumberText, TellsWhatIsNoNumber) {
  EXPECT_EQ(numberText(std::numeric_limits<double>::quiet_NaN()), "nan");
  EXPECT_EQ(numberText(-std::numeric_limits<double>::infinity()), "-inf");
}

}  // namespace
}  // namespace stiltforge
