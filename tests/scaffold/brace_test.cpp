#include "scaffold/brace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "runtime/worker_pool.h"
#include "scaffold/closed_surface.h"
#include "slicing/shapes.h"

namespace stiltforge::scaffold {
namespace {

using slicing::box;
using slicing::TriangleMesh;

using Pillars = std::vector<std::optional<Pillar>>;
using Pairs = std::set<std::pair<std::size_t, std::size_t>>;

Pillar pillarAt(double x, double y, double top = 30, double radius = 0.5) {
  return {x, y, 0.5, top, radius};
}

std::vector<Brace> braced(const Pillars& pillars, const slicing::Soup& part,
                          const Settings& settings = {}) {
  const TriangleIndex index(TriangleMesh::fromSoup(part));
  return bracesBetween(pillars, index, settings);
}

// Far from everything.
const slicing::Soup elsewhere = box({900, 900, 0}, {910, 910, 10});

Pairs pairsOf(const std::vector<Brace>& braces) {
  Pairs pairs;
  for (const Brace& brace : braces) pairs.insert({brace.first, brace.second});
  return pairs;
}

TEST(Brace, RisesBy45DegreesFromOnePillarToTheOther) {
  const Pillars pillars{pillarAt(0, 0), pillarAt(6, 0)};
  const std::vector<Brace> braces = braced(pillars, elsewhere);
  ASSERT_EQ(braces.size(), 4u);
  double before = 100;
  bool endsAtFirst = false;
  for (const Brace& brace : braces) {
    const auto& [low, lowRadius] = brace.rings.front();
    const auto& [high, highRadius] = brace.rings.back();
    EXPECT_DOUBLE_EQ(high.z - low.z, 6);
    EXPECT_DOUBLE_EQ(high.x, endsAtFirst ? 0 : 6) << "they zigzag";
    EXPECT_DOUBLE_EQ(low.x, endsAtFirst ? 6 : 0);
    EXPECT_LE(high.z, before);
    EXPECT_GE(low.z - lowRadius, 0.5);
    EXPECT_LE(high.z + highRadius, 30);
    EXPECT_LT(highRadius, 0.45) << "ends inside the pillar";
    before = low.z + 1e-9;
    endsAtFirst = !endsAtFirst;
  }
  EXPECT_DOUBLE_EQ(braces.front().rings.back().centre.z, 29.7) << "the highest holds the top";
}

TEST(Brace, IsAClosedSurface) {
  const std::vector<Brace> braces = braced({pillarAt(0, 0), pillarAt(4, 3)}, elsewhere);
  ASSERT_FALSE(braces.empty());
  for (const Brace& brace : braces) {
    std::vector<Triangle> shell;
    appendShell(brace.rings, shell);
    EXPECT_TRUE(isClosed(shell));
    EXPECT_GT(volumeOf(shell), 0);
  }
}

TEST(Brace, IsOnlyBetweenSlenderPillarsWithinReach) {
  EXPECT_TRUE(braced({pillarAt(0, 0), pillarAt(11, 0)}, elsewhere).empty()) << "too far";
  EXPECT_TRUE(braced({pillarAt(0, 0), pillarAt(5, 0, 9)}, elsewhere).empty()) << "not slender";
  EXPECT_TRUE(braced({pillarAt(0, 0), pillarAt(0.9, 0)}, elsewhere).empty()) << "they touch";
  EXPECT_TRUE(braced({pillarAt(0, 0), std::nullopt, pillarAt(11, 0)}, elsewhere).empty());
  EXPECT_EQ(pairsOf(braced({pillarAt(0, 0), std::nullopt, pillarAt(5, 0)}, elsewhere)),
            Pairs({{0, 2}}));
  Settings settings;
  settings.braceReach = 4;
  EXPECT_TRUE(braced({pillarAt(0, 0), pillarAt(5, 0)}, elsewhere, settings).empty());
  settings.braceReach = 0;
  EXPECT_TRUE(braced({pillarAt(0, 0), pillarAt(1.5, 0)}, elsewhere, settings).empty());
}

TEST(Brace, ConnectsNeighboursBetweenWhichNoOtherStands) {
  // A row, and a square with a pillar in its middle.
  EXPECT_EQ(pairsOf(braced({pillarAt(0, 0), pillarAt(3, 0), pillarAt(6, 0)}, elsewhere)),
            Pairs({{0, 1}, {1, 2}}));
  EXPECT_EQ(pairsOf(braced(
                {pillarAt(0, 0), pillarAt(6, 0), pillarAt(6, 6), pillarAt(0, 6), pillarAt(3, 3)},
                elsewhere)),
            Pairs({{0, 4}, {1, 4}, {2, 4}, {3, 4}}));
  EXPECT_EQ(
      pairsOf(braced({pillarAt(0, 0), pillarAt(6, 0), pillarAt(6, 6), pillarAt(0, 6)}, elsewhere)),
      Pairs({{0, 1}, {1, 2}, {2, 3}, {0, 3}}))
      << "no diagonals";
}

TEST(Brace, KeepsClearOfThePart) {
  const Pillars pillars{pillarAt(0, 0), pillarAt(6, 0)};
  // A wall between the pillars, from 10 to 16 mm.
  const slicing::Soup wall = box({2.5F, -5, 10}, {3.5F, 5, 16});
  const TriangleIndex index(TriangleMesh::fromSoup(wall));
  const Settings settings;
  const std::vector<Brace> braces = bracesBetween(pillars, index, settings);
  EXPECT_GT(braces.size(), 0u);
  EXPECT_LT(braces.size(), braced(pillars, elsewhere).size());
  for (const Brace& brace : braces) {
    const double room = brace.rings[0].radius + settings.clearance;
    EXPECT_TRUE(index.isFree(brace.rings[0].centre, brace.rings[1].centre, room));
  }
}

TEST(Brace, GoesToAnotherNeighbourWhereTheNearestIsOutOfReach) {
  // 1 stands between 0 and 2, behind a wall.
  const Pillars pillars{pillarAt(0, 0), pillarAt(3, 2), pillarAt(6, 0)};
  const slicing::Soup walls =
      slicing::joined({box({-2, 1, 0}, {8, 1.2F, 40}), box({-2, 2.8F, 0}, {8, 3, 40})});
  EXPECT_EQ(pairsOf(braced(pillars, walls)), Pairs({{0, 2}}));
}

TEST(Brace, HoldsTheLowerOfTwoPillarsAtItsTop) {
  for (const bool isFirstLower : {false, true}) {
    const Pillars pillars{pillarAt(0, 0, isFirstLower ? 15 : 40),
                          pillarAt(5, 0, isFirstLower ? 40 : 15)};
    const std::vector<Brace> braces = braced(pillars, elsewhere);
    ASSERT_FALSE(braces.empty());
    EXPECT_EQ(braces[0].rings.back().centre.x, isFirstLower ? 0 : 5);
    EXPECT_NEAR(braces[0].rings.back().centre.z, 14.7, 1e-9);
  }
}

TEST(Brace, LeavesNoPillarAloneThatHasANeighbourWithinReach) {
  std::vector<std::optional<Pillar>> pillars;
  uint32_t state = 7;
  const auto next = [&] {
    state = state * 1664525U + 1013904223U;
    return static_cast<double>(state >> 8) / (1 << 24);
  };
  for (int i = 0; i < 400; ++i) pillars.emplace_back(pillarAt(200 * next(), 200 * next()));
  const std::vector<Brace> first = braced(pillars, elsewhere);
  const Pairs pairs = pairsOf(first);
  for (std::size_t i = 0; i < pillars.size(); ++i) {
    bool hasNeighbour = false;
    bool isBraced = false;
    for (std::size_t k = 0; k < pillars.size(); ++k) {
      const double away = std::hypot(pillars[i]->x - pillars[k]->x, pillars[i]->y - pillars[k]->y);
      hasNeighbour = hasNeighbour || (k != i && away > 1 && away < 10);
      isBraced = isBraced || pairs.count(std::minmax(i, k)) > 0;
    }
    EXPECT_TRUE(isBraced || !hasNeighbour) << i;
  }
  EXPECT_LT(pairs.size(), 2 * pillars.size()) << "few are enough";
  for (const int count : {1, 3}) {
    workers::setCount(count);
    const std::vector<Brace> again = braced(pillars, elsewhere);
    ASSERT_EQ(again.size(), first.size());
    for (std::size_t i = 0; i < first.size(); ++i) {
      EXPECT_EQ(again[i].rings[0].centre.z, first[i].rings[0].centre.z);
      EXPECT_EQ(again[i].second, first[i].second);
    }
  }
  workers::shutdown();
}

TEST(Pillar, IsTheLongestUprightPieceOfASupport) {
  EXPECT_FALSE(pillarOf({{{0, 0, 0}, 1}, {{0, 0, 5}, 0.2}, {{1, 0, 6}, 0.2}}));
  const auto pillar = pillarOf({{{3, 4, 0}, 1.5},
                                {{3, 4, 0.5}, 0.5},
                                {{3, 4, 12}, 0.5},
                                {{8, 4, 17}, 0.5},
                                {{8, 4, 20}, 0.5},
                                {{8, 4, 22}, 0.2}});
  ASSERT_TRUE(pillar);
  EXPECT_EQ(pillar->x, 3);
  EXPECT_EQ(pillar->bottom, 0.5);
  EXPECT_EQ(pillar->top, 12);
  EXPECT_EQ(pillar->radius, 0.5);
  EXPECT_TRUE(pillar->isSlender());
}

}  // namespace
}  // namespace stiltforge::scaffold
