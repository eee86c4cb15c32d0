#include "hold/bodies.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "part.h"

namespace stiltforge::hold {
namespace {

// A place in the region at that pixel.
Place placeIn(const Survey& survey, uint32_t layer, uint16_t x) {
  for (const Island& island : survey.islands()) {
    if (island.place.x != x) continue;
    Place place = island.place;
    place.layer = layer;
    return place;
  }
  return {};
}

TEST(Bodies, AreOneWhereMaterialJoinsThemSoon) {
  Part part;
  part.addLayer({"....."});
  part.addLayers(4, {"#...#"});
  part.addLayer({"#####"});
  const Survey survey = part.survey(unitSettings());
  Bodies bodies(survey.tracks(), 2);
  EXPECT_TRUE(bodies.areOne(placeIn(survey, 3, 0), placeIn(survey, 2, 4)));
  EXPECT_FALSE(bodies.areOne(placeIn(survey, 2, 0), placeIn(survey, 2, 4)));
}

// Pillars beside a body whose regions join and part in every other layer.
TEST(Bodies, KeepToWhatTheySaidWhenSearchesBecomeTooMany) {
  constexpr uint16_t toothCount = 48;
  constexpr uint16_t pillarCount = 12;
  constexpr uint32_t layers = 120;
  std::string teeth;
  for (int i = 0; i < toothCount + pillarCount; ++i) teeth += "#.";
  std::string bar = teeth;
  for (int i = 0; i < toothCount - 1; ++i) bar[2 * i + 1] = '#';
  Part part;
  part.addLayer({std::string(teeth.size(), '.')});
  for (uint32_t i = 0; i < layers / 2; ++i) {
    part.addLayer({teeth});
    part.addLayer({bar});
  }
  const Survey survey = part.survey(unitSettings());
  Bodies bodies(survey.tracks(), layers);
  const auto isJoined = [&](uint16_t tooth, uint16_t pillar) {
    return bodies.areOne(placeIn(survey, 1, 2 * tooth),
                         placeIn(survey, 1, 2 * (toothCount + pillar)));
  };
  ASSERT_FALSE(isJoined(0, 0));
  bool areTooMany = false;
  for (uint16_t tooth = 0; tooth < toothCount; ++tooth) {
    for (uint16_t pillar = 0; pillar < pillarCount; ++pillar) areTooMany |= isJoined(tooth, pillar);
  }
  ASSERT_TRUE(areTooMany);
  EXPECT_FALSE(isJoined(0, 0));
}

}  // namespace
}  // namespace stiltforge::hold
