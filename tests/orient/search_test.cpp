#include "orient/search.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "runtime/worker_pool.h"
#include "slicing/shapes.h"
#include "slicing/slicing_error.h"

namespace stiltforge::orient {
namespace {

using slicing::box;
using slicing::joined;
using slicing::SlicingError;
using slicing::Soup;
using slicing::Vertex;

// Fewer directions than a person would try: the shapes are simple.
SearchSettings quick() {
  SearchSettings settings;
  settings.print.pixelSize = settings.print.layerHeight = 0.4;
  settings.print.screenWidth = settings.print.screenHeight = 1000;
  settings.spread = 40;
  settings.seeds = 2;
  settings.rounds = 2;
  settings.listed = 3;
  settings.confirm = false;
  return settings;
}

// A tilt that no flat side of a shape has by itself.
Soup tilted(const Soup& soup) {
  return turned(soup, {25, 35, 10});
}

// Radius 10 at z = 0, its tip at z = 25.
Soup cone() {
  Soup soup;
  constexpr int segments = 32;
  const auto rim = [](int i) {
    const double angle = 2 * std::numbers::pi * (i % segments) / segments;
    return Vertex{static_cast<float>(10 * std::cos(angle)),
                  static_cast<float>(10 * std::sin(angle)), 0};
  };
  for (int i = 0; i < segments; ++i) {
    slicing::append(soup, {rim(i), rim(i + 1), Vertex{0, 0, 25}});
    slicing::append(soup, {rim(i + 1), rim(i), Vertex{0, 0, 0}});
  }
  return soup;
}

// A wall of 2 mm around 16 x 16 x 10 mm that are open at the top.
Soup bowl() {
  return joined({box({0, 0, 0}, {20, 20, 2}), box({0, 0, 1}, {2, 20, 12}),
                 box({18, 0, 1}, {20, 20, 12}), box({0, 0, 1}, {20, 2, 12}),
                 box({0, 18, 1}, {20, 20, 12})});
}

Soup table() {
  return joined({box({0, 0, 10}, {20, 20, 12}), box({0, 0, 0}, {3, 3, 11}),
                 box({17, 0, 0}, {20, 3, 11}), box({0, 17, 0}, {3, 20, 11}),
                 box({17, 17, 0}, {20, 20, 11})});
}

const Orientation& bestOf(const SearchResult& result) {
  return result.best.at(0);
}

Soup standing(const Soup& soup, const Orientation& orientation) {
  return turned(soup, orientation.turn);
}

TEST(Orient, LaysABoxFlat) {
  const SearchResult result = search(tilted(box({0, 0, 0}, {20, 14, 8})), quick());
  EXPECT_EQ(bestOf(result).origin, Origin::flatSide);
  EXPECT_EQ(bestOf(result).measures.points, 0u);
  EXPECT_NEAR(bestOf(result).measures.height, 8, 0.01);
  ASSERT_TRUE(result.asItIs);
  EXPECT_GT(result.asItIs->measures.points, 0u);
  EXPECT_GT(result.asItIs->cost, bestOf(result).cost);
}

TEST(Orient, StandsAConeOnItsBase) {
  const SearchResult result = search(tilted(cone()), quick());
  EXPECT_EQ(bestOf(result).measures.points, 0u);
  EXPECT_NEAR(bestOf(result).measures.height, 25, 0.05);
}

TEST(Orient, LaysAnLOnItsSide) {
  const Soup l = joined({box({0, 0, 0}, {20, 5, 4}), box({0, 0, 0}, {4, 5, 30})});
  const SearchResult result = search(tilted(l), quick());
  EXPECT_EQ(bestOf(result).measures.points, 0u);
  EXPECT_NEAR(bestOf(result).measures.height, 5, 0.01);
}

TEST(Orient, TurnsATableUpsideDown) {
  const SearchResult result = search(table(), quick());
  EXPECT_EQ(bestOf(result).measures.points, 0u);
  EXPECT_LT(Rotation(bestOf(result).turn).apply({0, 0, 1}).z, -0.99);
  EXPECT_GT(result.asItIs->measures.overhang, 200);
}

TEST(Orient, LeavesWhatStandsWell) {
  const SearchResult result = search(cone(), quick());
  EXPECT_EQ(bestOf(result).turn, Turn());
  EXPECT_EQ(bestOf(result).origin, Origin::asItIs);
}

TEST(Orient, MeasuresTheCupsOfABowl) {
  const PrintSettings print = quick().print;
  const double held = 16 * 16 * 10;
  EXPECT_NEAR(measure(bowl(), {print})->measures.cups, held, 0.05 * held);
  EXPECT_NEAR(measure(turned(bowl(), {180, 0, 0}), {print})->measures.cups, held, 0.05 * held);
  EXPECT_EQ(measure(turned(bowl(), {90, 0, 0}), {print})->measures.cups, 0);
}

TEST(Orient, TiltsABowlWhenCupsWeighMost) {
  SearchSettings settings = quick();
  settings.weights = {0, 0, 0, 0, 1, 0};
  EXPECT_EQ(bestOf(search(bowl(), settings)).measures.cups, 0);
}

TEST(Orient, PrefersWhatWeighsMost) {
  const Soup slab = box({0, 0, 0}, {5, 20, 30});
  SearchSettings settings = quick();
  settings.weights = {0, 0, 0, 1, 0, 0};
  EXPECT_NEAR(bestOf(search(slab, settings)).measures.height, 5, 0.01);
}

TEST(Orient, KeepsASideClean) {
  // Every face of a cube is as good as another but for the side to be kept clean.
  const Soup cube = box({0, 0, 0}, {10, 10, 10});
  for (const Vector& side : {Vector{0, 0, -1}, Vector{0, -3, 0}, Vector{1, 0, 0}}) {
    SearchSettings settings = quick();
    settings.keepClean = side;
    const SearchResult result = search(cube, settings);
    EXPECT_EQ(bestOf(result).measures.marks, 0);
    EXPECT_LT(dot(Rotation(bestOf(result).turn).down(), side), 0.1);
  }
  SearchSettings settings = quick();
  settings.keepClean = Vector{0, 0, -1};
  EXPECT_EQ(search(cube, settings).asItIs->measures.marks, 100);
}

TEST(Orient, ListsTheBestFirstAndNoTwoAlike) {
  SearchSettings settings = quick();
  settings.confirm = true;
  const SearchResult result = search(table(), settings);
  ASSERT_EQ(result.best.size(), 3u);
  for (std::size_t i = 1; i < result.best.size(); ++i) {
    EXPECT_LE(result.best[i - 1].cost, result.best[i].cost);
    EXPECT_GT(angleBetween(Rotation(result.best[i - 1].turn).down(),
                           Rotation(result.best[i].turn).down()),
              5);
  }
}

TEST(Orient, ConfirmsWhatThePrintWillBe) {
  SearchSettings settings = quick();
  settings.confirm = true;
  settings.print.pixelSize = settings.print.layerHeight = 0.4;
  settings.print.screenWidth = settings.print.screenHeight = 2000;
  settings.spread = 10;
  const Soup part = tilted(table());
  const SearchResult result = search(part, settings);
  EXPECT_GT(result.pixelSize, 0.05);
  const auto printed = measure(standing(part, bestOf(result)), {settings.print});
  EXPECT_EQ(bestOf(result).measures.points, printed->measures.points);
  EXPECT_EQ(bestOf(result).measures.overhang, printed->measures.overhang);
}

TEST(Orient, TellsWhereTheSupportsAre) {
  const auto measured = measure(table(), {quick().print});
  EXPECT_EQ(measured->supports.size(), measured->measures.points);
  for (const Support& support : measured->supports) {
    EXPECT_NEAR(support.z, 10, 0.2) << "under the slab";
    EXPECT_TRUE(support.x > 0 && support.x < 20 && support.y > 0 && support.y < 20);
  }
  const SearchResult result = search(table(), quick());
  EXPECT_EQ(result.asItIs->supports.size(), result.asItIs->measures.points);
}

TEST(Orient, HoldsTheBottomOfALiftedPart) {
  PrintSettings print = quick().print;
  const Soup slab = box({0, 0, 0}, {20, 20, 3});
  EXPECT_EQ(measure(slab, {print})->supports.size(), 0u);
  print.lift = 4;
  const auto lifted = measure(slab, {print});
  EXPECT_GE(lifted->supports.size(), 9u) << "supports all over it";
  for (const Support& support : lifted->supports) EXPECT_NEAR(support.z, 0, 1e-9);
  EXPECT_EQ(lifted->measures.islands, 1u);
}

TEST(Orient, KeepsToTheScreen) {
  SearchSettings settings = quick();
  settings.print.screenWidth = 50;
  settings.print.screenHeight = 100;
  const Soup bar = box({0, 0, 0}, {38, 10, 6});
  const SearchResult result = search(bar, settings);
  EXPECT_FALSE(result.asItIs) << "38 mm on 20 mm";
  const slicing::Bounds bounds =
      slicing::TriangleMesh::fromSoup(standing(bar, bestOf(result))).bounds;
  EXPECT_LE(bounds.max.x - bounds.min.x, 20);
  EXPECT_LE(bounds.max.y - bounds.min.y, 40);
}

TEST(Orient, SpinsWhatLiesAcrossTheScreen) {
  SearchSettings settings = quick();
  settings.print.screenWidth = 30;
  settings.print.screenHeight = 100;
  const SearchResult result = search(box({0, 0, 0}, {38, 10, 4}), settings);
  EXPECT_FALSE(result.asItIs);
  EXPECT_EQ(bestOf(result).turn, (Turn{0, 0, 90}));
}

TEST(Orient, FindsTheSameWithAnyNumberOfWorkers) {
  const int count = workers::count();
  std::vector<SearchResult> results;
  for (const int n : {1, 2, 5}) {
    workers::setCount(n);
    results.push_back(search(tilted(table()), quick()));
  }
  workers::setCount(count);
  for (const SearchResult& result : results) {
    ASSERT_EQ(result.best.size(), results[0].best.size());
    EXPECT_EQ(result.tried, results[0].tried);
    for (std::size_t i = 0; i < result.best.size(); ++i) {
      EXPECT_EQ(result.best[i].turn, results[0].best[i].turn);
      EXPECT_EQ(result.best[i].cost, results[0].best[i].cost);
    }
  }
}

TEST(Orient, TellsHowFarItIs) {
  std::size_t last = 0;
  std::size_t total = 0;
  SearchSettings settings = quick();
  settings.confirm = true;
  search(table(), settings, [&](std::size_t done, std::size_t all) {
    EXPECT_EQ(done, last + 1);
    EXPECT_LE(done, all);
    last = done;
    total = all;
  });
  EXPECT_EQ(last, total);
  EXPECT_GT(last, 40u);
}

TEST(Orient, EndsWhenItIsCancelled) {
  std::atomic<bool> cancelled{true};
  EXPECT_THROW(search(table(), quick(), {}, &cancelled), Cancelled);
  cancelled = false;
  std::size_t tried = 0;
  EXPECT_THROW(search(
                   table(), quick(),
                   [&](std::size_t done, std::size_t) {
                     tried = done;
                     cancelled = true;
                   },
                   &cancelled),
               Cancelled);
  EXPECT_LT(tried, 20u);
}

TEST(Orient, RefusesWhatIsNoSolid) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_THROW(search(std::vector<float>{}, quick()), SlicingError);
  EXPECT_THROW(search(std::vector<float>(9, nan), quick()), SlicingError);
  EXPECT_THROW(search(std::vector<float>(9, 1.0F), quick()), SlicingError);
  EXPECT_THROW(search(std::vector<float>(10, 1.0F), quick()), SlicingError);
  EXPECT_THROW(search(std::vector<float>{0, 0, 0, 20, 0, 0, 0, 20, 0}, quick()), SlicingError);
}

TEST(Orient, RefusesWhatFitsInNoWay) {
  try {
    search(box({0, 0, 0}, {500, 500, 500}), quick());
    FAIL();
  } catch (const SlicingError& error) {
    EXPECT_STREQ(error.what(),
                 "The part does not fit on the screen in any orientation. Scale it down or take a "
                 "larger screen.");
  }
  EXPECT_THROW(search(box({-1e30F, 0, 0}, {1e30F, 1, 1}), quick()), SlicingError);
}

TEST(Orient, RefusesSettingsThatMakeNoSense) {
  const auto refused = [](auto change) {
    SearchSettings settings = quick();
    change(settings);
    EXPECT_THROW(search(table(), settings), SlicingError);
  };
  refused([](SearchSettings& s) { s.print.pixelSize = 0; });
  refused([](SearchSettings& s) { s.weights.points = -1; });
  refused([](SearchSettings& s) { s.weights.cups = std::nan(""); });
  refused([](SearchSettings& s) { s.keepClean = Vector{0, 0, 0}; });
  refused([](SearchSettings& s) { s.spread = 0; });
}

}  // namespace
}  // namespace stiltforge::orient
