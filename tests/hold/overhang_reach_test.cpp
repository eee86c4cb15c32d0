#include "hold/overhang_reach.h"

#include <gtest/gtest.h>

#include <string>

#include "part.h"

namespace stiltforge::hold {
namespace {

// Of ten pixels that hang over nine lie further than a pixel from the pillar.
Survey plank() {
  Part part;
  part.addLayers(4, {"+" + std::string(10, '.')});
  part.addLayer({"+" + std::string(10, '#')});
  return part.survey(unitSettings());
}

Place placeAt(int x) {
  Place place;
  place.layer = 4;
  place.x = static_cast<uint16_t>(x);
  return place;
}

TEST(OverhangReach, TellsWhatAPointGainsAndLoses) {
  const Survey survey = plank();
  OverhangReach reach(survey, 2);
  EXPECT_EQ(reach.gainOf(placeAt(5)), 5u);
  reach.add(placeAt(5));
  EXPECT_EQ(reach.gainOf(placeAt(5)), 0u);
  EXPECT_EQ(reach.gainOf(placeAt(7)), 2u);
  EXPECT_EQ(reach.lossOf(placeAt(5)), 5u);
  reach.add(placeAt(7));
  EXPECT_EQ(reach.lossOf(placeAt(5)), 2u);
  reach.remove(placeAt(7));
  EXPECT_EQ(reach.lossOf(placeAt(5)), 5u);
}

TEST(OverhangReach, IsEnoughWithAShareOfAllOrOfWhatCanBeReached) {
  const Survey survey = plank();
  PointGrid places({1, 1}, 2, survey.width(), survey.height());
  for (int x = 2; x <= 10; ++x) places.add(placeAt(x));
  OverhangReach reach(survey, 2);
  reach.add(placeAt(4));
  reach.findReachable(places, [](uint32_t) { return true; });
  EXPECT_TRUE(reach.isEnough(5 / 9.0 - 1e-9));
  EXPECT_FALSE(reach.isEnough(5 / 9.0 - 1e-9, 1));
  EXPECT_FALSE(reach.isEnough(0.9));
  reach.findReachable(places, [](uint32_t) { return false; });
  EXPECT_TRUE(reach.isEnough(0.9)) << "no more can be reached";
}

TEST(OverhangReach, TellsWhereAPointWouldReachMore) {
  const Survey survey = plank();
  PointGrid places({1, 1}, 2, survey.width(), survey.height());
  for (const int x : {2, 4, 7}) places.add(placeAt(x));
  OverhangReach reach(survey, 2);
  reach.add(placeAt(4));
  EXPECT_EQ(reach.areNearOpen(places), (std::vector<uint8_t>{0, 0, 1}));
}

}  // namespace
}  // namespace stiltforge::hold
