#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "core/random.h"
#include "generated_part.h"
#include "hold/bodies.h"
#include "hold/finisher.h"
#include "hold/judge.h"
#include "hold/specks.h"
#include "runtime/worker_pool.h"

namespace stiltforge::hold {
namespace {

SurveySettings randomSurvey(Random& random) {
  SurveySettings settings;
  settings.pixelSize = 0.05 * (1 + random.below(4));
  settings.layerHeight = 0.025 * (1 + random.below(6));
  settings.minimumHeight = 0.1 * random.below(4);
  settings.sampleHeight = 0.1 * random.below(4);
  settings.sampleSize = 0.1 * (1 + random.below(5));
  settings.steepness = 0.25 * random.below(5);
  return settings;
}

FinishSettings randomFinish(Random& random) {
  FinishSettings settings = FinishSettings::forSupportArea(0.02 * (1 + random.below(20)));
  settings.islandHeight = 0.05 * random.below(8);
  settings.share = 0.2 * random.below(6);
  return settings;
}

void addPoints(Random& random, Part& part) {
  for (int i = 0; i < 30; ++i) {
    const uint32_t layer = random.below(static_cast<uint32_t>(part.slices.size()));
    const Slice& slice = part.slices[layer];
    part.addPoint(layer, static_cast<int>(random.below(slice.width)),
                  static_cast<int>(random.below(slice.height)));
  }
}

bool isSupportable(const Survey& survey, const Place& place) {
  return place.hasRoom && !survey.isSealed(place.space);
}

// What holds of the finished points of any part.
void expectFinished(const Survey& survey, const Finished& finished,
                    const FinishSettings& settings) {
  const std::vector<Site>& analysed = survey.points();
  std::vector<int> seen(analysed.size(), 0);
  std::tuple<uint32_t, uint16_t, uint16_t> last;
  for (const FinishedPoint& point : finished.points) {
    const Place& place = point.site.place;
    EXPECT_TRUE(isSupportable(survey, place));
    EXPECT_EQ(point.site.touches, Site::Touches::overhang);
    EXPECT_LE(last, std::tie(place.layer, place.y, place.x));
    last = std::tie(place.layer, place.y, place.x);
    const bool isAdded =
        point.reason == Reason::addedForIsland || point.reason == Reason::addedForOverhang;
    EXPECT_EQ(isAdded, point.analysed == FinishedPoint::none);
    if (!isAdded) ++seen[point.analysed];
    EXPECT_TRUE(std::is_sorted(point.mergedIn.begin(), point.mergedIn.end()));
    if (!isAdded) {
      EXPECT_EQ(point.reason == Reason::merged, !point.mergedIn.empty());
    }
  }
  for (const DroppedPoint& dropped : finished.dropped) {
    ++seen[dropped.analysed];
    EXPECT_EQ(dropped.reason == DropReason::merged, dropped.into != FinishedPoint::none);
    if (dropped.reason != DropReason::merged) continue;
    const std::vector<uint32_t>& merged = finished.points.at(dropped.into).mergedIn;
    EXPECT_TRUE(std::binary_search(merged.begin(), merged.end(), dropped.analysed));
  }
  EXPECT_TRUE(std::all_of(seen.begin(), seen.end(), [](int times) { return times == 1; }));

  JudgeSettings limits;
  limits.spacing = settings.spacing;
  limits.islandHeight = settings.islandHeight;
  const Verdict verdict = judge(survey, finished.sites(), limits);
  const double islandLayers = settings.islandHeight / survey.settings().layerHeight;
  const std::vector<uint8_t> isSpeck = specksOf(survey, static_cast<uint32_t>(islandLayers + 1e-9));
  for (uint32_t i = 0; i < verdict.islands.size(); ++i) {
    const IslandVerdict& island = verdict.islands[i];
    if (island.isHeld()) continue;
    EXPECT_TRUE(std::binary_search(finished.islandsLeft.begin(), finished.islandsLeft.end(), i));
    const Place& place = island.island.place;
    EXPECT_TRUE(isSpeck[place.track] != 0 || !isSupportable(survey, place));
  }
}

bool areSame(const Finished& a, const Finished& b) {
  const auto same = [](const FinishedPoint& p, const FinishedPoint& q) {
    return p.reason == q.reason && p.analysed == q.analysed && p.mergedIn == q.mergedIn &&
           p.site.place.layer == q.site.place.layer && p.site.place.x == q.site.place.x &&
           p.site.place.y == q.site.place.y;
  };
  return std::equal(a.points.begin(), a.points.end(), b.points.begin(), b.points.end(), same) &&
         a.islandsLeft == b.islandsLeft;
}

TEST(FinisherProperty, HoldsEveryIslandAndAccountsForEveryPoint) {
  Random random(84);
  int added = 0;
  int merged = 0;
  int dropped = 0;
  for (int i = 0; i < 6000; ++i) {
    Part part = randomPart(random);
    addPoints(random, part);
    const Survey survey = part.survey(randomSurvey(random));
    const FinishSettings settings = randomFinish(random);
    const Finished finished = finish(survey, settings);
    expectFinished(survey, finished, settings);
    if (testing::Test::HasFailure()) FAIL() << "part " << i;
    for (const FinishedPoint& point : finished.points) {
      added += point.reason == Reason::addedForIsland ? 1 : 0;
      merged += point.reason == Reason::merged ? 1 : 0;
    }
    dropped += finished.dropped.empty() ? 0 : 1;
  }
  EXPECT_GE(std::min({added, merged, dropped}), 200);
}

TEST(FinisherProperty, ComesToAnEndWithAPartOfNothingButCrumbs) {
  Random random(88);
  Part part;
  part.addLayers(5, Rows(70, std::string(70, '.')));
  for (int layer = 0; layer < 12; ++layer) {
    Rows rows(70, std::string(70, '.'));
    for (std::string& row : rows) {
      for (char& c : row) c = random.oneIn(8) ? '#' : '.';
    }
    part.addLayer(rows);
  }
  SurveySettings settings;
  settings.pixelSize = settings.layerHeight = 0.05;
  const Survey survey = part.survey(settings);
  const FinishSettings finishing = FinishSettings::forSupportArea(15);
  const Finished finished = finish(survey, finishing);
  EXPECT_GT(finished.points.size(), 500u);
  expectFinished(survey, finished, finishing);
}

TEST(FinisherProperty, IsTheSameForAnyNumberOfWorkers) {
  const int workersBefore = workers::count();
  Random random(85);
  for (int i = 0; i < 200; ++i) {
    const Part part = randomPart(random);
    const SurveySettings survey = randomSurvey(random);
    const FinishSettings settings = randomFinish(random);
    workers::setCount(1);
    const Finished one = finish(part.survey(survey), settings);
    workers::setCount(4);
    EXPECT_TRUE(areSame(finish(part.survey(survey), settings), one)) << "part " << i;
  }
  workers::setCount(workersBefore);
}

TEST(FinisherProperty, KeepsPointsOfABodyApartThatHoldNoIsland) {
  Random random(86);
  for (int i = 0; i < 3000; ++i) {
    const Part part = randomPart(random);
    const Survey survey = part.survey(randomSurvey(random));
    if (!survey.islands().empty()) continue;
    const FinishSettings settings = randomFinish(random);
    JudgeSettings limits;
    limits.spacing = settings.spacing;
    limits.islandHeight = settings.islandHeight;
    for (const ClosePair& pair :
         judge(survey, finish(survey, settings).sites(), limits).closePairs) {
      EXPECT_TRUE(pair.separate) << "part " << i;
    }
  }
}

TEST(BodiesProperty, RememberWhatIsJoined) {
  Random random(87);
  for (int i = 0; i < 500; ++i) {
    const Survey survey = randomPart(random).survey(randomSurvey(random));
    const RegionTracks& tracks = survey.tracks();
    const auto count = static_cast<uint32_t>(tracks.tracks().size());
    if (count == 0) continue;
    const uint32_t above = random.below(4);
    Bodies bodies(tracks, above);
    JoinedRegions regions(tracks);
    for (int query = 0; query < 100; ++query) {
      Place a;
      Place b;
      for (Place* const place : {&a, &b}) {
        place->track = random.below(count);
        const RegionTracks::Track& track = tracks.tracks()[place->track];
        place->layer = track.firstLayer + random.below(track.lastLayer - track.firstLayer + 1);
      }
      EXPECT_EQ(bodies.areOne(a, b), regions.areJoined(a.track, b.track, std::min(a.layer, b.layer),
                                                       std::max(a.layer, b.layer) + above));
    }
  }
}

}  // namespace
}  // namespace stiltforge::hold
