#include "reference/ghost_spread.h"

#include <gtest/gtest.h>

#include <cmath>

namespace stiltforge::reference {
namespace {

TEST(GhostSpread, FallsLinearlyFromItsCentre) {
  const GhostSpread spread = createGhostSpread(60.0f);
  const auto at = [&](size_t row, size_t column) { return spread.weights[row * 120 + column]; };
  EXPECT_EQ(spread.side, 120u);
  EXPECT_EQ(spread.weights.size(), 14400u);
  EXPECT_EQ(at(60, 60), 255.0f);
  EXPECT_EQ(at(60, 90), 127.5f);
  EXPECT_EQ(at(60, 0), 0.0f);
  EXPECT_EQ(at(0, 0), 0.0f);
  EXPECT_EQ(at(60, 119), 4.25f);
}

TEST(GhostSpread, StampsReadTheTableAsStoredForAWholeDiameter) {
  for (const float radius : {1.0f, 7.5f, 60.0f}) {
    const GhostSpread spread = createGhostSpread(radius);
    for (uint32_t i = 0; i < spread.side; ++i) {
      for (uint32_t j = 0; j < spread.side; ++j) {
        ASSERT_EQ(spread.weight(i, j), spread.weights[i * spread.side + j]);
      }
    }
  }
}

TEST(GhostSpread, IsAFullSquareForAFractionalDiameter) {
  const GhostSpread spread = createGhostSpread(1.3f);
  EXPECT_EQ(spread.side, 3u);
  EXPECT_EQ(spread.weights.size(), 9u);
  EXPECT_EQ(spread.weight(2, 2), spread.weights[7]) << "trunc(2 + 2 (2 * 1.3))";
}

TEST(GhostSpread, IsEmptyWithoutARadius) {
  for (const float radius : {0.0f, -4.0f, std::nanf("")}) {
    EXPECT_EQ(createGhostSpread(radius).side, 0u);
    EXPECT_TRUE(createGhostSpread(radius).weights.empty());
  }
}

}  // namespace
}  // namespace stiltforge::reference
