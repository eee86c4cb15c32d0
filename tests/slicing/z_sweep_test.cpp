#include "slicing/z_sweep.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace stiltforge::slicing {
namespace {

TEST(ZSweep, ContainsItsLowerEndOnly) {
  ZSweep sweep({{1, 2}});
  EXPECT_TRUE(sweep.activeAt(0.5).empty());
  EXPECT_EQ(sweep.activeAt(1), std::vector<uint32_t>{0});
  EXPECT_TRUE(sweep.activeAt(2).empty());
}

TEST(ZSweep, NeverContainsAnEmptyInterval) {
  ZSweep sweep({{1, 1}});
  EXPECT_TRUE(sweep.activeAt(1).empty());
}

TEST(ZSweep, FindsTheSameInAnyOrderOfPlanes) {
  std::mt19937 random(5);
  std::uniform_real_distribution<float> height(0, 100);
  std::vector<ZSweep::Interval> intervals;
  for (int i = 0; i < 300; ++i) {
    const float a = height(random);
    const float b = i % 3 == 0 ? height(random) : a + 1;
    intervals.push_back({std::min(a, b), std::max(a, b)});
  }
  ZSweep jumping(intervals);
  for (int i = 0; i < 500; ++i) {
    const double plane =
        i % 5 == 0 ? intervals[static_cast<std::size_t>(i) % 300].lower : height(random);
    std::vector<uint32_t> expected;
    for (uint32_t k = 0; k < intervals.size(); ++k) {
      if (intervals[k].lower <= plane && plane < intervals[k].upper) expected.push_back(k);
    }
    const std::vector<uint32_t> found = jumping.activeAt(plane);
    EXPECT_EQ(found, ZSweep(intervals).activeAt(plane)) << "order at " << plane;
    std::vector<uint32_t> sorted = found;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(sorted, expected) << "at " << plane;
  }
}

}  // namespace
}  // namespace stiltforge::slicing
