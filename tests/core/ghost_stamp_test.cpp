#include "support/ghost_stamp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "core/random.h"
#include "reference/ghost_spread.h"
#include "support/ghost_spread.h"

namespace stiltforge {
namespace {

class GhostStampTest : public testing::Test {
 protected:
  void spread(float radius) {
    table = GhostSpread(radius);
    table.create();
  }

  std::vector<float> sumsOf(std::vector<Voxel>& ghosts, Box box) {
    std::vector<Voxel*> pointers;
    for (Voxel& ghost : ghosts) pointers.push_back(&ghost);
    const uint32_t height = static_cast<uint32_t>(box.yMax - box.yMin);
    const GhostStamp stamp(table, pointers, box);
    std::vector<float> sums(std::size_t{height} * (box.xMax - box.xMin), 0.0f);
    stamp.addRows(0, height, sums.data());
    const uint64_t most = stamp.mostInRows(0, height);
    for (const float sum : sums) EXPECT_LE(sum, static_cast<float>(most));
    if (most <= 0xFFFF) {
      std::vector<uint16_t> whole(sums.size(), 0);
      stamp.addRows(0, height, whole.data());
      EXPECT_EQ(std::vector<float>(whole.begin(), whole.end()), sums);
    }
    expectSumsAt(stamp, box, sums);
    return sums;
  }

  // What the stamp tells of single places and of tiles goes with the sums of all places.
  static void expectSumsAt(const GhostStamp& stamp, Box box, const std::vector<float>& sums) {
    const auto width = static_cast<uint32_t>(box.xMax - box.xMin);
    const auto height = static_cast<uint32_t>(box.yMax - box.yMin);
    const std::vector<uint64_t> mostInTiles = stamp.mostInTiles();
    const uint32_t across = stamp.tilesAcross();
    ASSERT_EQ(mostInTiles.size(), std::size_t{across} * ((height + GhostStamp::tileHeight - 1) /
                                                         GhostStamp::tileHeight));
    for (uint32_t y = 0; y < height; ++y) {
      for (uint32_t x = 0; x < width; ++x) {
        const uint64_t sum = stamp.sumAt(x, y);
        ASSERT_EQ(static_cast<float>(sum), sums[std::size_t{y} * width + x]) << x << ", " << y;
        const uint32_t tile = y / GhostStamp::tileHeight * across + x / GhostStamp::tileWidth;
        ASSERT_LE(sum, mostInTiles[tile]) << x << ", " << y;
      }
    }
  }

  std::vector<float> weights() const {
    std::vector<float> all(std::size_t{table.side()} * table.side());
    for (std::size_t k = 0; k < all.size(); ++k) all[k] = table.weight(k);
    return all;
  }

  static Voxel ghostAt(uint32_t x, uint32_t y) {
    Voxel ghost;
    ghost.x = static_cast<uint16_t>(x);
    ghost.y = static_cast<uint16_t>(y);
    return ghost;
  }

