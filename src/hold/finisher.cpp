#include "hold/finisher.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <optional>
#include <queue>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

#include "hold/coverage.h"
#include "hold/floating_bodies.h"
#include "hold/gains.h"
#include "hold/overhang_reach.h"
#include "hold/specks.h"
#include "runtime/apart.h"
#include "runtime/number_text.h"

namespace stiltforge::hold {

namespace {

constexpr double roundingSlack = 1e-9;
// Rounds in which points move to better places: later ones gain next to nothing.
constexpr int mostRounds = 2;

FinishSettings checked(const FinishSettings& settings) {
  const auto require = [](double value, double least, const char* what) {
    if (std::isfinite(value) && value >= least) return;
    throw std::invalid_argument(std::string(what) + " must be " + (least > 0 ? "1" : "0") +
                                " or more, not " + numberText(value));
  };
  require(settings.spacing, 0, "the spacing of points");
  require(settings.reach, 0, "the reach of a point");
  require(settings.farReach, 0, "the far reach of a point");
  require(settings.ownReach, 0, "the own reach of a point");
  require(settings.leastOwnArea, 0, "the least area of a point");
  require(settings.leastGap, 0, "the least gap");
  require(settings.margin, 0, "the margin of overhang within reach");
  require(settings.preference, 1, "the preference of the analysis's points");
  require(settings.islandHeight, 0, "the height that an island may grow alone");
  for (const double share : {settings.share, settings.farShare}) {
    if (share >= 0 && share <= 1) continue;
    throw std::invalid_argument("the share of overhang within reach must be from 0 to 1, not " +
                                numberText(share));
  }
  return settings;
}

PointGrid gridOf(const Survey& survey, double cellSize) {
  return {{survey.settings().pixelSize, survey.settings().layerHeight},
          cellSize,
          survey.width(),
          survey.height()};
}

PointGrid gridOfSamples(const Survey& survey, double cellSize) {
  PointGrid grid = gridOf(survey, cellSize);
  for (const OverhangSample& sample : survey.samples()) grid.add(sample.place);
  return grid;
}

class Finisher {
 public:
  Finisher(const Survey& survey, const FinishSettings& settings, const std::atomic<bool>* cancelled)
      : survey_(survey),
        cancelled_(cancelled),
        settings_(checked(settings)),
        scale_{survey.settings().pixelSize, survey.settings().layerHeight},
        islandLayers_(static_cast<uint32_t>(std::min(
            std::floor(settings.islandHeight / scale_.layerHeight + roundingSlack), 65535.0))),
        isSpeck_(specksOf(survey, islandLayers_)),
        bodies_(survey.tracks(), islandLayers_),
        samples_(gridOfSamples(survey, settings.reach)),
        candidates_(gridOf(survey, settings.reach)),
        kept_(gridOf(survey, settings.reach)),
        near_(survey, samples_, bodies_, isSpeck_, settings.reach, cancelled),
        far_(survey, samples_, bodies_, isSpeck_, settings.farReach, cancelled),
        own_(survey, samples_, bodies_, isSpeck_, settings.ownReach, cancelled),
        allNear_(survey, settings.reach),
        allFar_(survey, settings.farReach),
        isOpen_(survey.points().size(), 0),
        dropReason_(survey.points().size()) {}

  Finished finished() {
    dropImpossible();
    holdIslands();
    const std::size_t forIslands = result_.points.size();
    const auto any = [](const FinishedPoint&) { return true; };
    cover();
    findReachable();
    coverAll();
    closeFarGaps();
    dropNeedless(forIslands, any);
    for (int round = 0; round < mostRounds && moveToBetterPlaces(forIslands); ++round) {
      dropNeedless(forIslands, any);
    }
    coverAll();
    dropNeedless(forIslands, any);
    gains_.reset();
    keepStrength();
    // What was kept for its strength holds gaps, too.
    dropNeedless(forIslands, [](const FinishedPoint& point) {
      return point.reason == Reason::addedForOverhang;
    });
    mergeRest();
    sortPoints();
    measureLeftAlone();
    return std::move(result_);
  }

