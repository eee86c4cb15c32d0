#include "slicing/contour_closing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <utility>

#include "slicing/plain_closing.h"

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

// Ends and starts at places of a lattice, none twice, surpluses that add up to 0. Coarse lattices
// are full of equal distances.
std::vector<OpenEnd> randomEnds(std::mt19937& random, uint32_t places, uint32_t side) {
  std::map<std::pair<uint32_t, uint32_t>, int32_t> surpluses;
  for (uint32_t i = 0; i < places; ++i) {
    const auto size = static_cast<int32_t>(random() % 3 + 1);
    surpluses[{random() % side, random() % side}] = random() % 2 == 0 ? size : -size;
  }
  std::vector<OpenEnd> ends;
  int32_t sum = 0;
  for (const auto& [place, surplus] : surpluses) {
    ends.push_back({{place.first * 0.37, place.second * 0.37}, surplus});
    sum += surplus;
  }
  if (sum != 0) ends.push_back({{-1, -1}, -sum});
  std::shuffle(ends.begin(), ends.end(), random);
  return ends;
}

TEST(ContourClosing, TakesThePairsThatSortingAllPairsTakes) {
  std::mt19937 random(11);
  for (int round = 0; round < 6000; ++round) {
    const uint32_t places = 2 + random() % (round % 50 == 0 ? 300 : 30);
    const uint32_t side = round % 3 == 0 ? 8 : round % 3 == 1 ? 60 : 1000000;
    const std::vector<OpenEnd> ends = randomEnds(random, places, side);
    const std::vector<Segment> segments = close(ends);
    const std::vector<Segment> expected = plainClosing(ends);
    ASSERT_EQ(segments.size(), expected.size()) << "round " << round;
    for (std::size_t i = 0; i < segments.size(); ++i) {
      ASSERT_EQ(segments[i].from, expected[i].from) << "round " << round;
      ASSERT_EQ(segments[i].to, expected[i].to) << "round " << round;
    }
  }
}

void expectNoneOpen(const std::vector<OpenEnd>& ends, const std::vector<Segment>& segments) {
  std::map<std::pair<double, double>, int> open;
  for (const OpenEnd& end : ends) open[{end.at.x, end.at.y}] += end.surplus;
  for (const Segment& segment : segments) {
    --open[{segment.from.x, segment.from.y}];
    ++open[{segment.to.x, segment.to.y}];
  }
  for (const auto& [at, surplus] : open) EXPECT_EQ(surplus, 0) << at.first << ", " << at.second;
}

TEST(ContourClosing, LeavesNoEndOpen) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> coordinate(0, 500);
  std::vector<OpenEnd> ends;
  for (int i = 0; i < 2000; ++i) {
    ends.push_back({{coordinate(random), coordinate(random)}, i % 2 == 0 ? 1 : -1});
  }
  expectNoneOpen(ends, close(ends));
}

TEST(ContourClosing, LeavesNoEndOpenWhereAllAreAboutEquallyFarApart) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> offset(-1e-6, 1e-6);
  std::vector<OpenEnd> ends;
  const int spokes = 3000;
  for (int i = 0; i < spokes; ++i) {
    const double angle = i * 6.283185307179586 / spokes;
    const int surplus = 1 + i % 2;
    ends.push_back({{offset(random), offset(random)}, surplus});
    ends.push_back({{100 * std::cos(angle), 100 * std::sin(angle)}, -surplus});
  }
  const std::vector<Segment> segments = close(ends);
  expectNoneOpen(ends, segments);
  for (const Segment& segment : segments) {
    EXPECT_NEAR(std::hypot(segment.to.x, segment.to.y), 100, 1e-3);
  }
}

}  // namespace
}  // namespace stiltforge::slicing
