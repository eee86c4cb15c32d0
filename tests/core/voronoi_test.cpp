#include "support/voronoi.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "core/drawing.h"
#include "core/random.h"
#include "runtime/float_conversion.h"

namespace stiltforge {
namespace {

struct Samples {
  std::vector<uint16_t> x;
  std::vector<uint16_t> y;
};

// The relaxation under test, with samples that live as long as it does.
class Relaxation {
 public:
  Relaxation(const Samples& samples, std::vector<Site> seeds, std::size_t idle)
      : x_(planeOf(samples.x)),
        y_(planeOf(samples.y)),
        relaxation_(x_, y_, std::move(seeds), idle) {}
  VoronoiRelaxation* operator->() { return &relaxation_; }

 private:
  Plane<uint16_t> x_;
  Plane<uint16_t> y_;
  VoronoiRelaxation relaxation_;
};

// Every support a site, every sample compared with every site.
class PlainRelaxation {
 public:
  PlainRelaxation(const Samples& samples, std::vector<Site> seeds, std::size_t idle)
      : samples_(samples), sites(std::move(seeds)) {
    sites.insert(sites.end(), idle, sites.back());
    cells.resize(sites.size());
  }

  void run(float maxIterations, float settledDistance) {
    for (uint32_t iteration = 0; maxIterations > static_cast<float>(iteration); ++iteration) {
      cells.assign(sites.size(), {});
      for (std::size_t s = 0; s < samples_.x.size(); ++s) assign(samples_.x[s], samples_.y[s]);
      if (move(settledDistance * settledDistance)) return;
    }
  }

 private:
  void assign(uint16_t x, uint16_t y) {
    std::size_t best = 0;
    float bestDistance = std::numeric_limits<float>::infinity();
    for (std::size_t i = 0; i < sites.size(); ++i) {
      const float distance = NearestSite::squaredDistance(x, y, sites[i]);
      if (distance < bestDistance) {
        bestDistance = distance;
        best = i;
      }
    }
    if (bestDistance > static_cast<float>(maxDist2)) maxDist2 = toUint32(bestDistance);
    Voronoi& cell = cells[best];
    const auto old = static_cast<float>(cell.count);
    const auto now = static_cast<float>(++cell.count);
    cell.sumX = (cell.sumX * old + static_cast<float>(x)) / now;
    cell.sumY = (cell.sumY * old + static_cast<float>(y)) / now;
  }

  bool move(float limit) {
    bool settled = true;
    for (std::size_t i = 0; i < sites.size(); ++i) {
      const Site target{toUint16(cells[i].sumX), toUint16(cells[i].sumY)};
      if (NearestSite::squaredDistance(sites[i].x, sites[i].y, target) > limit) settled = false;
      sites[i] = target;
    }
    return settled;
  }

  const Samples& samples_;

