#include "hold/cover.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "generated_part.h"
#include "hold/point_grid.h"

namespace stiltforge::hold {
namespace {

TEST(Cover, OfNoOverhangIsEmpty) {
  Part part;
  part.addLayers(2, {"+++"});
  EXPECT_EQ(coverSize(part.survey(unitSettings()), 3, 1), 0u);
}

TEST(Cover, NeedsAPointForEachStretchOfTwiceTheReach) {
  Part part;
  part.addLayers(3, {std::string(21, '.')});
  part.addLayer({std::string(21, '#')});
  const Survey survey = part.survey(unitSettings());
  EXPECT_EQ(coverSize(survey, 3, 1), 3u);
  EXPECT_EQ(coverSize(survey, 3, 0.6), 2u);
  EXPECT_EQ(coverSize(survey, 3, 0), 0u);
}

// Every pixel tried for every point.
std::size_t plainCover(const Survey& survey, double reach, double share) {
  const Scale scale = survey.scale();
  std::vector<Place> open;
  for (uint32_t layer = 0; layer < survey.layerCount(); ++layer) {
    for (const OverhangRun& run : survey.overhang(layer)) {
      for (uint16_t x = run.begin; x < run.end; ++x) {
        Place place;
        place.layer = layer;
        place.x = x;
        place.y = run.y;
        open.push_back(place);
      }
    }
  }
  const std::vector<Place> all = open;
  std::size_t points = 0;
  while (static_cast<double>(all.size() - open.size()) < share * static_cast<double>(all.size())) {
    std::size_t most = 0;
    Place best;
    for (const Place& candidate : all) {
      const auto gain =
          static_cast<std::size_t>(std::count_if(open.begin(), open.end(), [&](const Place& p) {
            return scale.squaredDistance(candidate, p) <= reach * reach;
          }));
      if (gain <= most) continue;
      most = gain;
      best = candidate;
    }
    std::erase_if(open,
                  [&](const Place& p) { return scale.squaredDistance(best, p) <= reach * reach; });
    ++points;
  }
  return points;
}

TEST(CoverProperty, EqualsAChoiceAmongAllPixels) {
  Random random(82);
  for (int i = 0; i < 500; ++i) {
    const Survey survey = randomPart(random).survey(unitSettings());
    const double reach = 1 + 0.5 * random.below(12);
    const double share = 0.1 * random.below(11);
    ASSERT_EQ(coverSize(survey, reach, share), plainCover(survey, reach, share)) << "part " << i;
  }
}

}  // namespace
}  // namespace stiltforge::hold
