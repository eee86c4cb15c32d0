#include "slicing/slice_rasterizer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>

namespace stiltforge::slicing {
namespace {

std::vector<Segment> polygon(const std::vector<Point>& corners) {
  std::vector<Segment> contours;
  for (std::size_t i = 0; i < corners.size(); ++i) {
    contours.push_back({corners[i], corners[(i + 1) % corners.size()]});
  }
  return contours;
}

std::vector<Segment> joinedContours(std::vector<Segment> a, const std::vector<Segment>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

std::vector<std::string> drawn(const std::vector<Segment>& contours, int width, int height) {
  RunRows material;
  SliceRasterizer(width, height).rasterize(contours, material);
  std::vector<std::string> rows;
  for (int y = 0; y < height; ++y) {
    rows.emplace_back(static_cast<std::size_t>(width), '.');
    for (const Run& run : material.row(y)) {
      for (int x = run.begin; x < run.end; ++x) rows.back()[static_cast<std::size_t>(x)] = '#';
    }
  }
  return rows;
}

using Rows = std::vector<std::string>;

TEST(SliceRasterizer, FillsInBothDirections) {
  const Rows expected{"....", ".##.", ".##.", "...."};
  EXPECT_EQ(drawn(polygon({{1, 1}, {3, 1}, {3, 3}, {1, 3}}), 4, 4), expected);
  EXPECT_EQ(drawn(polygon({{1, 1}, {1, 3}, {3, 3}, {3, 1}}), 4, 4), expected);
}

TEST(SliceRasterizer, FillsWhereContoursWindTwice) {
  std::vector<Point> star;
  for (int i = 0; i < 5; ++i) {
    const double angle = i * 2 * 2 * 3.141592653589793 / 5;
    star.push_back({20 + 18 * std::sin(angle), 20 - 18 * std::cos(angle)});
  }
  EXPECT_EQ(drawn(polygon(star), 40, 40)[20][20], '#');
}

TEST(SliceRasterizer, LeavesOutWhereOppositeContoursCancel) {
  const auto outer = polygon({{0, 0}, {4, 0}, {4, 3}, {0, 3}});
  const auto hole = polygon({{1, 1}, {1, 2}, {3, 2}, {3, 1}});
  EXPECT_EQ(drawn(joinedContours(outer, hole), 4, 3), (Rows{"####", "#..#", "####"}));
}

TEST(SliceRasterizer, NeitherSharesNorLosesPixelsAtACommonBorder) {
  // The border runs through pixel centres, straight and slanted.
  const std::vector<Point> border{{2.5, 0}, {2.5, 2.5}, {5.5, 5.5}, {1.5, 8}};
  std::vector<Point> left{{0, 8}, {0, 0}};
  left.insert(left.end(), border.begin(), border.end());
  std::vector<Point> right{{8, 8}, {8, 0}};
  right.insert(right.end(), border.begin(), border.end());
  const Rows a = drawn(polygon(left), 8, 8);
  const Rows b = drawn(polygon(right), 8, 8);
  for (std::size_t y = 0; y < 8; ++y) {
    for (std::size_t x = 0; x < 8; ++x) {
      EXPECT_NE(a[y][x] == '#', b[y][x] == '#') << "at " << x << ", " << y;
    }
  }
}

TEST(SliceRasterizer, ClipsToThePicture) {
  EXPECT_EQ(drawn(polygon({{-1e9, -1e9}, {1e9, -1e9}, {1e9, 1e9}, {-1e9, 1e9}}), 2, 2),
            (Rows{"##", "##"}));
  EXPECT_EQ(drawn(polygon({{-9, -9}, {-5, -9}, {-5, 9}, {-9, 9}}), 2, 2), (Rows{"..", ".."}));
}

TEST(SliceRasterizer, DrawsMillionsOfCrossings) {
  // Stripes every other column, whose upper ends form a saw.
  const int stripes = 1100;
  const int height = 1000;
  std::vector<Segment> contours;
  for (int i = 0; i < stripes; ++i) {
    const double left = 2 * i;
    const double top = i % 7;
    contours =
        joinedContours(std::move(contours),
                       polygon({{left, top}, {left + 1, top}, {left + 1, height}, {left, height}}));
  }
  const Rows rows = drawn(contours, 2 * stripes, height);
  for (int y = 0; y < height; ++y) {
    std::string expected;
    for (int i = 0; i < stripes; ++i) expected += y >= i % 7 ? "#." : "..";
    ASSERT_EQ(rows[static_cast<std::size_t>(y)], expected) << "row " << y;
  }
}

TEST(SliceRasterizer, DrawsNothingWithoutContours) {
  EXPECT_EQ(drawn({}, 3, 1), Rows{"..."});
}

}  // namespace
}  // namespace stiltforge::slicing