 private:
  const std::vector<Site>& points() const { return survey_.points(); }
  const std::vector<OverhangSample>& samples() const { return survey_.samples(); }
  bool isSupportable(const Place& place) const {
    return place.hasRoom && !survey_.isSealed(place.space);
  }
  bool isSpeck(const Place& place) const { return isSpeck_[place.track] != 0; }
  uint64_t pixelsOf(double area) const {
    const double pixels = std::ceil(area / (scale_.pixelSize * scale_.pixelSize));
    return static_cast<uint64_t>(std::min(std::max(0.0, pixels), 1e18));  // 0 for no number
  }

  STILTFORGE_APART void dropImpossible() {
    for (uint32_t i = 0; i < points().size(); ++i) {
      const Site& point = points()[i];
      if (point.touches != Site::Touches::overhang) {
        dropReason_[i] = DropReason::holdsNothing;
      } else if (!point.place.hasRoom) {
        dropReason_[i] = DropReason::noRoom;
      } else if (survey_.isSealed(point.place.space)) {
        dropReason_[i] = DropReason::sealedVoid;
      } else {
        isOpen_[i] = 1;
      }
    }
  }

  // From all kept points but that one.
  STILTFORGE_APART bool isSpaced(const Place& place, std::size_t but = FinishedPoint::none) {
    const double least = settings_.spacing * settings_.spacing;
    const Run pixel{place.x, static_cast<uint16_t>(place.x + 1)};
    return !kept_.anyNear(pixel, place.y, place.layer, settings_.spacing, [&](uint32_t i) {
      return i != but && scale_.squaredDistance(place, kept_[i]) < least &&
             bodies_.areOne(place, kept_[i]);
    });
  }

  STILTFORGE_APART void hold(const Place& place) {
    const std::vector<uint32_t> reached = near_.add(place);
    if (gains_) gains_->take(reached);
    far_.add(place);
    own_.add(place);
    allNear_.add(place);
    allFar_.add(place);
  }
  STILTFORGE_APART void letGo(const Place& place) {
    const std::vector<uint32_t> freed = near_.remove(place);
    if (gains_) gains_->giveBack(freed);
    far_.remove(place);
    own_.remove(place);
    allNear_.remove(place);
    allFar_.remove(place);
  }
  STILTFORGE_APART void keep(const FinishedPoint& point) {
    hold(point.site.place);
    kept_.add(point.site.place);
    setOpen(point, false);
    result_.points.push_back(point);
  }
  // Whether the point may be taken, when it is one of the analysis.
  void setOpen(const FinishedPoint& point, bool isOpen) {
    if (point.analysed != FinishedPoint::none) isOpen_[point.analysed] = isOpen ? 1 : 0;
  }
  FinishedPoint analysedPoint(uint32_t point) const {
    return {points()[point], Reason::analysed, point, {}};
  }
  static FinishedPoint addedPoint(const Place& place, Reason reason) {
    Site site;
    site.place = place;
    site.isIsland = reason == Reason::addedForIsland;
    site.touches = Site::Touches::overhang;
    return {site, reason, FinishedPoint::none, {}};
  }

  STILTFORGE_APART void holdIslands() {
    std::vector<uint32_t> open;
    for (uint32_t i = 0; i < points().size(); ++i) {
      if (isOpen_[i] != 0) open.push_back(i);
    }
    std::vector<uint32_t> usable;  // samples
    for (uint32_t i = 0; i < samples().size(); ++i) {
      if (isSupportable(samples()[i].place)) usable.push_back(i);
    }
    FloatingBodies floating(survey_, std::move(open), std::move(usable));
    floating.forEachDue(islandLayers_, [&](FloatingBody& body) { return takeBody(body); });
  }

