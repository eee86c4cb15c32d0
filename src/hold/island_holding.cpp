#include "hold/island_holding.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <optional>
#include <utility>

#include "hold/cancelled.h"
#include "hold/floating_bodies.h"
#include "runtime/apart.h"

namespace stiltforge::hold {

namespace {

// Points that would hold a body, by numbers.
struct Choices {
  const std::vector<uint32_t>& numbers;
  std::function<FinishedPoint(uint32_t)> pointOf;
  std::function<uint64_t(uint32_t)> worthOf;
};

// The choice of the highest value, of equal ones that of the lowest number.
template <class ValueOf>
FinishedPoint bestOf(const std::vector<uint32_t>& numbers, const Choices& choices,
                     ValueOf&& valueOf) {
  uint32_t best = numbers.front();
  if (numbers.size() == 1) return choices.pointOf(best);
  auto most = valueOf(best);
  for (std::size_t i = 1; i < numbers.size(); ++i) {
    const auto value = valueOf(numbers[i]);
    if (value < most || (value == most && numbers[i] > best)) continue;
    best = numbers[i];
    most = value;
  }
  return choices.pointOf(best);
}

// The one of most worth of those that are spaced from all points.
std::optional<FinishedPoint> bestSpacedOf(const Choices& choices, const KeptPoints& kept) {
  std::vector<uint32_t> spaced;
  for (const uint32_t number : choices.numbers) {
    if (kept.isSpaced(choices.pointOf(number).site.place)) spaced.push_back(number);
  }
  if (spaced.empty()) return std::nullopt;
  return bestOf(spaced, choices, choices.worthOf);
}

// The one furthest from all points, of which some come too close to each.
std::optional<FinishedPoint> furthestOf(const Choices& choices, const KeptPoints& kept) {
  if (choices.numbers.empty()) return std::nullopt;
  return bestOf(choices.numbers, choices, [&](uint32_t number) {
    const Place& place = choices.pointOf(number).site.place;
    return kept.distanceToNearest(place);
  });
}

// Keeps the point that holds a body best. Returns false where none may stand.
STILTFORGE_APART bool holdBody(const FloatingBody& body, const Survey& survey,
                               const Candidates& candidates, KeptPoints& kept) {
  const std::vector<Island>& islands = survey.islands();
  const std::vector<OverhangSample>& samples = survey.samples();
  std::vector<uint32_t> usableIslands;
  for (const uint32_t island : body.islands) {
    if (survey.isSupportable(islands[island].place)) usableIslands.push_back(island);
  }
  const auto added = [](const Place& place) {
    return FinishedPoint::added(place, Reason::addedForIsland);
  };
  const auto gainAt = [&](const Place& place) { return kept.held().near().gainOf(place); };
  const Choices analysed{body.points, [&](uint32_t i) { return candidates.pointOf(i); },
                         [&](uint32_t i) { return gainAt(candidates.placeOf(i)); }};
  const Choices onIslands{usableIslands, [&](uint32_t i) { return added(islands[i].place); },
                          [&](uint32_t i) { return uint64_t{islands[i].pixels}; }};
  // Where the islands themselves have no room, what they have grown into may.
  const Choices onGrown{body.samples, [&](uint32_t i) { return added(samples[i].place); },
                        [&](uint32_t i) { return gainAt(samples[i].place); }};

  std::optional<FinishedPoint> point = bestSpacedOf(analysed, kept);
  if (!point) point = bestSpacedOf(onIslands, kept);
  // To hold an island goes before the spacing.
  if (!point) point = furthestOf(analysed, kept);
  if (!point) point = furthestOf(onIslands, kept);
  if (!point) point = bestSpacedOf(onGrown, kept);
  if (!point) point = furthestOf(onGrown, kept);
  if (!point) return false;
  kept.keep(*point);
  return true;
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
