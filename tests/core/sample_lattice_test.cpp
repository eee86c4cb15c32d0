#include "support/sample_lattice.h"

#include <gtest/gtest.h>

#include <vector>

namespace stiltforge {
namespace {

// Columns below 12 that the lattice holds in a row.
std::vector<uint32_t> columnsOf(SampleLattice lattice, uint32_t dy) {
  std::vector<uint32_t> columns;
  if (!lattice.holdsRow(dy)) return columns;
  for (uint32_t dx = 0; dx < 12; ++dx) {
    if (lattice.holds(dx, dy)) columns.push_back(dx);
  }
  return columns;
}

using Columns = std::vector<uint32_t>;

TEST(SampleLatticeTest, OfStepsOfOneHoldsEveryPixel) {
  for (uint32_t dy = 0; dy < 4; ++dy) {
    EXPECT_EQ(columnsOf({1, 1}, dy), (Columns{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
  }
}

TEST(SampleLatticeTest, ShiftsOddLatticeRowsByHalfAStep) {
  EXPECT_EQ(columnsOf({2, 1}, 0), (Columns{0, 2, 4, 6, 8, 10}));
  EXPECT_EQ(columnsOf({2, 1}, 1), (Columns{1, 3, 5, 7, 9, 11}));
  EXPECT_EQ(columnsOf({2, 2}, 0), (Columns{0, 2, 4, 6, 8, 10}));
  EXPECT_EQ(columnsOf({2, 2}, 1), Columns{});
  EXPECT_EQ(columnsOf({2, 2}, 2), (Columns{1, 3, 5, 7, 9, 11}));
  EXPECT_EQ(columnsOf({3, 1}, 1), (Columns{1, 4, 7, 10}));
  EXPECT_EQ(columnsOf({3, 3}, 3), (Columns{1, 4, 7, 10}));
}

TEST(SampleLatticeTest, KeepsTheFirstColumnOfShiftedEvenRowsWithAStepOfThree) {
  for (const uint32_t dy : {2, 6, 10}) EXPECT_EQ(columnsOf({3, 2}, dy), (Columns{0, 1, 4, 7, 10}));
  for (const uint32_t dy : {0, 4, 8}) EXPECT_EQ(columnsOf({3, 2}, dy), (Columns{0, 3, 6, 9}));
}

TEST(SampleLatticeTest, HasNoFirstColumnInOddRows) {
  EXPECT_EQ(columnsOf({1, 3}, 3), (Columns{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
  EXPECT_EQ(columnsOf({1, 2}, 2), (Columns{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
  EXPECT_EQ(columnsOf({1, 3}, 6), (Columns{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
}

TEST(SampleLatticeTest, VisitsTheColumnsThatItHolds) {
  for (uint32_t stepX = 1; stepX <= 3; ++stepX) {
    for (uint32_t stepY = 1; stepY <= 3; ++stepY) {
      const SampleLattice lattice{stepX, stepY};
      for (uint32_t dy = 0; dy < 13; ++dy) {
        if (!lattice.holdsRow(dy)) continue;
        for (uint32_t begin = 0; begin < 9; ++begin) {
          for (uint32_t end = begin; end < 15; ++end) {
            Columns visited;
            lattice.visitColumns(dy, begin, end, [&](uint32_t dx) { visited.push_back(dx); });
            Columns held;
            for (uint32_t dx = begin; dx < end; ++dx) {
              if (lattice.holds(dx, dy)) held.push_back(dx);
            }
            ASSERT_EQ(visited, held) << stepX << " x " << stepY << ", row " << dy;
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace stiltforge
