#include "support/nearest_site.h"

#include <gtest/gtest.h>

#include <limits>

#include "core/random.h"

namespace stiltforge {
namespace {

uint32_t nearestByComparison(uint16_t x, uint16_t y, const std::vector<Site>& sites) {
  uint32_t best = 0;
  float bestDistance = std::numeric_limits<float>::infinity();
  for (uint32_t i = 0; i < sites.size(); ++i) {
    const float distance = NearestSite::squaredDistance(x, y, sites[i]);
    if (distance < bestDistance) {
      bestDistance = distance;
      best = i;
    }
  }
  return best;
}

// The intervals cover the row from left to right, and each names the site that wins every sample.
void expectNearest(NearestSite& nearest, const std::vector<Site>& sites, uint16_t y,
                   const std::vector<uint16_t>& x) {
  std::vector<SiteInterval> intervals;
  nearest.assignRow({y, 0, static_cast<uint32_t>(x.size())}, x.data(), intervals);
  uint32_t next = 0;
  for (const SiteInterval& interval : intervals) {
    ASSERT_EQ(interval.begin, next);
    ASSERT_LT(interval.begin, interval.end);
    for (uint32_t s = interval.begin; s < interval.end; ++s) {
      ASSERT_EQ(interval.site, nearestByComparison(x[s], y, sites)) << x[s] << ", " << y;
    }
    next = interval.end;
  }
  ASSERT_EQ(next, x.size());
}

std::vector<uint16_t> columns(uint32_t first, uint32_t last) {
  std::vector<uint16_t> x;
  for (uint32_t column = first; column <= last; ++column)
    x.push_back(static_cast<uint16_t>(column));
  return x;
}

TEST(NearestSiteTest, GivesASampleBetweenTwoSitesToTheLowerIndex) {
  const std::vector<Site> sites{{6, 0}, {2, 0}};
  NearestSite nearest(sites);
  std::vector<SiteInterval> intervals;
  const std::vector<uint16_t> x = columns(0, 8);
  nearest.assignRow({0, 0, 9}, x.data(), intervals);
  ASSERT_EQ(intervals.size(), 2u);
  EXPECT_EQ(intervals[0].site, 1u);
  EXPECT_EQ(intervals[0].end, 4u) << "column 4 is as far from both";
  EXPECT_EQ(intervals[1].site, 0u);
}

TEST(NearestSiteTest, GivesNothingToASecondSiteAtTheSamePlace) {
  const std::vector<Site> sites{{9, 9}, {3, 3}, {3, 3}, {3, 3}};
  NearestSite nearest(sites);
  for (const uint16_t y : {0, 3, 6, 9}) expectNearest(nearest, sites, y, columns(0, 20));
}

TEST(NearestSiteTest, TakesTheNearerOfTwoSitesInAColumn) {
  const std::vector<Site> sites{{5, 0}, {5, 10}, {5, 4}};
  NearestSite nearest(sites);
  for (uint16_t y = 0; y <= 12; ++y) expectNearest(nearest, sites, y, columns(0, 10));
}

TEST(NearestSiteTest, AppendsTheRowsOfAPartOfTheSamples) {
  const std::vector<Site> sites{{0, 0}};
  NearestSite nearest(sites);
  const std::vector<uint16_t> x{7, 1, 5, 9};
  std::vector<SiteInterval> intervals{{0, 1, 0}};
  nearest.assignRow({0, 1, 3}, x.data(), intervals);
  ASSERT_EQ(intervals.size(), 2u);
  EXPECT_EQ(intervals[1].begin, 1u);
  EXPECT_EQ(intervals[1].end, 3u);
}

// Sites crowded onto few places, so that ties and equal columns abound.
TEST(NearestSiteTest, EqualsComparisonWithEverySiteUnderManyTies) {
  Random random(81);
  for (int i = 0; i < 6000; ++i) {
    const uint32_t extent = 2 + random.below(30);
    std::vector<Site> sites(1 + random.below(25));
    for (Site& site : sites) {
      site = {static_cast<uint16_t>(random.below(extent)),
              static_cast<uint16_t>(random.below(extent))};
    }
    NearestSite nearest(sites);
    for (uint32_t y = 0; y < extent; ++y) {
      std::vector<uint16_t> x;
      for (uint32_t column = 0; column < extent; ++column) {
        if (!random.oneIn(4)) x.push_back(static_cast<uint16_t>(column));
      }
      if (x.empty()) continue;
      expectNearest(nearest, sites, static_cast<uint16_t>(y), x);
      if (testing::Test::HasFatalFailure()) FAIL() << "site set " << i;
    }
  }
}

TEST(NearestSiteTest, EqualsComparisonWithEverySiteOnRegularGrids) {
  for (const uint16_t step : {1, 2, 3, 4, 8}) {
    std::vector<Site> sites;
    for (uint16_t y = 0; y < 40; y = static_cast<uint16_t>(y + step)) {
      for (uint16_t x = 0; x < 40; x = static_cast<uint16_t>(x + step)) sites.push_back({x, y});
    }
    NearestSite nearest(sites);
    for (uint16_t y = 0; y < 44; ++y) expectNearest(nearest, sites, y, columns(0, 50));
  }
}

// From 4096 pixels on squares exceed 2^24 and single precision rounds them: sites that are not as
// near tie, and the lower index wins.
TEST(NearestSiteTest, EqualsComparisonInSinglePrecisionOverFarDistances) {
  Random random(82);
  for (int i = 0; i < 1500; ++i) {
    const uint32_t extent = random.oneIn(2) ? 65536 : 9000;
    const bool clustered = random.oneIn(2);
    const Site centre{static_cast<uint16_t>(random.below(extent - 4)),
                      static_cast<uint16_t>(random.below(extent - 4))};
    std::vector<Site> sites(1 + random.below(12));
    for (Site& site : sites) {
      if (clustered) {
        site = {static_cast<uint16_t>(centre.x + random.below(4)),
                static_cast<uint16_t>(centre.y + random.below(4))};
      } else {
        site = {static_cast<uint16_t>(random.below(extent)),
                static_cast<uint16_t>(random.below(extent))};
      }
    }
    NearestSite nearest(sites);
    for (int row = 0; row < 3; ++row) {
      const uint32_t first = random.below(extent - 300);
      std::vector<uint16_t> x = columns(first, first + 299);
      if (random.oneIn(2)) x.push_back(static_cast<uint16_t>(extent - 1));
      expectNearest(nearest, sites, static_cast<uint16_t>(random.below(extent)), x);
      if (testing::Test::HasFatalFailure()) FAIL() << "site set " << i;
    }
  }
}

TEST(NearestSiteTest, RoundsFarDistancesSoThatTheLowerIndexWins) {
  // (5000, 5001) is the farther one by 1 in 25 million, which a float cannot hold.
  const std::vector<Site> sites{{5000, 5001}, {5001, 5000}, {5000, 5000}};
  NearestSite nearest(sites);
  expectNearest(nearest, sites, 0, columns(0, 3));
  expectNearest(nearest, sites, 1, columns(0, 20));
}

TEST(NearestSiteTest, ReachesTheLastColumn) {
  const std::vector<Site> sites{{65535, 65535}, {0, 0}, {65535, 0}};
  NearestSite nearest(sites);
  for (const uint16_t y : {0, 32767, 32768, 65535}) {
    expectNearest(nearest, sites, y, {0, 1, 32767, 32768, 65534, 65535});
  }
}

}  // namespace
}  // namespace stiltforge
