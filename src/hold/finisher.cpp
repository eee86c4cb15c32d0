#include "hold/finisher.h"

#include <cstdint>
#include <utility>
#include <vector>

#include "hold/bodies.h"
#include "hold/candidates.h"
#include "hold/covering.h"
#include "hold/held_overhang.h"
#include "hold/island_holding.h"
#include "hold/kept_points.h"
#include "hold/left_alone.h"
#include "hold/merging.h"
#include "hold/pruning.h"
#include "hold/relocation.h"
#include "hold/specks.h"

namespace stiltforge::hold {

namespace {

// Rounds in which points move to better places: later ones gain next to nothing.
constexpr int mostRounds = 2;

}  // namespace

Finished finish(const Survey& survey, const FinishSettings& settings,
                const std::atomic<bool>* cancelled) {
  requireValid(settings);
  const Scale scale = survey.scale();
  const uint32_t islandLayers = scale.layersWithin(settings.islandHeight);
  const std::vector<uint8_t> isSpeck = specksOf(survey, islandLayers);
  Bodies bodies(survey.tracks(), islandLayers);
  const Candidates candidates(survey, isSpeck, settings);
  HeldOverhang held(survey, bodies, isSpeck, settings, cancelled);
  KeptPoints kept(survey, bodies, settings, held);
  const auto isAny = [](const FinishedPoint&) { return true; };
  const auto isForOverhang = [](const FinishedPoint& point) {
    return point.reason == Reason::addedForOverhang;
  };

  std::vector<uint32_t> islandsLeft =
      holdIslands(survey, isSpeck, islandLayers, candidates, kept, cancelled);
  kept.pin();

  held.trackGains(candidates, cancelled);
  coverSteepOverhang(candidates, kept, cancelled);
  held.findReachable(candidates);
  coverAllOverhang(candidates, kept, cancelled);
  closeFarGaps(candidates, scale.pixelsFor(settings.leastGap), kept, cancelled);
  dropNeedless(kept, isAny, cancelled);
  for (int round = 0; round < mostRounds; ++round) {
    if (!moveToBetterPlaces(candidates, held, kept, cancelled)) break;
    dropNeedless(kept, isAny, cancelled);
  }
  coverAllOverhang(candidates, kept, cancelled);
  dropNeedless(kept, isAny, cancelled);
  held.forgetGains();

  keepStrength(candidates, scale.pixelsFor(settings.leastOwnArea), kept, cancelled);
  // What was kept for its strength closes gaps, too.
  dropNeedless(kept, isForOverhang, cancelled);

  Finished finished = merged(survey, kept);
  finished.leftAlone = measureLeftAlone(survey, held.near(), isSpeck, islandsLeft);
  finished.islandsLeft = std::move(islandsLeft);
  return finished;
}

}  // namespace stiltforge::hold