  STILTFORGE_APART bool takeBody(FloatingBody& body) {
    stopIfCancelled(cancelled_);
    const std::vector<Island>& islands = survey_.islands();
    if (!body.islands.empty() && isSpeck(islands[body.islands.front()].place)) {
      result_.islandsLeft.push_back(body.islands.front());
      return true;
    }
    std::vector<uint32_t> usable;  // islands
    for (const uint32_t island : body.islands) {
      if (isSupportable(islands[island].place)) usable.push_back(island);
    }
    const std::vector<uint32_t> spacedPoints =
        spacedOf(body.points, [&](uint32_t i) { return points()[i].place; });
    const std::vector<uint32_t> spacedIslands =
        spacedOf(usable, [&](uint32_t i) { return islands[i].place; });
    // To hold an island goes before the spacing.
    const bool anySpaced = !spacedPoints.empty() || !spacedIslands.empty();
    const std::vector<uint32_t>& fromPoints = anySpaced ? spacedPoints : body.points;
    const std::vector<uint32_t>& fromIslands = anySpaced ? spacedIslands : usable;
    if (!fromPoints.empty()) {
      keep(analysedPoint(
          bestOf(fromPoints, [&](uint32_t i) { return near_.gainOf(points()[i].place); })));
      return true;
    }
    if (!fromIslands.empty()) {
      const uint32_t largest =
          bestOf(fromIslands, [&](uint32_t i) { return uint64_t{islands[i].pixels}; });
      keep(addedPoint(islands[largest].place, Reason::addedForIsland));
      return true;
    }
    // Where the islands themselves have no room, what they have grown into may.
    if (!body.samples.empty()) {
      const auto placeOf = [&](uint32_t i) -> const Place& { return samples()[i].place; };
      const std::vector<uint32_t> spaced = spacedOf(body.samples, placeOf);
      const std::vector<uint32_t>& from = spaced.empty() ? body.samples : spaced;
      keep(addedPoint(placeOf(bestOf(from, [&](uint32_t i) { return near_.gainOf(placeOf(i)); })),
                      Reason::addedForIsland));
      return true;
    }
    result_.islandsLeft.insert(result_.islandsLeft.end(), body.islands.begin(), body.islands.end());
    body.islands.clear();
    return false;
  }

  template <class PlaceOf>
  std::vector<uint32_t> spacedOf(const std::vector<uint32_t>& numbers, PlaceOf&& placeOf) {
    std::vector<uint32_t> spaced;
    for (const uint32_t number : numbers) {
      if (isSpaced(placeOf(number))) spaced.push_back(number);
    }
    return spaced;
  }

