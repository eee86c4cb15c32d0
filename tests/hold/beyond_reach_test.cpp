#include "hold/beyond_reach.h"

#include <gtest/gtest.h>

#include "core/drawing.h"
#include "core/random.h"
#include "hold/steep_overhang.h"

namespace stiltforge::hold {
namespace {

Rows noise(Random& random, std::size_t width, std::size_t height) {
  Rows rows(height, std::string(width, '.'));
  const uint32_t rarity = 1 + random.below(12);
  for (std::string& row : rows) {
    for (char& c : row) c = random.oneIn(rarity) ? '#' : '.';
  }
  return rows;
}

bool reaches(const Rows& material, int x, int y, double reach) {
  for (int row = 0; row < static_cast<int>(material.size()); ++row) {
    for (int column = 0; column < static_cast<int>(material[0].size()); ++column) {
      const double squared = (x - column) * (x - column) + (y - row) * (y - row);
      if (material[row][column] == '#' && squared <= reach * reach) return true;
    }
  }
  return false;
}

// What is drawn in `above`, not in `below`, and out of reach of the carrier.
RunRows plainly(const Rows& above, const Rows& below, const Rows& carrier, double reach) {
  Rows beyond = above;
  for (int y = 0; y < static_cast<int>(above.size()); ++y) {
    for (int x = 0; x < static_cast<int>(above[0].size()); ++x) {
      if (below[y][x] == '#' || reaches(carrier, x, y, reach)) beyond[y][x] = '.';
    }
  }
  return sliceOf(draw(beyond)).material;
}

TEST(BeyondReachProperty, EqualsTheDistancesPixelByPixel) {
  Random random(82);
  for (int i = 0; i < 2000; ++i) {
    const std::size_t width = 1 + random.below(30);
    const std::size_t height = 1 + random.below(20);
    const Rows material = noise(random, width, height);
    const Rows above = noise(random, width, height);
    const double reach = 0.5 * random.below(12);
    BeyondReach finder(reach);
    RunRows beyond;
    const RunRows runs = sliceOf(draw(above)).material;
    for (int y = 0; y < runs.height(); ++y) {
      for (const stiltforge::Run& run : runs.row(y)) {
        finder.find(run, y, sliceOf(draw(material)).material, beyond);
      }
      beyond.endRow();
    }
    const Rows nothing(height, std::string(width, '.'));
    ASSERT_EQ(beyond, plainly(above, nothing, material, reach)) << "picture " << i;
  }
}

TEST(BeyondReach, LooksNoFurtherThanThePicture) {
  BeyondReach finder(65535);
  RunRows beyond;
  finder.find({0, 3}, 1, sliceOf(draw({"...", "...", "..#"})).material, beyond);
  finder.find({0, 3}, 1, RunRows(), beyond);
  beyond.endRow();
  EXPECT_EQ(beyond.pixelCount(), 3u);
}

TEST(SteepOverhangProperty, IsWhatComesBeyondReachOfTheLayerUnderTheStep) {
  Random random(83);
  for (int i = 0; i < 400; ++i) {
    const std::size_t width = 1 + random.below(20);
    const std::size_t height = 1 + random.below(12);
    const uint32_t step = 1 + random.below(4);
    const double reach = 0.5 * random.below(8);
    SteepOverhang steep(step, reach);
    Rows below(height, std::string(width, '.'));
    Rows carrier;
    for (uint32_t layer = 0; layer < 10; ++layer) {
      const Rows rows = noise(random, width, height);
      RunRows overhang;
      steep.add(sliceOf(draw(rows)).material, sliceOf(draw(below)).material, overhang);
      if (layer == 0) {
        ASSERT_EQ(overhang.pixelCount(), 0u);
      } else {
        ASSERT_EQ(overhang, plainly(rows, below, carrier, reach)) << "part " << i;
      }
      if (layer % step == 0) carrier = rows;
      below = rows;
    }
  }
}

}  // namespace
}  // namespace stiltforge::hold
