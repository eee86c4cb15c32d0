#include "scaffold/shell.h"

#include <gtest/gtest.h>

#include <vector>

#include "scaffold/closed_surface.h"
#include "scaffold/raft.h"

namespace stiltforge::scaffold {
namespace {

using slicing::Triangle;

// A polygon of 16 sides is so much of its circle.
constexpr double shareOfCircle = 3.0614674589 / 3.1415926536;

TEST(Shell, IsClosedAndHasTheVolumeOfItsCones) {
  std::vector<Triangle> shell;
  appendShell({{{0, 0, 0}, 2}, {{0, 0, 1}, 2}, {{3, 0, 4}, 1}, {{3, 0, 5}, 1}}, shell);
  EXPECT_TRUE(isClosed(shell));
  const double pi = 3.1415926536;
  const double expected = pi * 4 + pi * 3 * (4 + 2 + 1) / 3 + pi;
  EXPECT_NEAR(volumeOf(shell), shareOfCircle * expected, 1e-4);
}

TEST(Shell, StaysClosedFarFromTheOriginAndWithRingsOnEachOther) {
  std::vector<Triangle> shell;
  appendShell({{{16000, -16000, 100}, 0.2},
               {{16000, -16000, 100}, 0.2},
               {{16000, -16000, 100.0000001}, 0.2},
               {{16000.5, -16000, 101}, 0.5}},
              shell);
  EXPECT_TRUE(isClosed(shell));
  EXPECT_GT(volumeOf(shell), 0);
}

TEST(Shell, OfOneHeightIsNone) {
  std::vector<Triangle> shell;
  appendShell({{{0, 0, 1}, 2}, {{0, 0, 1}, 3}}, shell);
  EXPECT_TRUE(shell.empty());
}

TEST(Raft, IsAClosedPlateWithSidesThatLeanOutwards) {
  std::vector<Triangle> raft;
  appendRaft({{0, 0, 9}, {10, 0, 9}, {10, 10, 9}, {0, 10, 9}, {5, 5, 9}, {5, 0, 9}}, 1, 2, 3, raft);
  EXPECT_TRUE(isClosed(raft));
  // The square with a seam of 1 mm below and 2 mm above; in between one of 1.5 mm.
  EXPECT_NEAR(volumeOf(raft), 100 + 4 * 10 * 1.5 + 3.0614674589 * 7 / 3, 1e-3);
  slicing::Bounds bounds{raft[0][0], raft[0][0]};
  for (const Triangle& triangle : raft) bounds.extend(triangle);
  EXPECT_EQ(bounds.min.x, -2);
  EXPECT_EQ(bounds.max.y, 12);
  EXPECT_EQ(bounds.min.z, 2);
  EXPECT_EQ(bounds.max.z, 3);
}

TEST(Raft, UnderOneFootIsRound) {
  std::vector<Triangle> raft;
  appendRaft({{0, 0, 0}, {0, 0, 0}}, 1, 0, 1, raft);
  EXPECT_TRUE(isClosed(raft));
}

TEST(Raft, WithoutFeetIsNone) {
  std::vector<Triangle> raft;
  appendRaft({}, 1, 0, 1, raft);
  EXPECT_TRUE(raft.empty());
}

}  // namespace
}  // namespace stiltforge::scaffold
