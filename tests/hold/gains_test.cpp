#include "hold/gains.h"

#include <gtest/gtest.h>

#include "core/random.h"
#include "generated_part.h"
#include "hold/specks.h"

namespace stiltforge::hold {
namespace {

TEST(GainsProperty, AreWhatEachPlaceWouldGainWhicheverPointsComeAndGo) {
  Random random(92);
  int taken = 0;
  for (int i = 0; i < 1000; ++i) {
    SurveySettings settings = unitSettings();
    settings.minimumHeight = random.below(3);
    settings.sampleSize = 1 + random.below(3);
    settings.steepness = 0.25 * random.below(4);
    const Survey survey = randomPart(random).survey(settings);
    const double reach = random.below(6);
    const Scale scale{settings.pixelSize, settings.layerHeight};
    PointGrid samples(scale, 3, survey.width(), survey.height());
    for (const OverhangSample& sample : survey.samples()) samples.add(sample.place);
    Bodies bodies(survey.tracks(), random.below(3));
    const std::vector<uint8_t> isSpeck = specksOf(survey, 1);
    Coverage coverage(survey, samples, bodies, isSpeck, reach);
    const auto isWanted = [](std::size_t place) { return place % 5 != 0; };
    Gains gains(survey, samples, coverage, bodies, isWanted);
    for (uint32_t s = 0; s < samples.size(); s += 1 + random.below(4)) {
      gains.take(coverage.add(samples[s]));
      if (random.below(3) == 0) gains.giveBack(coverage.remove(samples[s]));
      ++taken;
      for (uint32_t place = 0; place < samples.size(); ++place) {
        const uint64_t gain = isWanted(place) ? coverage.gainOf(samples[place]) : 0;
        ASSERT_EQ(gains.of(place), gain) << "part " << i << ", place " << place;
      }
    }
  }
  EXPECT_GE(taken, 1000);
}

}  // namespace
}  // namespace stiltforge::hold
