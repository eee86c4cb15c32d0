#include "slicing/contour_closing.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <utility>

namespace stiltforge::slicing {
namespace {

std::vector<Segment> close(std::vector<OpenEnd> ends) {
  std::vector<Segment> segments;
  closeContours(ends, segments);
  return segments;
}

TEST(ContourClosing, LeadsFromTheEndToTheStart) {
  const std::vector<Segment> segments = close({{{5, 1}, 1}, {{2, 7}, -1}});
  ASSERT_EQ(segments.size(), 1u);
  EXPECT_EQ(segments[0].from, (Point{5, 1}));
  EXPECT_EQ(segments[0].to, (Point{2, 7}));
}

TEST(ContourClosing, JoinsTheClosestFirst) {
  // The end at 10 would also be near the start at 12, but that one is nearer to the end at 13.
  const std::vector<Segment> segments =
      close({{{0, 0}, -1}, {{10, 0}, 1}, {{12, 0}, -1}, {{13, 0}, 1}});
  ASSERT_EQ(segments.size(), 2u);
  EXPECT_EQ(segments[0].from.x, 13);
  EXPECT_EQ(segments[0].to.x, 12);
  EXPECT_EQ(segments[1].from.x, 10);
  EXPECT_EQ(segments[1].to.x, 0);
}

TEST(ContourClosing, NeedsNothingBetweenEndsAtOnePlace) {
  EXPECT_TRUE(close({{{3, 3}, 1}, {{3, 3}, -1}}).empty());
}

TEST(ContourClosing, SplitsAPlaceWhereSeveralContoursEnd) {
  const std::vector<Segment> segments = close({{{0, 0}, 2}, {{1, 0}, -1}, {{5, 0}, -1}});
  ASSERT_EQ(segments.size(), 2u);
  EXPECT_EQ(segments[0].to.x, 1);
  EXPECT_EQ(segments[1].to.x, 5);
}

TEST(ContourClosing, BridgesAWholeScreen) {
  EXPECT_EQ(close({{{0, 0}, 1}, {{65535, 65535}, -1}}).size(), 1u);
}

TEST(ContourClosing, LeavesNoEndOpen) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> coordinate(0, 500);
  std::vector<OpenEnd> ends;
  std::map<std::pair<double, double>, int> open;
  for (int i = 0; i < 2000; ++i) {
    ends.push_back({{coordinate(random), coordinate(random)}, i % 2 == 0 ? 1 : -1});
    open[{ends.back().at.x, ends.back().at.y}] += ends.back().surplus;
  }
  for (const Segment& segment : close(ends)) {
    --open[{segment.from.x, segment.from.y}];
    ++open[{segment.to.x, segment.to.y}];
  }
  for (const auto& [at, surplus] : open) EXPECT_EQ(surplus, 0);
}

}  // namespace
}  // namespace stiltforge::slicing
