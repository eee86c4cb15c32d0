#include "print/turn.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace stiltforge {
namespace {

using slicing::Vector;

const std::vector<float> corners{1, 2, 3, 0, -1, 0, 0.5, 0.25, -4};

void expectNear(const Vector& a, const Vector& b) {
  EXPECT_NEAR(a.x, b.x, 1e-12);
  EXPECT_NEAR(a.y, b.y, 1e-12);
  EXPECT_NEAR(a.z, b.z, 1e-12);
}

TEST(Turn, IsCounterClockwiseAboutEachAxis) {
  expectNear(Rotation({30, 0, 0}).apply({0, 1, 0}), {0, std::sqrt(0.75), 0.5});
  expectNear(Rotation({0, 30, 0}).apply({0, 0, 1}), {0.5, 0, std::sqrt(0.75)});
  expectNear(Rotation({0, 0, 30}).apply({1, 0, 0}), {std::sqrt(0.75), 0.5, 0});
}

TEST(Turn, TurnsAboutXThenYThenZ) {
  expectNear(Rotation({90, 90, 0}).apply({0, 1, 0}), {1, 0, 0});
  expectNear(Rotation({0, 90, 90}).apply({0, 0, 1}), {0, 1, 0});
}

TEST(Turn, LeavesWhatIsNotTurned) {
  EXPECT_EQ(turned(corners, {}), corners);
  EXPECT_EQ(turned(corners, {360, -720, 0}), corners);
}

TEST(Turn, IsExactInQuarterTurns) {
  EXPECT_EQ(turned(corners, {90, 0, 0}), (std::vector<float>{1, -3, 2, 0, 0, -1, 0.5, 4, 0.25}));
  EXPECT_EQ(turned(corners, {0, 0, 180}),
            (std::vector<float>{-1, -2, 3, 0, 1, 0, -0.5, -0.25, -4}));
  EXPECT_EQ(turned(turned(corners, {0, 270, 0}), {0, -270, 0}), corners);
}

TEST(Turn, PutsADirectionOnThePlate) {
  for (const Vector& direction : {Vector{0, 0, -1}, Vector{0, 0, 1}, Vector{1, 0, 0},
                                  Vector{0, -1, 0}, Vector{3, -4, 5}, Vector{-1, 2, -0.1}}) {
    const Vector down = Rotation(turnToPlate(direction)).down();
    const double length = std::sqrt(dot(direction, direction));
    EXPECT_NEAR(dot(down, direction) / length, 1, 1e-9);
  }
}

TEST(Turn, IsNoTurnForWhatPointsToThePlate) {
  EXPECT_EQ(turnToPlate({0, 0, -2}), (Turn{0, 0, 0}));
}

TEST(Turn, IsGivenToAThousandthOfADegree) {
  const Turn turn = turnToPlate({0.3, 0.5, -0.7});
  EXPECT_EQ(turn.x, -35.538);
  EXPECT_EQ(turn.y, 19.226);
}

}  // namespace
}  // namespace stiltforge
