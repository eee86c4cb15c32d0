#include "hold/judge.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>

#include "hold/anchoring.h"
#include "hold/bodies.h"
#include "hold/point_grid.h"
#include "runtime/apart.h"
#include "runtime/number_text.h"

namespace stiltforge::hold {

namespace {

constexpr double roundingSlack = 1e-9;

JudgeSettings checked(const JudgeSettings& settings) {
  const auto require = [](double value, const char* what) {
    if (std::isfinite(value) && value >= 0) return;
    throw std::invalid_argument(std::string(what) + " must be 0 mm or more, not " +
                                numberText(value));
  };
  require(settings.nearReach, "the near reach of a point");
  require(settings.farReach, "the far reach of a point");
  require(settings.spacing, "the spacing of points");
  require(settings.islandHeight, "the height that an island may grow alone");
  if (!(std::isfinite(settings.leastWorstArea) && settings.leastWorstArea >= 0)) {
    throw std::invalid_argument("the least area of a worst place must be 0 mm2 or more, not " +
                                numberText(settings.leastWorstArea));
  }
  return settings;
}

class Judge {
 public:
  Judge(const Survey& survey, std::span<const Site> points, const JudgeSettings& settings)
      : survey_(survey),
        points_(points),
        settings_(checked(settings)),
        scale_(survey.scale()),
        islandLayers_(scale_.layersWithin(settings.islandHeight)),
        grid_(survey.emptyGrid(std::max(settings.nearReach, settings.spacing))) {
    for (const Site& point : points) grid_.add(point.place);
    near_ = {settings_.nearReach, std::vector<uint32_t>(grid_.cellCount(), Place::none)};
    far_ = {settings_.farReach, near_.last};
  }

  Verdict verdict() {
    judgeIslands();
    for (uint32_t layer = 0; layer < survey_.layerCount(); ++layer) judgeOverhang(layer);
    chooseWorst();
    judgePoints();
    findClosePairs();
    return std::move(verdict_);
  }

 private:
  STILTFORGE_APART void judgeIslands() {
    const Anchoring anchoring(survey_.tracks(), points_);
    for (const Island& island : survey_.islands()) {
      const uint32_t from = anchoring.heldFrom(island.place.track);
      IslandVerdict judged{island, {}};
      if (from != Anchoring::never && from - island.place.layer <= islandLayers_) {
        judged.takenIn = from;
      }
      verdict_.islands.push_back(judged);
    }
  }

  Surface& surfaceOf(const OverhangRun& run) {
    if (survey_.isSealed(run.space)) return verdict_.sealed;
    return run.hasRoom ? verdict_.supportable : verdict_.withoutRoom;
  }

  // A distance, and by cell of the grid the point that alone reached a whole run there last: of
  // most runs nearby it reaches all, too.
  struct Reach {
    double distance;
    std::vector<uint32_t> last;
  };

  // Replaces `rest` by the parts of the runs that no point reaches.
  STILTFORGE_APART void keepUnreached(const std::vector<Run>& runs, int y, uint32_t layer,
                                      Reach& reach, std::vector<Run>& rest) {
    rest.clear();
    for (const Run& run : runs) {
      uint32_t& last = reach.last[grid_.cellHolding(run.begin, y)];
      if (last != Place::none && grid_.reachesAll(last, run, y, layer, reach.distance)) continue;
      within_.clear();
      grid_.forEachNear(run, y, layer, reach.distance, [&](uint32_t point) {
        within_.push_back(grid_.reachedBy(point, run, y, layer, reach.distance));
        if (within_.back() == run) last = point;
      });
      std::sort(within_.begin(), within_.end(),
                [](const Run& a, const Run& b) { return a.begin < b.begin; });
      int32_t at = run.begin;
      const auto keep = [&](int32_t end) {
        if (at < end) rest.push_back({static_cast<uint16_t>(at), static_cast<uint16_t>(end)});
      };
      for (const Run& reached : within_) {
        keep(reached.begin);
        at = std::max<int32_t>(at, reached.end);
      }
      keep(run.end);
    }
  }