  // The number of the highest value, of equal ones the lowest number.
  template <class Value>
  static uint32_t bestOf(const std::vector<uint32_t>& numbers, Value&& value) {
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

  // Candidates are the points of the analysis that are left, then a place for each sample.
  std::size_t candidateCount() const { return points().size() + samples().size(); }
  bool isAnalysed(std::size_t candidate) const { return candidate < points().size(); }
  const Place* placeOf(std::size_t candidate) const {
    if (isAnalysed(candidate)) {
      return isOpen_[candidate] != 0 ? &points()[candidate].place : nullptr;
    }
    const Place& place = samples()[candidate - points().size()].place;
    return isSupportable(place) ? &place : nullptr;
  }
  double weightOf(std::size_t candidate, uint64_t gain) const {
    return static_cast<double>(gain) * (isAnalysed(candidate) ? settings_.preference : 1);
  }
  FinishedPoint pointOf(std::size_t candidate) const {
    if (isAnalysed(candidate)) return analysedPoint(static_cast<uint32_t>(candidate));
    return addedPoint(samples()[candidate - points().size()].place, Reason::addedForOverhang);
  }

  // Takes the candidate of the highest gainOf(), in pixels, of equal ones the first, until none
  // gains `least` or isEnough(). What a candidate gains only falls as others are taken, so that an
  // earlier figure is a bound (M. Minoux, "Accelerated greedy algorithms for maximizing submodular
  // set functions", 1978).
  template <class GainOf, class IsEnough>
  STILTFORGE_APART void takeGreedily(uint64_t least, GainOf&& gainOf, IsEnough&& isEnough) {
    using Bound = std::pair<double, int64_t>;  // weight, and the negative number of the candidate
    std::priority_queue<Bound> bounds;
    const auto weigh = [&](std::size_t candidate) {
      stopIfCancelled(cancelled_);
      const uint64_t gain = placeOf(candidate) != nullptr ? gainOf(candidate) : 0;
      if (gain < std::max<uint64_t>(least, 1)) return 0.0;
      return weightOf(candidate, gain);
    };
    const auto offer = [&](std::size_t candidate, double weight) {
      if (weight > 0) bounds.push({weight, -static_cast<int64_t>(candidate)});
    };
    for (std::size_t i = 0; i < candidateCount(); ++i) offer(i, weigh(i));
    while (!bounds.empty() && !isEnough()) {
      const auto [bound, number] = bounds.top();
      bounds.pop();
      const auto candidate = static_cast<std::size_t>(-number);
      const double weight = weigh(candidate);
      if (weight < bound) {
        offer(candidate, weight);
      } else if (isSpaced(*placeOf(candidate))) {
        keep(pointOf(candidate));
      }
    }
  }

  bool isCovered(uint64_t reached) const {
    const auto whole = static_cast<double>(near_.pixels());
    const double wanted = settings_.share * whole + static_cast<double>(pixelsOf(settings_.margin));
    return static_cast<double>(reached) >= std::min(wanted, whole);
  }
  STILTFORGE_APART void cover() {
    for (const Site& point : points()) candidates_.add(point.place);
    for (const OverhangSample& sample : samples()) candidates_.add(sample.place);
    gains_.emplace(survey_, candidates_, near_, bodies_, [&](std::size_t candidate) {
      stopIfCancelled(cancelled_);
      return isAnalysed(candidate) ? !dropReason_[candidate] : placeOf(candidate) != nullptr;
    });
    takeGreedily(
        1, [&](std::size_t candidate) { return gains_->of(candidate); },
        [&] { return isCovered(near_.reachedPixels()); });
  }
  void findReachable() {
    const auto mayStand = [&](uint32_t candidate) {
      const Place* place = placeOf(candidate);
      return place != nullptr && !isSpeck(*place);
    };
    allNear_.findReachable(candidates_, mayStand);
    allFar_.findReachable(candidates_, mayStand);
  }
  STILTFORGE_APART void coverAll() {
    coverAll(allNear_, settings_.share);
    coverAll(allFar_, settings_.farShare);
  }
  void coverAll(const OverhangReach& all, double share) {
    if (all.isEnough(share)) return;
    const std::vector<uint8_t> areNearOpen = all.areNearOpen(candidates_);
    takeGreedily(
        1,
        [&](std::size_t candidate) {
          const Place& place = *placeOf(candidate);
          return areNearOpen[candidate] != 0 && !isSpeck(place) ? all.gainOf(place) : 0;
        },
        [&] { return all.isEnough(share); });
  }
  bool isEnoughOfAllWithout(const Place& place) const {
    const uint64_t near = allNear_.lossOf(place);
    if (near > 0 && !allNear_.isEnough(settings_.share, near)) return false;
    const uint64_t far = allFar_.lossOf(place);
    return far == 0 || allFar_.isEnough(settings_.farShare, far);
  }
  void closeFarGaps() {
    const auto gainOf = [&](std::size_t candidate) {
      const bool isInGap = !isAnalysed(candidate) && far_.isOpen(candidate - points().size());
      return isInGap ? far_.gainOf(*placeOf(candidate)) : 0;
    };
    takeGreedily(pixelsOf(settings_.leastGap), gainOf, [] { return false; });
  }
  // Drops those of the points from that one on that mayGo() and without which enough is held, the
  // least loss first. What a point loses only grows as others go.
  template <class MayGo>
  STILTFORGE_APART void dropNeedless(std::size_t first, MayGo&& mayGo) {
    using Loss = std::pair<uint64_t, std::size_t>;  // pixels, and the point
    std::priority_queue<Loss, std::vector<Loss>, std::greater<>> losses;
    const auto offer = [&](std::size_t point) {
      stopIfCancelled(cancelled_);
      losses.push({near_.lossOf(result_.points[point].site.place), point});
    };
    for (std::size_t i = first; i < result_.points.size(); ++i) {
      if (mayGo(result_.points[i])) offer(i);
    }
    const uint64_t leastGap = std::max<uint64_t>(pixelsOf(settings_.leastGap), 1);
    std::vector<uint8_t> isNeedless(result_.points.size(), 0);
    while (!losses.empty()) {
      stopIfCancelled(cancelled_);
      const auto [loss, point] = losses.top();
      losses.pop();
      const Place& place = result_.points[point].site.place;
      const uint64_t now = near_.lossOf(place);
      if (now > loss) {
        offer(point);
        continue;
      }
      if (now > 0 && !isCovered(near_.reachedPixels() - now)) break;
      if (far_.lossOf(place) >= leastGap || !isEnoughOfAllWithout(place)) continue;
      letGo(place);
      isNeedless[point] = 1;
    }
    std::vector<FinishedPoint> points;
    kept_ = gridOf(survey_, settings_.reach);
    for (std::size_t i = 0; i < isNeedless.size(); ++i) {
      FinishedPoint& point = result_.points[i];
      if (isNeedless[i] == 0) {
        kept_.add(point.site.place);
        points.push_back(std::move(point));
      } else {
        setOpen(point, true);
      }
    }
    result_.points = std::move(points);
  }

  // Moves points from that one on to where they hold more of what the others leave, near by.
  // Returns whether any was moved.
  STILTFORGE_APART bool moveToBetterPlaces(std::size_t first) {
    bool anyMoved = false;
    for (std::size_t i = first; i < result_.points.size(); ++i) {
      stopIfCancelled(cancelled_);
      FinishedPoint& point = result_.points[i];
      const std::optional<std::size_t> better = betterPlaceFor(i);
      if (!better) continue;
      letGo(point.site.place);
      setOpen(point, true);
      point = pointOf(*better);
      setOpen(point, false);
      hold(point.site.place);
      kept_.move(static_cast<uint32_t>(i), point.site.place);
      anyMoved = true;
    }
    return anyMoved;
  }
  // The candidate of the highest weight above that of the point; of equal ones the first. Nothing
  // that only the point held far away goes without.
  STILTFORGE_APART std::optional<std::size_t> betterPlaceFor(std::size_t number) {
    const FinishedPoint& point = result_.points[number];
    const Place& place = point.site.place;
    const std::vector<uint32_t> alone = near_.reachedAloneFrom(place);
    const uint64_t gain = near_.lossOf(place);
    std::optional<std::size_t> best;
    double most = static_cast<double>(gain) *
                  (point.analysed != FinishedPoint::none ? settings_.preference : 1);
    const auto isBetter = [&](uint32_t i, uint64_t pixels) {
      const double weight = weightOf(i, pixels);
      return weight > most || (weight == most && best && i < *best);
    };
    const Run pixel{place.x, static_cast<uint16_t>(place.x + 1)};
    candidates_.forEachNear(pixel, place.y, place.layer, settings_.reach, [&](uint32_t i) {
      const uint64_t open = gains_->of(i);
      if (!isBetter(i, open + gain) || placeOf(i) == nullptr) return;
      const uint64_t own = open + near_.pixelsWithin(candidates_[i], alone);
      if (!isBetter(i, own) || own < gain || !isSpaced(candidates_[i], number)) return;
      most = weightOf(i, own);
      best = i;
    });
    if (!best) return best;
    const uint64_t farLoss = far_.lossOf(place);
    if (farLoss < pixelsOf(settings_.leastGap)) return best;
    far_.remove(place);
    const bool holdsAll = far_.gainOf(candidates_[static_cast<uint32_t>(*best)]) >= farLoss;
    far_.add(place);
    return holdsAll ? best : std::nullopt;
  }
  void keepStrength() {
    const auto gainOf = [&](std::size_t candidate) {
      return isAnalysed(candidate) ? own_.gainOf(*placeOf(candidate)) : 0;
    };
    takeGreedily(pixelsOf(settings_.leastOwnArea), gainOf, [] { return false; });
  }

  // The nearest kept point of the same body within reach, of equally near ones the first.
  STILTFORGE_APART std::optional<uint32_t> heirOf(const Place& place) {
    std::optional<uint32_t> heir;
    double nearest = settings_.reach * settings_.reach;
    const Run pixel{place.x, static_cast<uint16_t>(place.x + 1)};
    kept_.forEachNear(pixel, place.y, place.layer, settings_.reach, [&](uint32_t i) {
      const double squared = scale_.squaredDistance(place, kept_[i]);
      const bool isNearer = squared < nearest || (squared == nearest && (!heir || i < *heir));
      if (!isNearer || !bodies_.areOne(place, kept_[i])) return;
      nearest = squared;
      heir = i;
    });
    return heir;
  }

  STILTFORGE_APART void mergeRest() {
    std::vector<uint8_t> isKept(points().size(), 0);
    for (const FinishedPoint& point : result_.points) {
      if (point.analysed != FinishedPoint::none) isKept[point.analysed] = 1;
    }
    for (uint32_t i = 0; i < points().size(); ++i) {
      if (isKept[i] != 0) continue;
      DroppedPoint dropped{i, dropReason_[i].value_or(DropReason::holdsLittle),
                           FinishedPoint::none};
      if (!dropReason_[i]) {
        if (const std::optional<uint32_t> heir = heirOf(points()[i].place)) {
          dropped.reason = DropReason::merged;
          dropped.into = *heir;
          FinishedPoint& point = result_.points[*heir];
          point.mergedIn.push_back(i);
          if (point.reason == Reason::analysed) point.reason = Reason::merged;
        }
      }
      result_.dropped.push_back(dropped);
    }
  }

  STILTFORGE_APART void sortPoints() {
    std::vector<uint32_t> order(result_.points.size());
    for (uint32_t i = 0; i < order.size(); ++i) order[i] = i;
    const auto key = [&](uint32_t i) {
      const Place& place = result_.points[i].site.place;
      return std::make_tuple(place.layer, place.y, place.x, i);
    };
    std::sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) { return key(a) < key(b); });
    std::vector<FinishedPoint> sorted;
    std::vector<uint32_t> number(order.size());
    for (const uint32_t i : order) {
      number[i] = static_cast<uint32_t>(sorted.size());
      sorted.push_back(std::move(result_.points[i]));
    }
    result_.points = std::move(sorted);
    for (DroppedPoint& dropped : result_.dropped) {
      if (dropped.into != FinishedPoint::none) dropped.into = number[dropped.into];
    }
    std::sort(result_.islandsLeft.begin(), result_.islandsLeft.end());
  }

