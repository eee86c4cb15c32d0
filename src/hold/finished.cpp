#include "hold/finished.h"

#include <algorithm>

namespace stiltforge::hold {

const char* nameOf(Reason reason) {
  switch (reason) {
    case Reason::analysed:
      return "analysed";
    case Reason::merged:
      return "merged";
    case Reason::addedForIsland:
      return "addedForIsland";
    case Reason::addedForOverhang:
      return "addedForOverhang";
  }
  return "unknown";
}

const char* nameOf(DropReason reason) {
  switch (reason) {
    case DropReason::merged:
      return "merged";
    case DropReason::holdsLittle:
      return "holdsLittle";
    case DropReason::noRoom:
      return "noRoom";
    case DropReason::sealedVoid:
      return "sealedVoid";
    case DropReason::holdsNothing:
      return "holdsNothing";
  }
  return "unknown";
}

FinishedPoint FinishedPoint::added(const Place& place, Reason reason) {
  Site site;
  site.place = place;
  site.isIsland = reason == Reason::addedForIsland;
  site.touches = Site::Touches::overhang;
  return {site, reason, none, {}};
}

std::vector<Site> Finished::sites() const {
  std::vector<Site> sites;
  for (const FinishedPoint& point : points) sites.push_back(point.site);
  return sites;
}

std::size_t Finished::dropCount(DropReason reason) const {
  return static_cast<std::size_t>(
      std::count_if(dropped.begin(), dropped.end(),
                    [&](const DroppedPoint& point) { return point.reason == reason; }));
}

}  // namespace stiltforge::hold