  static uint64_t pixelsOf(const std::vector<Run>& runs) {
    uint64_t pixels = 0;
    for (const Run& run : runs) pixels += run.length();
    return pixels;
  }

  STILTFORGE_APART void judgeOverhang(uint32_t layer) {
    for (const OverhangRun& overhang : survey_.overhang(layer)) {
      Surface& surface = surfaceOf(overhang);
      surface.pixels += overhang.length();
      whole_.assign(1, {overhang.begin, overhang.end});
      keepUnreached(whole_, overhang.y, layer, near_, beyondNear_);
      if (beyondNear_.empty()) continue;
      surface.beyondNear += pixelsOf(beyondNear_);
      keepUnreached(beyondNear_, overhang.y, layer, far_, beyondFar_);
      surface.beyondFar += pixelsOf(beyondFar_);
      if (&surface == &verdict_.supportable) noteWorst(overhang.y, layer);
    }
  }

  // A pixel, and how far it is from its nearest point.
  struct Measured {
    uint16_t x = 0;
    PointGrid::Nearest nearest;

    bool isWorseThan(const Measured& other) const {
      if (nearest.squaredDistance != other.nearest.squaredDistance) {
        return nearest.squaredDistance > other.nearest.squaredDistance;
      }
      return x < other.x;
    }
  };

  // `near`: a point that may be the nearest.
  Measured measured(int32_t x, uint16_t y, uint32_t layer, uint32_t near) const {
    Place place;
    place.layer = layer;
    place.x = static_cast<uint16_t>(x);
    place.y = y;
    return {place.x, grid_.nearestTo(place, near)};
  }

  // The worst of the pixels from `first` to `last`, both included. Between pixels that one point is
  // nearest to none is further from it.
  Measured worstBetween(const Measured& first, const Measured& last, uint16_t y,
                        uint32_t layer) const {
    if (last.x - first.x > 1 && first.nearest.point != last.nearest.point) {
      const Measured middle = measured((first.x + last.x) / 2, y, layer, first.nearest.point);
      const Measured left = worstBetween(first, middle, y, layer);
      const Measured right = worstBetween(middle, last, y, layer);
      return right.isWorseThan(left) ? right : left;
    }
    return last.isWorseThan(first) ? last : first;
  }

  // Of each run the worst pixel, of equal ones the first; with its squared distance for now.
  STILTFORGE_APART void noteWorst(uint16_t y, uint32_t layer) {
    std::optional<Measured> worst;
    for (const Run& run : beyondNear_) {
      const Measured first = measured(run.begin, y, layer, lastNearest_);
      const Measured last =
          run.length() == 1 ? first : measured(run.end - 1, y, layer, first.nearest.point);
      lastNearest_ = last.nearest.point;
      const Measured found = worstBetween(first, last, y, layer);
      if (!worst || found.isWorseThan(*worst)) worst = found;
    }
    candidates_.push_back({layer, worst->x, y, worst->nearest.squaredDistance});
  }

  STILTFORGE_APART void chooseWorst() {
    std::stable_sort(
        candidates_.begin(), candidates_.end(),
        [](const WorstPlace& a, const WorstPlace& b) { return a.distance > b.distance; });
    PointGrid gaps = survey_.emptyGrid(settings_.nearReach);
    std::vector<uint32_t> pixels;
    if (!candidates_.empty()) {
      for (const OverhangSample& sample : survey_.samples()) {
        if (isWithinReach(sample.place)) continue;
        gaps.add(sample.place);
        pixels.push_back(sample.pixels);
      }
    }
    const double apart = settings_.nearReach * settings_.nearReach;
    for (const WorstPlace& candidate : candidates_) {
      if (verdict_.worst.size() >= settings_.worstPlaces) break;
      const Place place = placeOf(candidate);
      const bool isNew =
          std::none_of(verdict_.worst.begin(), verdict_.worst.end(), [&](const WorstPlace& listed) {
            return scale_.squaredDistance(place, placeOf(listed)) <= apart;
          });
      if (isNew && hasLeastArea(place, gaps, pixels)) verdict_.worst.push_back(candidate);
    }
    for (WorstPlace& place : verdict_.worst) place.distance = std::sqrt(place.distance);
  }

