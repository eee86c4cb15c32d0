#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "core/random.h"
#include "generated_part.h"
#include "plain_judge.h"
#include "runtime/worker_pool.h"

namespace stiltforge::hold {
namespace {

SurveySettings randomSurvey(Random& random) {
  SurveySettings settings;
  settings.pixelSize = 0.05 * (1 + random.below(4));
  settings.layerHeight = 0.025 * (1 + random.below(6));
  settings.minimumHeight = 0.1 * random.below(6);
  settings.tipRadius = 0.1 * random.below(4);
  return settings;
}

JudgeSettings randomJudge(Random& random) {
  JudgeSettings settings;
  settings.nearReach = 0.1 * random.below(12);
  settings.farReach = settings.nearReach + 0.1 * random.below(12);
  settings.spacing = 0.15 * random.below(8);
  settings.islandHeight = 0.05 * random.below(8);
  settings.leastWorstArea = random.below(2) * 0.01 * random.below(20);
  settings.worstPlaces = 1 + random.below(12);
  return settings;
}

void expectSame(const Surface& actual, const Surface& expected) {
  EXPECT_EQ(actual.pixels, expected.pixels);
  EXPECT_EQ(actual.beyondNear, expected.beyondNear);
  EXPECT_EQ(actual.beyondFar, expected.beyondFar);
}

void expectSame(const Verdict& actual, const Verdict& expected) {
  ASSERT_EQ(actual.islands.size(), expected.islands.size());
  for (std::size_t i = 0; i < actual.islands.size(); ++i) {
    EXPECT_EQ(actual.islands[i].island.place.layer, expected.islands[i].island.place.layer);
    EXPECT_EQ(actual.islands[i].island.pixels, expected.islands[i].island.pixels);
    EXPECT_EQ(actual.islands[i].takenIn, expected.islands[i].takenIn) << "island " << i;
  }
  expectSame(actual.supportable, expected.supportable);
  expectSame(actual.withoutRoom, expected.withoutRoom);
  expectSame(actual.sealed, expected.sealed);
  ASSERT_EQ(actual.worst.size(), expected.worst.size());
  for (std::size_t i = 0; i < actual.worst.size(); ++i) {
    EXPECT_EQ(actual.worst[i].layer, expected.worst[i].layer) << "place " << i;
    EXPECT_EQ(actual.worst[i].x, expected.worst[i].x) << "place " << i;
    EXPECT_EQ(actual.worst[i].y, expected.worst[i].y) << "place " << i;
    EXPECT_EQ(actual.worst[i].distance, expected.worst[i].distance) << "place " << i;
  }
  EXPECT_EQ(actual.inNoMaterial, expected.inNoMaterial);
  EXPECT_EQ(actual.onHeldMaterial, expected.onHeldMaterial);
  EXPECT_EQ(actual.pointsWithoutRoom, expected.pointsWithoutRoom);
  EXPECT_EQ(actual.pointsInSealedVoids, expected.pointsInSealedVoids);
  ASSERT_EQ(actual.closePairs.size(), expected.closePairs.size());
  for (std::size_t i = 0; i < actual.closePairs.size(); ++i) {
    EXPECT_EQ(actual.closePairs[i].first, expected.closePairs[i].first);
    EXPECT_EQ(actual.closePairs[i].second, expected.closePairs[i].second);
    EXPECT_EQ(actual.closePairs[i].distance, expected.closePairs[i].distance);
    EXPECT_EQ(actual.closePairs[i].separate, expected.closePairs[i].separate) << "pair " << i;
  }
}

// How often the generated parts show what the judge tells apart.
struct Sightings {
  int heldIslands = 0;
  int floatingIslands = 0;
  int overhangWithoutRoom = 0;
  int sealedVoids = 0;
  int pointsInSealedVoids = 0;
  int separatePairs = 0;
  int joinedPairs = 0;
  int severalWorst = 0;

  void add(const Verdict& verdict) {
    for (const IslandVerdict& island : verdict.islands) {
      ++(island.isHeld() ? heldIslands : floatingIslands);
    }
    overhangWithoutRoom += verdict.withoutRoom.pixels > 0 ? 1 : 0;
    sealedVoids += verdict.sealed.pixels > 0 ? 1 : 0;
    pointsInSealedVoids += verdict.pointsInSealedVoids.empty() ? 0 : 1;
    severalWorst += verdict.worst.size() > 1 ? 1 : 0;
    for (const ClosePair& pair : verdict.closePairs)
      ++(pair.separate ? separatePairs : joinedPairs);
  }
  int rarest() const {
    return std::min({heldIslands, floatingIslands, overhangWithoutRoom, sealedVoids,
                     pointsInSealedVoids, separatePairs, joinedPairs, severalWorst});
  }
};

TEST(JudgeProperty, EqualsAVerdictVoxelByVoxelForAnyNumberOfWorkers) {
  const int workersBefore = workers::count();
  Random random(81);
  Sightings sightings;
  for (int i = 0; i < 4000; ++i) {
    workers::setCount(1 + i % 3);
    const Part part = randomPart(random);
    const SurveySettings settings = randomSurvey(random);
    const JudgeSettings limits = randomJudge(random);
    const Survey survey = part.survey(settings);
    const Verdict verdict = judge(survey, survey.points(), limits);
    expectSame(verdict, judgePlainly(part, settings, limits, survey.samples()));
    if (testing::Test::HasFailure()) FAIL() << "part " << i;
    sightings.add(verdict);
  }
  workers::setCount(workersBefore);
  EXPECT_GE(sightings.rarest(), 20);
}

}  // namespace
}  // namespace stiltforge::hold
