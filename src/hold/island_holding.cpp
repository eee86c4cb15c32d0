#include "hold/island_holding.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "hold/cancelled.h"
#include "hold/floating_bodies.h"
#include "runtime/apart.h"

namespace stiltforge::hold {

namespace {

// The number of the highest value, of equal ones the lowest number.
template <class Value>
uint32_t bestOf(const std::vector<uint32_t>& numbers, Value&& value) {
  uint32_t best = numbers.front();
  if (numbers.size() == 1) return best;
  uint64_t most = value(best);
  for (std::size_t i = 1; i < numbers.size(); ++i) {
    const uint64_t own = value(numbers[i]);
    if (own < most || (own == most && numbers[i] > best)) continue;
    best = numbers[i];
    most = own;
  }
  return best;
}

// Those that are spaced from all points.
template <class PlaceOf>
std::vector<uint32_t> spacedOf(const std::vector<uint32_t>& numbers, const KeptPoints& kept,
                               PlaceOf&& placeOf) {
  std::vector<uint32_t> spaced;
  for (const uint32_t number : numbers) {
    if (kept.isSpaced(placeOf(number))) spaced.push_back(number);
  }
  return spaced;
}

// Keeps the point that holds a body best. Returns false where none may stand.
STILTFORGE_APART bool holdBody(const FloatingBody& body, const Survey& survey,
                               const Candidates& candidates, KeptPoints& kept) {
  const std::vector<Island>& islands = survey.islands();
  const std::vector<OverhangSample>& samples = survey.samples();
  std::vector<uint32_t> usable;  // islands
  for (const uint32_t island : body.islands) {
    if (survey.isSupportable(islands[island].place)) usable.push_back(island);
  }
  const auto placeOfPoint = [&](uint32_t i) -> const Place& { return candidates.placeOf(i); };
  const auto placeOfIsland = [&](uint32_t i) -> const Place& { return islands[i].place; };
  const auto placeOfSample = [&](uint32_t i) -> const Place& { return samples[i].place; };
  const std::vector<uint32_t> spacedPoints = spacedOf(body.points, kept, placeOfPoint);
  const std::vector<uint32_t> spacedIslands = spacedOf(usable, kept, placeOfIsland);
  // To hold an island goes before the spacing.
  const bool anySpaced = !spacedPoints.empty() || !spacedIslands.empty();
  const std::vector<uint32_t>& fromPoints = anySpaced ? spacedPoints : body.points;
  const std::vector<uint32_t>& fromIslands = anySpaced ? spacedIslands : usable;
  const auto gainAt = [&](const Place& place) { return kept.held().near().gainOf(place); };
  if (!fromPoints.empty()) {
    const uint32_t best = bestOf(fromPoints, [&](uint32_t i) { return gainAt(placeOfPoint(i)); });
    kept.keep(candidates.pointOf(best));
    return true;
  }
  if (!fromIslands.empty()) {
    const uint32_t largest =
        bestOf(fromIslands, [&](uint32_t i) { return uint64_t{islands[i].pixels}; });
    kept.keep(FinishedPoint::added(placeOfIsland(largest), Reason::addedForIsland));
    return true;
  }
  // Where the islands themselves have no room, what they have grown into may.
  if (!body.samples.empty()) {
    const std::vector<uint32_t> spaced = spacedOf(body.samples, kept, placeOfSample);
    const uint32_t best = bestOf(spaced.empty() ? body.samples : spaced,
                                 [&](uint32_t i) { return gainAt(placeOfSample(i)); });
    kept.keep(FinishedPoint::added(placeOfSample(best), Reason::addedForIsland));
    return true;
  }
  return false;
}

}  // namespace

std::vector<uint32_t> holdIslands(const Survey& survey, const std::vector<uint8_t>& isSpeck,
                                  uint32_t layers, const Candidates& candidates, KeptPoints& kept,
                                  const std::atomic<bool>* cancelled) {
  std::vector<uint32_t> points;
  std::vector<uint32_t> samples;
  for (uint32_t i = 0; i < candidates.size(); ++i) {
    if (!candidates.isUsable(i)) continue;
    if (candidates.isAnalysed(i)) {
      points.push_back(i);
    } else {
      samples.push_back(static_cast<uint32_t>(candidates.sampleOf(i)));
    }
  }
  std::vector<uint32_t> left;
  FloatingBodies floating(survey, std::move(points), std::move(samples));
  floating.forEachDue(layers, [&](FloatingBody& body) {
    stopIfCancelled(cancelled);
    const bool isLoneSpeck =
        !body.islands.empty() && isSpeck[survey.islands()[body.islands.front()].place.track] != 0;
    if (isLoneSpeck) {
      left.push_back(body.islands.front());
      return true;
    }
    if (holdBody(body, survey, candidates, kept)) return true;
    left.insert(left.end(), body.islands.begin(), body.islands.end());
    body.islands.clear();
    return false;
  });
  std::sort(left.begin(), left.end());
  return left;
}

}  // namespace stiltforge::hold