  // Layers between the plate and the place that a support there lacks.
  uint32_t missingLayers(const Place& place) const {
    const uint32_t needed = survey_.roomLayersOnPlate();
    return needed - std::min(needed, place.layer);
  }

  STILTFORGE_APART void measureLeftAlone() {
    LeftAlone& left = result_.leftAlone;
    uint32_t lift = 0;
    const auto liftFor = [&](const Place& place) {
      if (!place.hasRoom) lift = std::max(lift, missingLayers(place));
    };
    for (uint32_t i = 0; i < samples().size(); ++i) {
      const OverhangSample& sample = samples()[i];
      if (near_.counts(i) || isSpeck(sample.place)) continue;
      const double area = sample.pixels * (scale_.pixelSize * scale_.pixelSize);
      if (survey_.isSealed(sample.place.space)) {
        left.sealedArea += area;
      } else {
        (missingLayers(sample.place) > 0 ? left.areaNearPlate : left.areaNearPart) += area;
        liftFor(sample.place);
      }
    }
    for (const uint32_t island : result_.islandsLeft) {
      const Place& place = survey_.islands()[island].place;
      if (!isSpeck(place)) liftFor(place);
    }
    left.lift = lift * scale_.layerHeight;
  }

  const Survey& survey_;
  const std::atomic<bool>* const cancelled_;
  const FinishSettings settings_;
  const Scale scale_;
  const uint32_t islandLayers_;
  const std::vector<uint8_t> isSpeck_;  // by track
  Bodies bodies_;
  const PointGrid samples_;
  PointGrid candidates_;  // see candidateCount()
  PointGrid kept_;        // by number in result_
  Coverage near_;
  Coverage far_;
  Coverage own_;
  // The same of all overhang, as the judge measures it.
  OverhangReach allNear_;
  OverhangReach allFar_;
  std::optional<Gains> gains_;   // of all candidates, while it is settled what covers the overhang
  std::vector<uint8_t> isOpen_;  // points of the analysis that may still be taken
  std::vector<std::optional<DropReason>> dropReason_;
  Finished result_;
};

}  // namespace

FinishSettings FinishSettings::forSupportArea(double area) {
  FinishSettings settings;
  const double side = std::sqrt(area);
  settings.spacing = 0.4 * side;
  settings.reach = 0.775 * side;
  settings.farReach = 1.29 * side;
  settings.ownReach = std::sqrt(area / std::numbers::pi);
  settings.leastOwnArea = area / 2;
  settings.leastGap = area / 120;
  settings.margin = settings.leastGap;
  return settings;
}

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

Finished finish(const Survey& survey, const FinishSettings& settings,
                const std::atomic<bool>* cancelled) {
  return Finisher(survey, settings, cancelled).finished();
}

}  // namespace stiltforge::hold