  GhostSpread table;
};

// Every table cell of every ghost, with 16-bit box coordinates.
std::vector<float> plainSums(const std::vector<Voxel>& ghosts, Box box, float radius) {
  const reference::GhostSpread spread = reference::createGhostSpread(radius);
  const uint32_t width = static_cast<uint32_t>(box.xMax - box.xMin);
  const uint32_t height = static_cast<uint32_t>(box.yMax - box.yMin);
  std::vector<float> sums(std::size_t{width} * height, 0.0f);
  const auto coordinate = [&](uint16_t ghost, uint32_t cell, uint16_t boxMin) {
    return static_cast<uint16_t>(static_cast<int32_t>(static_cast<float>(ghost) - radius +
                                                      static_cast<float>(cell) -
                                                      static_cast<float>(boxMin)));
  };
  for (const Voxel& ghost : ghosts) {
    if (ghost.toDelete) continue;
    for (uint32_t i = 0; i < spread.side; ++i) {
      const uint16_t py = coordinate(ghost.y, i, box.yMin);
      if (py >= height) continue;
      for (uint32_t j = 0; j < spread.side; ++j) {
        const uint16_t px = coordinate(ghost.x, j, box.xMin);
        if (px >= width) continue;
        sums[std::size_t{py} * width + px] +=
            static_cast<float>(static_cast<uint32_t>(spread.weight(i, j)) & 0xFF);
      }
    }
  }
  return sums;
}

TEST_F(GhostStampTest, TableFallsLinearlyFromItsCentre) {
  spread(60.0f);
  const auto at = [&](std::size_t row, std::size_t column) {
    return table.weight(row * 120 + column);
  };
  ASSERT_EQ(table.side(), 120u);
  EXPECT_EQ(at(60, 60), 255.0f);
  EXPECT_EQ(at(60, 90), 127.5f);
  EXPECT_EQ(at(60, 0), 0.0f);
  EXPECT_EQ(at(0, 0), 0.0f);
  EXPECT_EQ(at(60, 119), 4.25f);
}

TEST_F(GhostStampTest, TableIsTheFullSquareOfAnyRadius) {
  for (const float radius : {0.1f, 0.5f, 0.75f, 1.0f, 1.3f, 7.5f, 24.9f, 90.5f, 91.0f, 181.0f}) {
    spread(radius);
    const reference::GhostSpread expected = reference::createGhostSpread(radius);
    ASSERT_EQ(weights(), expected.weights) << radius;
  }
}

TEST_F(GhostStampTest, TableIsEmptyWithoutARadius) {
  std::vector<Voxel> ghosts{ghostAt(1, 1)};
  for (const float radius : {0.0f, -4.0f, std::nanf(""), -HUGE_VALF}) {
    spread(radius);
    EXPECT_EQ(table.side(), 0u);
    EXPECT_EQ(sumsOf(ghosts, {0, 0, 3, 3}), std::vector<float>(9, 0.0f));
    EXPECT_TRUE(GhostStamp(table, {&ghosts[0]}, {0, 0, 3, 3}).empty());
  }
}

TEST_F(GhostStampTest, TableOfAHugeRadiusIsRefused) {
  for (const float radius : {4097.0f, 40000.0f, 1e30f, HUGE_VALF}) {
    EXPECT_THROW(GhostSpread{radius}, std::length_error);
  }
  EXPECT_EQ(GhostSpread(4096.0f).side(), 8192u);
}

TEST_F(GhostStampTest, AddsTheConeInWholeSteps) {
  spread(2.0f);
  std::vector<Voxel> ghosts{ghostAt(3, 2)};
  const std::vector<float> sums = sumsOf(ghosts, {0, 0, 6, 6});
  const auto at = [&](std::size_t x, std::size_t y) { return sums[6 * y + x]; };
  EXPECT_EQ(at(3, 2), 255.0f);
  EXPECT_EQ(at(2, 2), 127.0f) << "of 127.5";
  EXPECT_EQ(at(4, 3), 74.0f);
  EXPECT_EQ(at(1, 2), 0.0f);
  EXPECT_EQ(at(3, 5), 0.0f);
}

TEST_F(GhostStampTest, AddsUpTheConesOfSeveralGhosts) {
  spread(2.0f);
  std::vector<Voxel> ghosts{ghostAt(1, 0), ghostAt(1, 0), ghostAt(2, 0)};
  EXPECT_EQ(sumsOf(ghosts, {0, 0, 3, 1}), (std::vector<float>{254.0f, 637.0f, 509.0f}));
}

// A tile's bound is that of the cells that fall into it, not of the whole cone.
TEST_F(GhostStampTest, BoundsTheSumsOfEachTileByTheGhostsThatReachIt) {
  spread(20.0f);
  Voxel centre = ghostAt(32, 16);
  Voxel edge = ghostAt(64 + 10, 16);
  const Box box{0, 0, 4 * GhostStamp::tileWidth, 2 * GhostStamp::tileHeight};
  const std::vector<uint64_t> one = GhostStamp(table, {&centre}, box).mostInTiles();
  const uint32_t across = 4;
  ASSERT_EQ(one.size(), 2 * across);
  EXPECT_EQ(one[0], 255u) << "its centre";
  EXPECT_EQ(one[1], 0u) << "beyond its radius";
  EXPECT_GT(one[across], 0u) << "the last rows of its cone";
  EXPECT_LT(one[across], 255u);
  const std::vector<uint64_t> both = GhostStamp(table, {&centre, &edge}, box).mostInTiles();
  EXPECT_GT(both[0], 255u);
  EXPECT_EQ(both[1], 255u);
  EXPECT_EQ(both[2], 0u);
}

TEST_F(GhostStampTest, LeavesRetiredAndFarGhostsOut) {
  spread(2.0f);
  std::vector<Voxel> ghosts{ghostAt(1, 0), ghostAt(1, 60), ghostAt(60, 1)};
  ghosts[0].toDelete = true;
  EXPECT_EQ(sumsOf(ghosts, {0, 0, 3, 3}), std::vector<float>(9, 0.0f));
  EXPECT_TRUE(GhostStamp(table, {&ghosts[0], &ghosts[1], &ghosts[2]}, {0, 0, 3, 3}).empty());
}

TEST_F(GhostStampTest, EqualsCellByCellStamping) {
  Random random(101);
  for (int i = 0; i < 400; ++i) {
    const float radius =
        random.oneIn(2) ? static_cast<float>(random.below(30)) : random.unit() * 30.0f;
    spread(radius);
    const Box box{static_cast<uint16_t>(random.below(40)), static_cast<uint16_t>(random.below(40)),
                  static_cast<uint16_t>(41 + random.below(40)),
                  static_cast<uint16_t>(41 + random.below(40))};
    std::vector<Voxel> ghosts(random.below(12));
    for (Voxel& ghost : ghosts) {
      ghost = ghostAt(random.below(120), random.below(120));
      ghost.toDelete = random.oneIn(8);
    }
    ASSERT_EQ(sumsOf(ghosts, box), plainSums(ghosts, box, radius)) << i << ", radius " << radius;
  }
}

// Places beyond column 65535 come round at column 0.
TEST_F(GhostStampTest, WrapsCoordinatesAtSixteenBits) {
  spread(20.0f);
  std::vector<Voxel> ghosts{ghostAt(65530, 3), ghostAt(2, 2), ghostAt(40000, 4)};
  const Box wide{0, 0, 65535, 6};
  const std::vector<float> sums = sumsOf(ghosts, wide);
  EXPECT_EQ(sums, plainSums(ghosts, wide, 20.0f));
  EXPECT_EQ(sums[3 * 65535 + 0], 178.0f + 226.0f) << "6 columns past one ghost, near another";
  std::vector<Voxel> low{ghostAt(3, 65533)};
  const Box high{0, 0, 6, 65535};
  EXPECT_EQ(sumsOf(low, high), plainSums(low, high, 20.0f));
  const Box offset{7, 5, 60000, 9};
  EXPECT_EQ(sumsOf(ghosts, offset), plainSums(ghosts, offset, 20.0f));
}

// The bands begin and end anywhere among the tiles.
TEST_F(GhostStampTest, AddsTheSameInBandsOfRows) {
  Random random(102);
  spread(9.5f);
  for (int i = 0; i < 100; ++i) {
    const Box box{5, 6, 30, 146};
    std::vector<Voxel> ghosts;
    std::vector<Voxel*> pointers;
    for (uint32_t k = 0; k < 9; ++k) ghosts.push_back(ghostAt(random.below(40), random.below(150)));
    for (Voxel& ghost : ghosts) pointers.push_back(&ghost);
    const GhostStamp stamp(table, pointers, box);
    std::vector<float> sums(25 * 140, 0.0f);
    for (uint32_t row = 0; row < 140;) {
      const uint32_t end = std::min(140u, row + 1 + random.below(50));
      stamp.addRows(row, end, sums.data() + std::size_t{row} * 25);
      row = end;
    }
    ASSERT_EQ(sums, sumsOf(ghosts, box));
  }
}

// Above 2^24 entries positions in the table round, at the last corner past its end.
TEST_F(GhostStampTest, StaysWithinTheTableOfALargeRadius) {
  spread(2049.0f);
  std::vector<Voxel> ghosts{ghostAt(0, 0), ghostAt(2040, 2040)};
  const Box corner{2040, 2040, 2052, 2052};
  EXPECT_EQ(sumsOf(ghosts, corner), plainSums(ghosts, corner, 2049.0f));
}

}  // namespace
}  // namespace stiltforge
