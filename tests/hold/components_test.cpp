#include "hold/components.h"

#include <gtest/gtest.h>

#include "core/drawing.h"
#include "core/random.h"

namespace stiltforge::hold {
namespace {

RunRows rowsOf(const Rows& rows) {
  return sliceOf(draw(rows)).material;
}

TEST(Components, TouchOnTheirSides) {
  const Components found = findComponents(rowsOf({"##.", ".##", "#.."}), Contact::sides);
  EXPECT_EQ(found.count, 2u);
  EXPECT_EQ(found.at(0, 0), found.at(2, 1));
  EXPECT_EQ(found.at(0, 2), 1u);
}

TEST(Components, TouchAcrossCornersWhereThatIsAskedFor) {
  EXPECT_EQ(findComponents(rowsOf({"#..", ".#.", "#.."}), Contact::sides).count, 3u);
  EXPECT_EQ(findComponents(rowsOf({"#..", ".#.", "#.."}), Contact::sidesAndCorners).count, 1u);
  EXPECT_EQ(findComponents(rowsOf({"#..", "..#"}), Contact::sidesAndCorners).count, 2u);
}

TEST(Components, HaveNoNumberBesideTheirPixels) {
  const Components found = findComponents(rowsOf({".#."}), Contact::sides);
  EXPECT_EQ(found.at(0, 0), Components::none);
  EXPECT_EQ(found.at(2, 0), Components::none);
  EXPECT_EQ(found.at(1, -1), Components::none);
  EXPECT_EQ(found.at(1, 1), Components::none);
}

Rows noise(Random& random) {
  const uint32_t width = 1 + random.below(20);
  Rows rows(1 + random.below(20), std::string(width, '.'));
  const uint32_t rarity = 1 + random.below(4);
  for (std::string& row : rows) {
    for (char& c : row) c = random.oneIn(rarity) ? '#' : '.';
  }
  return rows;
}

// A fill from each pixel that has no number yet, in raster order.
std::vector<std::vector<uint32_t>> plainComponents(const Rows& rows, bool corners) {
  const int height = static_cast<int>(rows.size());
  const int width = static_cast<int>(rows[0].size());
  std::vector<std::vector<uint32_t>> number(
      rows.size(), std::vector<uint32_t>(rows[0].size(), Components::none));
  uint32_t count = 0;
  const auto fill = [&](auto&& self, int x, int y) -> void {
    if (x < 0 || y < 0 || x >= width || y >= height) return;
    if (rows[y][x] != '#' || number[y][x] != Components::none) return;
    number[y][x] = count;
    for (int dy = -1; dy <= 1; ++dy) {
      for (int dx = -1; dx <= 1; ++dx) {
        if (corners || dx == 0 || dy == 0) self(self, x + dx, y + dy);
      }
    }
  };
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      if (rows[y][x] != '#' || number[y][x] != Components::none) continue;
      fill(fill, x, y);
      ++count;
    }
  }
  return number;
}

TEST(ComponentsProperty, EqualAFillFromEveryPixel) {
  Random random(71);
  for (int i = 0; i < 4000; ++i) {
    const Rows rows = noise(random);
    for (const bool corners : {false, true}) {
      const auto plain = plainComponents(rows, corners);
      const Components found =
          findComponents(rowsOf(rows), corners ? Contact::sidesAndCorners : Contact::sides);
      for (std::size_t y = 0; y < rows.size(); ++y) {
        for (std::size_t x = 0; x < rows[y].size(); ++x) {
          ASSERT_EQ(found.at(static_cast<int>(x), static_cast<int>(y)), plain[y][x])
              << "picture " << i << ", pixel " << x << ", " << y;
        }
      }
    }
  }
}

}  // namespace
}  // namespace stiltforge::hold
