#include "mesh/number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace stiltforge::mesh {
namespace {

TEST(Number, IsTheNearestFloat) {
  EXPECT_EQ(toFloat("0.1"), 0.1f);
  EXPECT_EQ(toFloat("-12.5e-1"), -1.25f);
  EXPECT_EQ(toFloat("+7."), 7.0f);
  EXPECT_EQ(toFloat(".5"), 0.5f);
  EXPECT_EQ(toFloat("1E3"), 1000.0f);
  // Halfway between two floats, and just above: the second rounding of a double would lose it.
  EXPECT_EQ(toFloat("1.000000059604644775390625"), 1.0f);
  EXPECT_EQ(toFloat("1.00000005960464477539062500001"), std::nextafter(1.0f, 2.0f));
}

TEST(Number, BeyondTheRangeIsInfinityOrZero) {
  EXPECT_EQ(toFloat("1e39"), std::numeric_limits<float>::infinity());
  EXPECT_EQ(toFloat("-1e39"), -std::numeric_limits<float>::infinity());
  EXPECT_EQ(toFloat("1e-60"), 0.0f);
  EXPECT_TRUE(std::isnan(toFloat("nan").value_or(0)));
}

TEST(Number, IsTheWholeTextOrNone) {
  for (const char* text :
       {"", "+", "-", ".", "1,5", "1.5f", "0x10", "1e", "+-1", "1 ", "1.#QNAN"}) {
    EXPECT_EQ(toFloat(text), std::nullopt) << text;
  }
  for (const char* text : {"", "-", "1.0", "1e3", "99999999999999999999", "7/1"}) {
    EXPECT_EQ(toInteger(text), std::nullopt) << text;
  }
  EXPECT_EQ(toInteger("+12"), 12);
  EXPECT_EQ(toInteger("-3"), -3);
}

}  // namespace
}  // namespace stiltforge::mesh
