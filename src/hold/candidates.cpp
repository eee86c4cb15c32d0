#include "hold/candidates.h"

namespace stiltforge::hold {

std::optional<DropReason> reasonToDrop(const Survey& survey, const Site& point) {
  if (point.touches != Site::Touches::overhang) return DropReason::holdsNothing;
  if (!point.place.hasRoom) return DropReason::noRoom;
  if (survey.isSealed(point.place.space)) return DropReason::sealedVoid;
  return std::nullopt;
}

Candidates::Candidates(const Survey& survey, const std::vector<uint8_t>& isSpeck,
                       const FinishSettings& settings)
    : survey_(survey),
      isSpeck_(isSpeck),
      preference_(settings.preference),
      places_(survey.emptyGrid(settings.reach)) {
  for (const Site& point : survey.points()) {
    places_.add(point.place);
    isUsable_.push_back(reasonToDrop(survey, point) ? 0 : 1);
  }
  for (const OverhangSample& sample : survey.samples()) {
    places_.add(sample.place);
    isUsable_.push_back(survey.isSupportable(sample.place) ? 1 : 0);
  }
}

FinishedPoint Candidates::pointOf(std::size_t candidate) const {
  if (isAnalysed(candidate)) {
    return {survey_.points()[candidate], Reason::analysed, static_cast<uint32_t>(candidate), {}};
  }
  return FinishedPoint::added(placeOf(candidate), Reason::addedForOverhang);
}

}  // namespace stiltforge::hold
