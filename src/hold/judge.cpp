#include "hold/judge.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "hold/anchoring.h"
#include "hold/bodies.h"
#include "hold/point_grid.h"
#include "hold/worst_places.h"
#include "runtime/apart.h"
#include "runtime/number_text.h"

namespace stiltforge::hold {

namespace {

// On a side of the screen: memory must not follow it.
constexpr uint32_t mostTiles = 1024;

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
        grid_(survey.emptyGrid(std::max(settings.nearReach, settings.spacing))),
        worst_(survey, grid_, settings_) {
    for (const Site& point : points) grid_.add(point.place);
    chooseTiles();
    near_ = {settings_.nearReach, std::vector<uint32_t>(tileCount(), Place::none)};
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

  // A distance, and by tile of the screen the point that alone reached a whole run there last: of
  // most runs nearby it reaches all, too.
  struct Reach {
    double distance;
    std::vector<uint32_t> last;
  };

  // About as wide as a point reaches, and found without a division.
  void chooseTiles() {
    const uint32_t longest = std::max(survey_.width(), survey_.height());
    const double pixels = settings_.nearReach / scale_.pixelSize;
    while (longest >> tileShift_ > mostTiles ||
           std::ldexp(2.0, static_cast<int>(tileShift_)) <= pixels) {
      ++tileShift_;
      if (longest >> tileShift_ == 0) break;
    }
    tileColumns_ = (uint32_t{survey_.width()} >> tileShift_) + 1;
  }
  std::size_t tileCount() const {
    return std::size_t{tileColumns_} * ((uint32_t{survey_.height()} >> tileShift_) + 1);
  }
  uint32_t& lastAround(uint16_t x, uint16_t y, Reach& reach) const {
    return reach.last[std::size_t{tileColumns_} * (uint32_t{y} >> tileShift_) +
                      (uint32_t{x} >> tileShift_)];
  }
  bool isReachedByLast(Run run, uint16_t y, uint32_t layer, Reach& reach) const {
    const uint32_t last = lastAround(run.begin, y, reach);
    return last != Place::none && grid_.reachesAll(last, run, y, layer, reach.distance);
  }

  // Replaces `rest` by the parts of the runs that no point reaches.
  STILTFORGE_APART void keepUnreached(const std::vector<Run>& runs, uint16_t y, uint32_t layer,
                                      Reach& reach, std::vector<Run>& rest) {
    rest.clear();
    for (const Run& run : runs) {
      if (isReachedByLast(run, y, layer, reach)) continue;
      uint32_t& last = lastAround(run.begin, y, reach);
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
      const Run run{overhang.begin, overhang.end};
      if (isReachedByLast(run, overhang.y, layer, near_)) continue;
      whole_.assign(1, run);
      keepUnreached(whole_, overhang.y, layer, near_, beyondNear_);
      if (beyondNear_.empty()) continue;
      surface.beyondNear += pixelsOf(beyondNear_);
      keepUnreached(beyondNear_, overhang.y, layer, far_, beyondFar_);
      surface.beyondFar += pixelsOf(beyondFar_);
      if (&surface == &verdict_.supportable) worst_.add(beyondNear_, overhang.y, layer);
    }
  }

  STILTFORGE_APART void chooseWorst() {
    if (worst_.empty()) return;
    Gaps gaps(survey_.emptyGrid(settings_.nearReach));
    for (const OverhangSample& sample : survey_.samples()) {
      if (!isWithinReach(sample.place)) gaps.add(sample);
    }
    verdict_.worst = worst_.choose(gaps);
  }

  bool isWithinReach(const Place& place) {
    whole_.assign(1, {place.x, static_cast<uint16_t>(place.x + 1)});
    keepUnreached(whole_, place.y, place.layer, near_, beyondNear_);
    return beyondNear_.empty();
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
  WorstPlaces worst_;
  Verdict verdict_;
  uint32_t tileShift_ = 0;
  uint32_t tileColumns_ = 0;
  Reach near_;
  Reach far_;
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
