#include "hold/point_grid.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "core/random.h"

namespace stiltforge::hold {
namespace {

Place randomPlace(Random& random, uint32_t side, uint32_t layers) {
  Place place;
  place.layer = random.below(layers);
  place.x = static_cast<uint16_t>(random.below(side));
  place.y = static_cast<uint16_t>(random.below(side));
  return place;
}

struct RandomGrid {
  explicit RandomGrid(Random& random)
      : side(1 + random.below(60)),
        layers(1 + random.below(40)),
        scale{0.05 * (1 + random.below(4)), 0.05 * (1 + random.below(4))},
        grid(scale, 0.2 * (1 + random.below(10)), static_cast<uint16_t>(side),
             static_cast<uint16_t>(side)) {}

  uint32_t side;
  uint32_t layers;
  Scale scale;
  PointGrid grid;
};

TEST(PointGrid, ReachesNoMoreThanARunHoweverFarAPointReaches) {
  const stiltforge::Run run{2, 65535};
  for (const double pixelSize : {1e-6, 1e-300}) {
    PointGrid grid({pixelSize, pixelSize}, 1, 65535, 1);
    grid.add({});
    for (const double reach : {1.0, 1e6, 1e300}) {
      EXPECT_EQ(grid.reachedBy(0, run, 0, 0, reach), run) << pixelSize << ", " << reach;
    }
  }
}

TEST(PointGridProperty, FindsAllPointsWithinReachOfARunOnce) {
  Random random(91);
  for (int i = 0; i < 300; ++i) {
    auto [side, layers, scale, grid] = RandomGrid(random);
    const uint32_t count = random.below(200);
    for (uint32_t p = 0; p < count; ++p) grid.add(randomPlace(random, side, layers));
    for (uint32_t p = 0; p < count; p += 1 + random.below(5)) {
      grid.move(p, randomPlace(random, side, layers));
    }
    for (int search = 0; search < 20; ++search) {
      const Place at = randomPlace(random, side, layers);
      const stiltforge::Run run{at.x, static_cast<uint16_t>(at.x + 1 + random.below(side - at.x))};
      const double reach = 0.1 * random.below(40);
      std::vector<int> times(count, 0);
      grid.forEachNear(run, at.y, at.layer, reach, [&](uint32_t point) { ++times[point]; });
      for (uint32_t p = 0; p < count; ++p) {
        Place nearest = at;
        nearest.x = std::clamp(grid[p].x, run.begin, static_cast<uint16_t>(run.end - 1));
        const bool isNear = scale.squaredDistance(nearest, grid[p]) <= reach * reach;
        ASSERT_EQ(times[p], isNear ? 1 : 0) << "grid " << i << ", point " << p;
      }
    }
  }
}

TEST(PointGrid, TakesPixelsOfAnySize) {
  Place place;
  place.x = 40000;
  for (const double pixel : {1e-320, 1e-9, 1.0, 1e100}) {
    PointGrid grid({pixel, pixel}, 3, 65535, 1);
    grid.add(place);
    const stiltforge::Run run{39990, 65535};
    const stiltforge::Run reached = grid.reachedBy(0, run, 0, 0, 3);
    EXPECT_EQ(reached.begin, pixel > 3 ? 40000 : pixel < 1 ? 39990 : 39997);
    EXPECT_EQ(reached.end, pixel > 3 ? 40001 : pixel < 1 ? 65535 : 40004);
    int found = 0;
    grid.forEachNear(run, 0, 0, 3, [&](uint32_t) { ++found; });
    EXPECT_EQ(found, 1);
  }
}

TEST(PointGridProperty, FindsTheFirstOfTheNearestPointsWhateverIsGuessed) {
  Random random(92);
  for (int i = 0; i < 300; ++i) {
    auto [side, layers, scale, grid] = RandomGrid(random);
    const uint32_t count = random.below(60);
    for (uint32_t p = 0; p < count; ++p) grid.add(randomPlace(random, side, layers));
    for (int search = 0; search < 20; ++search) {
      const Place at = randomPlace(random, side, layers);
      PointGrid::Nearest expected;
      for (uint32_t p = 0; p < count; ++p) {
        const double squared = scale.squaredDistance(at, grid[p]);
        if (squared < expected.squaredDistance) expected = {p, squared};
      }
      const uint32_t guess = count == 0 || random.oneIn(3) ? Place::none : random.below(count);
      const PointGrid::Nearest found = grid.nearestTo(at, guess);
      ASSERT_EQ(found.point, expected.point) << "grid " << i;
      ASSERT_EQ(found.squaredDistance, expected.squaredDistance) << "grid " << i;
    }
  }
}

TEST(PointGridProperty, TellsWhichColumnsOfARunAPointReaches) {
  Random random(93);
  for (int i = 0; i < 300; ++i) {
    const uint32_t side = 1 + random.below(60);
    const Scale scale{0.05 * (1 + random.below(4)), 0.05 * (1 + random.below(4))};
    PointGrid grid(scale, 1, static_cast<uint16_t>(side), static_cast<uint16_t>(side));
    for (uint32_t p = 0; p < 20; ++p) grid.add(randomPlace(random, side, 10));
    const Place at = randomPlace(random, side, 10);
    const stiltforge::Run run{at.x, static_cast<uint16_t>(at.x + 1 + random.below(side - at.x))};
    const double reach = 0.1 * random.below(40);
    grid.forEachNear(run, at.y, at.layer, reach, [&](uint32_t point) {
      const stiltforge::Run reached = grid.reachedBy(point, run, at.y, at.layer, reach);
      EXPECT_EQ(grid.reachesAll(point, run, at.y, at.layer, reach), reached == run);
      for (Place pixel = at; pixel.x < run.end; ++pixel.x) {
        ASSERT_EQ(pixel.x >= reached.begin && pixel.x < reached.end,
                  scale.squaredDistance(pixel, grid[point]) <= reach * reach)
            << "grid " << i;
      }
    });
  }
}

}  // namespace
}  // namespace stiltforge::hold