  static Place placeOf(const WorstPlace& worst) {
    Place place;
    place.layer = worst.layer;
    place.x = worst.x;
    place.y = worst.y;
    return place;
  }

  bool isWithinReach(const Place& place) {
    whole_.assign(1, {place.x, static_cast<uint16_t>(place.x + 1)});
    keepUnreached(whole_, place.y, place.layer, near_, beyondNear_);
    return beyondNear_.empty();
  }

  // Steep overhang counts alone: where a surface nearly carries itself, a pixel here and there is
  // far from all points, and rightly so. `pixels`: of the gaps.
  STILTFORGE_APART bool hasLeastArea(const Place& place, const PointGrid& gaps,
                                     const std::vector<uint32_t>& pixels) const {
    const double least = settings_.leastWorstArea / scale_.pixelArea() * (1 - roundingSlack);
    const double reach = settings_.nearReach * settings_.nearReach;
    double found = 0;
    gaps.forEachNear(place, settings_.nearReach, [&](uint32_t i) {
      if (found < least && scale_.squaredDistance(place, gaps[i]) <= reach) found += pixels[i];
    });
    return found >= least;
  }

  STILTFORGE_APART void judgePoints() {
    for (uint32_t i = 0; i < points_.size(); ++i) {
      const Site& point = points_[i];
      if (point.touches == Site::Touches::nothing) verdict_.inNoMaterial.push_back(i);
      if (point.touches == Site::Touches::heldMaterial) verdict_.onHeldMaterial.push_back(i);
      if (!point.place.hasRoom) verdict_.pointsWithoutRoom.push_back(i);
      if (survey_.isSealed(point.place.space)) verdict_.pointsInSealedVoids.push_back(i);
    }
  }

  STILTFORGE_APART void findClosePairs() {
    Bodies bodies(survey_.tracks(), islandLayers_);
    for (uint32_t i = 0; i < points_.size(); ++i) {
      const Place& a = points_[i].place;
      const std::size_t firstOwn = verdict_.closePairs.size();
      grid_.forEachNear(a, settings_.spacing, [&](uint32_t j) {
        const Place& b = points_[j].place;
        const double squared = scale_.squaredDistance(a, b);
        if (j <= i || squared >= settings_.spacing * settings_.spacing) return;
        const bool bothStand = a.track != Place::none && b.track != Place::none;
        const bool separate = bothStand && !bodies.areOne(a, b);
        verdict_.closePairs.push_back({i, j, std::sqrt(squared), separate});
      });
      std::sort(verdict_.closePairs.begin() + static_cast<std::ptrdiff_t>(firstOwn),
                verdict_.closePairs.end(),
                [](const ClosePair& p, const ClosePair& q) { return p.second < q.second; });
    }
  }

  const Survey& survey_;
  std::span<const Site> points_;
  const JudgeSettings settings_;
  const Scale scale_;
  const uint32_t islandLayers_;
  PointGrid grid_;
  Verdict verdict_;
  Reach near_;
  Reach far_;
  std::vector<WorstPlace> candidates_;  // of each run of overhang beyond reach
  uint32_t lastNearest_ = Place::none;  // of the pixel that was measured last
  std::vector<Run> within_;
  std::vector<Run> whole_;
  std::vector<Run> beyondNear_;
  std::vector<Run> beyondFar_;
};

}  // namespace

Verdict judge(const Survey& survey, std::span<const Site> points, const JudgeSettings& settings) {
  return Judge(survey, points, settings).verdict();
}

}  // namespace stiltforge::hold
