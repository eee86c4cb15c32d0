#include "hold/merging.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <tuple>
#include <utility>
#include <vector>

#include "hold/candidates.h"

namespace stiltforge::hold {

namespace {

// Bottom first, within a layer by row, then column; points of one pixel as they came.
std::vector<uint32_t> sortedOrder(const std::vector<FinishedPoint>& points) {
  std::vector<uint32_t> order(points.size());
  for (uint32_t i = 0; i < order.size(); ++i) order[i] = i;
  const auto key = [&](uint32_t i) {
    const Place& place = points[i].site.place;
    return std::make_tuple(place.layer, place.y, place.x, i);
  };
  std::sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) { return key(a) < key(b); });
  return order;
}

}  // namespace

Finished merged(const Survey& survey, const KeptPoints& kept) {
  Finished result;
  std::vector<uint32_t> numberOf(kept.points().size());  // of each kept point when they are sorted
  for (const uint32_t i : sortedOrder(kept.points())) {
    numberOf[i] = static_cast<uint32_t>(result.points.size());
    result.points.push_back(kept.points()[i]);
  }
  for (uint32_t i = 0; i < survey.points().size(); ++i) {
    if (kept.has(i)) continue;
    const Site& point = survey.points()[i];
    if (const std::optional<DropReason> reason = reasonToDrop(survey, point)) {
      result.dropped.push_back({i, *reason, FinishedPoint::none});
    } else if (const std::optional<uint32_t> heir = kept.nearestTo(point.place)) {
      FinishedPoint& into = result.points[numberOf[*heir]];
      into.mergedIn.push_back(i);
      if (into.reason == Reason::analysed) into.reason = Reason::merged;
      result.dropped.push_back({i, DropReason::merged, numberOf[*heir]});
    } else {
      result.dropped.push_back({i, DropReason::holdsLittle, FinishedPoint::none});
    }
  }
  return result;
}

}  // namespace stiltforge::hold