 public:
  std::vector<Site> sites;
  std::vector<Voronoi> cells;
  uint32_t maxDist2 = 0;
};

// A support that keeps a sample: its number, place and cell.
struct Kept {
  std::size_t number;
  uint32_t x;
  uint32_t y;
  uint32_t meanX;
  uint32_t meanY;
  uint32_t count;
  friend bool operator==(const Kept&, const Kept&) = default;
};

uint32_t bits(float value) {
  uint32_t word = 0;
  std::memcpy(&word, &value, sizeof word);
  return word;
}

std::vector<Kept> keptOf(const std::vector<Site>& sites, const std::vector<Voronoi>& cells) {
  std::vector<Kept> kept;
  for (std::size_t i = 0; i < sites.size(); ++i) {
    if (cells[i].count == 0) continue;
    kept.push_back(
        {i, sites[i].x, sites[i].y, bits(cells[i].sumX), bits(cells[i].sumY), cells[i].count});
  }
  return kept;
}

void expectPlain(const Samples& samples, const std::vector<Site>& seeds, std::size_t idle,
                 float maxIterations, float settledDistance) {
  PlainRelaxation plain(samples, seeds, idle);
  plain.run(maxIterations, settledDistance);
  Relaxation relaxation(samples, seeds, idle);
  relaxation->run(maxIterations, settledDistance);
  ASSERT_EQ(keptOf(relaxation->sites(), relaxation->cells()), keptOf(plain.sites, plain.cells));
  ASSERT_EQ(relaxation->maxDist2(), plain.maxDist2);
}

// Samples of a random region, in raster order.
Samples randomSamples(Random& random, uint32_t extent, uint32_t originX, uint32_t originY) {
  Samples samples;
  const uint32_t percent = 2 + random.below(98);
  for (uint32_t y = 0; y < extent; ++y) {
    for (uint32_t x = 0; x < extent; ++x) {
      if (random.below(100) >= percent) continue;
      samples.x.push_back(static_cast<uint16_t>(originX + x));
      samples.y.push_back(static_cast<uint16_t>(originY + y));
    }
  }
  if (samples.x.empty()) {
    samples.x.push_back(static_cast<uint16_t>(originX));
    samples.y.push_back(static_cast<uint16_t>(originY));
  }
  return samples;
}

std::vector<Site> seedsAmong(Random& random, const Samples& samples, uint32_t count) {
  std::vector<Site> seeds;
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t s = random.below(static_cast<uint32_t>(samples.x.size()));
    seeds.push_back({samples.x[s], samples.y[s]});
  }
  return seeds;
}

float randomIterations(Random& random) {
  constexpr float choices[] = {1, 2, 3, 5, 20, 0.5f, 150};
  return choices[random.below(7)];
}

float randomDistance(Random& random) {
  constexpr float choices[] = {0, 0, 0.5f, 1, 1.5f, -2, 4};
  return choices[random.below(7)];
}

TEST(VoronoiRelaxationTest, MovesOneSiteToTheTruncatedMean) {
  const Samples samples{{0, 1, 2, 4}, {0, 0, 0, 0}};
  Relaxation relaxation(samples, {{0, 0}}, 0);
  relaxation->run(1.0f, 0.0f);
  EXPECT_EQ(relaxation->sites()[0].x, 1) << "of 7 / 4";
  EXPECT_EQ(relaxation->cells()[0].count, 4u);
  EXPECT_EQ(relaxation->cells()[0].sumX, 1.75f);
  EXPECT_EQ(relaxation->maxDist2(), 16u);
}

TEST(VoronoiRelaxationTest, SendsASiteWithoutSamplesToTheOrigin) {
  const Samples samples{{10, 11}, {5, 5}};
  Relaxation relaxation(samples, {{10, 5}, {10, 5}, {11, 5}}, 0);
  relaxation->run(1.0f, 0.0f);
  EXPECT_EQ(relaxation->sites()[1].x, 0);
  EXPECT_EQ(relaxation->sites()[1].y, 0);
  EXPECT_EQ(relaxation->cells()[1].count, 0u);
}

TEST(VoronoiRelaxationTest, DoesNothingWithoutIterations) {
  const Samples samples{{10, 11}, {5, 5}};
  for (const float iterations : {0.0f, -1.0f, std::nanf("")}) {
    Relaxation relaxation(samples, {{10, 5}}, 3);
    relaxation->run(iterations, 0.0f);
    EXPECT_EQ(relaxation->sites()[0].x, 10);
    EXPECT_EQ(relaxation->cells()[0].count, 0u);
    EXPECT_EQ(relaxation->maxDist2(), 0u);
  }
}

TEST(VoronoiRelaxationTest, EqualsAPlainLoop) {
  Random random(91);
  for (int i = 0; i < 3000; ++i) {
    const Samples samples =
        randomSamples(random, 1 + random.below(30), random.below(20), random.below(20));
    const std::vector<Site> seeds = seedsAmong(random, samples, 1 + random.below(12));
    expectPlain(samples, seeds, 0, randomIterations(random), randomDistance(random));
    if (testing::Test::HasFatalFailure()) FAIL() << "case " << i;
  }
}

TEST(VoronoiRelaxationTest, EqualsAPlainLoopWithFarMoreSupportsThanSamples) {
  Random random(92);
  for (int i = 0; i < 3000; ++i) {
    // Regions at and near the origin matter: that is where sites without samples go.
    const uint32_t origin = random.oneIn(2) ? 0 : random.below(12);
    const Samples samples = randomSamples(random, 1 + random.below(9), origin, random.below(3));
    const std::vector<Site> seeds = seedsAmong(random, samples, 1 + random.below(2));
    expectPlain(samples, seeds, 1 + random.below(120), randomIterations(random),
                randomDistance(random));
    if (testing::Test::HasFatalFailure()) FAIL() << "case " << i;
  }
}

TEST(VoronoiRelaxationTest, GoesOnWhileOnlyTheIdleSitesHaveMoved) {
  // The first site lies on the mean from the start; the idle ones leave it for the origin, where
  // they find samples in the iterations that follow.
  const Samples samples{{0, 1, 2, 3, 4, 5, 6, 7, 8}, {0, 0, 0, 0, 0, 0, 0, 0, 0}};
  for (const float iterations : {1.0f, 2.0f, 3.0f, 10.0f}) {
    expectPlain(samples, {{4, 0}}, 5, iterations, 0.0f);
  }
}

TEST(VoronoiRelaxationTest, EqualsAPlainLoopOverManyBands) {
  Random random(93);
  const Samples samples = randomSamples(random, 400, 100, 7);
  for (int i = 0; i < 3; ++i) {
    expectPlain(samples, seedsAmong(random, samples, 60), 0, 4.0f, 0.0f);
    expectPlain(samples, seedsAmong(random, samples, 1), 30, 4.0f, 0.0f);
  }
}

TEST(VoronoiRelaxationTest, EqualsAPlainLoopOverFarDistances) {
  Random random(94);
  for (int i = 0; i < 100; ++i) {
    Samples samples;
    for (uint32_t y = 0; y < 40; ++y) {
      for (uint32_t x = 0; x < 20; ++x) {
        samples.x.push_back(static_cast<uint16_t>(x * 1500 + random.below(1500)));
        samples.y.push_back(static_cast<uint16_t>(y * 700));
      }
    }
    expectPlain(samples, seedsAmong(random, samples, 1 + random.below(9)), 0, 3.0f, 0.0f);
    if (testing::Test::HasFatalFailure()) FAIL() << "case " << i;
  }
}

// Sites that return to places where they were will do so for ever.
TEST(VoronoiRelaxationTest, EndsAtOnceHoweverManyIterationsAreAllowed) {
  Random random(95);
  constexpr float inf = std::numeric_limits<float>::infinity();
  for (int i = 0; i < 500; ++i) {
    const Samples samples = randomSamples(random, 1 + random.below(12), 3, 5);
    const std::vector<Site> seeds = seedsAmong(random, samples, 1 + random.below(8));
    for (const float iterations : {1e6f, 1e12f, 3e38f, inf}) {
      Relaxation relaxation(samples, seeds, random.below(4));
      relaxation->run(iterations, 0.0f);
      ASSERT_FALSE(keptOf(relaxation->sites(), relaxation->cells()).empty());
    }
  }
}

// Idle sites at the origin are empty and settled, so what keeps the others moving is a cycle; the
// limits around its length tell every place of it apart.
TEST(VoronoiRelaxationTest, StopsWithinACycleWhereAPlainLoopStops) {
  Random random(96);
  for (int i = 0; i < 400; ++i) {
    const Samples samples = randomSamples(random, 1 + random.below(10), random.below(4), 0);
    const std::vector<Site> seeds = seedsAmong(random, samples, 1 + random.below(6));
    const std::size_t idle = random.oneIn(2) ? 0 : random.below(6);
    for (int limit = 100; limit < 130; ++limit) {
      expectPlain(samples, seeds, idle, static_cast<float>(limit), 0.0f);
      if (testing::Test::HasFatalFailure()) FAIL() << "case " << i << ", limit " << limit;
    }
  }
}

}  // namespace
}  // namespace stiltforge
