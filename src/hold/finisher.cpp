#include "hold/finisher.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <queue>
#include <span>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

#include "hold/coverage.h"
#include "hold/disjoint_sets.h"

namespace stiltforge::hold {

namespace {

constexpr double roundingSlack = 1e-9;

FinishSettings checked(const FinishSettings& settings) {
  const auto require = [](double value, const char* what) {
    if (std::isfinite(value) && value >= 0) return;
    throw std::invalid_argument(std::string(what) + " must be 0 or more, not " +
                                std::to_string(value));
  };
  require(settings.spacing, "the spacing of points");
  require(settings.ownReach, "the own reach of a point");
  require(settings.leastOwnArea, "the least area of a point");
  require(settings.reach, "the reach of a point");
  require(settings.farReach, "the far reach of a point");
  require(settings.leastGap, "the least gap");
  require(settings.islandHeight, "the height that an island may grow alone");
  if (!(settings.share >= 0 && settings.share <= 1)) {
    throw std::invalid_argument("the share of overhang within reach must be from 0 to 1, not " +
                                std::to_string(settings.share));
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
  Finisher(const Survey& survey, const FinishSettings& settings)
      : survey_(survey),
        settings_(checked(settings)),
        scale_{survey.settings().pixelSize, survey.settings().layerHeight},
        islandLayers_(static_cast<uint32_t>(std::min(
            std::floor(settings.islandHeight / scale_.layerHeight + roundingSlack), 65535.0))),
        bodies_(survey.tracks(), islandLayers_),
        samples_(gridOfSamples(survey, settings.reach)),
        kept_(gridOf(survey, settings.reach)),
        own_(survey, samples_, bodies_, settings.ownReach),
        near_(survey, samples_, bodies_, settings.reach),
        far_(survey, samples_, bodies_, settings.farReach),
        isKept_(survey.points().size(), 0),
        dropReason_(survey.points().size()) {}

  Finished finished() {
    dropImpossible();
    holdIslands();
    keepAnalysed();
    addPlaces();
    mergeRest();
    sortPoints();
    return std::move(result_);
  }

 private:
  // A candidate and the overhang that it gains, the most first, of equal ones the first.
  using Gain = std::pair<uint64_t, int64_t>;

  uint64_t pixelsOf(double area) const {
    return static_cast<uint64_t>(std::ceil(area / (scale_.pixelSize * scale_.pixelSize)));
  }

  void dropImpossible() {
    for (uint32_t i = 0; i < survey_.points().size(); ++i) {
      const Site& point = survey_.points()[i];
      if (point.touches != Site::Touches::overhang) {
        dropReason_[i] = DropReason::holdsNothing;
      } else if (!point.place.hasRoom) {
        dropReason_[i] = DropReason::noRoom;
      } else if (survey_.isSealed(point.place.space)) {
        dropReason_[i] = DropReason::sealedVoid;
      }
    }
  }

  bool isSpaced(const Place& place) {
    bool spaced = true;
    const Run pixel{place.x, static_cast<uint16_t>(place.x + 1)};
    kept_.forEachNear(pixel, place.y, place.layer, settings_.spacing, [&](uint32_t i) {
      if (!spaced) return;
      spaced = scale_.squaredDistance(place, kept_[i]) >= settings_.spacing * settings_.spacing ||
               !bodies_.areOne(place, kept_[i]);
    });
    return spaced;
  }

  void keep(const Site& site, Reason reason, uint32_t analysed = FinishedPoint::none) {
    own_.add(site.place);
    near_.add(site.place);
    far_.add(site.place);
    kept_.add(site.place);
    if (analysed != FinishedPoint::none) isKept_[analysed] = 1;
    result_.points.push_back({site, reason, analysed, {}});
  }

  void addAt(const Place& place, Reason reason) {
    Site site;
    site.place = place;
    site.isIsland = reason == Reason::addedForIsland;
    site.touches = Site::Touches::overhang;
    keep(site, reason);
  }

  // What hangs together, as the part grows, until something holds it.
  struct Floating {
    std::vector<uint32_t> islands;  // not taken yet
    std::vector<uint32_t> points;   // of the analysis, that could take them
    bool isHeld = false;
  };

  void holdIslands() {
    const std::vector<Island>& islands = survey_.islands();
    const std::vector<RegionTracks::Track>& tracks = survey_.tracks().tracks();
    std::vector<uint32_t> points(survey_.points().size());
    for (uint32_t i = 0; i < points.size(); ++i) points[i] = i;
    std::stable_sort(points.begin(), points.end(), [&](uint32_t a, uint32_t b) {
      return survey_.points()[a].place.layer < survey_.points()[b].place.layer;
    });
    auto point = points.begin();
    auto born = islands.begin();
    auto due = islands.begin();
    auto link = survey_.tracks().links().begin();
    uint32_t track = 0;
    const uint32_t end = survey_.layerCount() + islandLayers_;
    for (uint32_t layer = 0; layer < end && due != islands.end(); ++layer) {
      for (; track < tracks.size() && tracks[track].firstLayer == layer; ++track) {
        sets_.add();
        floating_.emplace_back();
        floating_.back().isHeld = layer == 0;
        for (; link != survey_.tracks().links().end() && link->upper == track; ++link) {
          join(link->lower, track);
        }
      }
      for (; born != islands.end() && born->place.layer == layer; ++born) {
        floatingOf(born->place.track)
            .islands.push_back(static_cast<uint32_t>(born - islands.begin()));
      }
      for (; point != points.end() && survey_.points()[*point].place.layer == layer; ++point) {
        const uint32_t at = survey_.points()[*point].place.track;
        if (dropReason_[*point] || at == Place::none) continue;
        Floating& body = floatingOf(at);
        if (!body.isHeld) body.points.push_back(*point);
      }
      for (; due != islands.end() && due->place.layer + islandLayers_ <= layer; ++due) {
        takeIslands(floatingOf(due->place.track));
      }
    }
  }

  Floating& floatingOf(uint32_t track) { return floating_[sets_.root(track)]; }

  void join(uint32_t a, uint32_t b) {
    a = sets_.root(a);
    b = sets_.root(b);
    if (a == b) return;
    Floating& one = floating_[a];
    Floating& other = floating_[b];
    if (one.isHeld || other.isHeld) {
      one = other = Floating();
      one.isHeld = other.isHeld = true;
    } else {
      const auto move = [](std::vector<uint32_t>& from, std::vector<uint32_t>& to) {
        if (from.size() > to.size()) std::swap(from, to);
        to.insert(to.end(), from.begin(), from.end());
        std::vector<uint32_t>().swap(from);
      };
      move(other.islands, one.islands);
      move(other.points, one.points);
    }
    const uint32_t root = sets_.unite(a, b);
    if (root != a) std::swap(floating_[a], floating_[root]);
  }

  void takeIslands(Floating& body) {
    if (body.isHeld) return;
    std::optional<std::pair<Gain, uint32_t>> best;
    for (const uint32_t i : body.points) {
      const Gain gain{own_.gainOf(survey_.points()[i].place), -int64_t{i}};
      if (!best || gain > best->first) best = {gain, i};
    }
    if (best) {
      keep(survey_.points()[best->second], Reason::analysed, best->second);
    } else {
      const Island* largest = nullptr;
      std::sort(body.islands.begin(), body.islands.end());
      for (const uint32_t i : body.islands) {
        const Island& island = survey_.islands()[i];
        if (!island.place.hasRoom || survey_.isSealed(island.place.space)) continue;
        if (!largest || island.pixels > largest->pixels) largest = &island;
      }
      if (!largest) {
        // A point may still come where the body has grown.
        result_.islandsLeft.insert(result_.islandsLeft.end(), body.islands.begin(),
                                   body.islands.end());
        body.islands.clear();
        return;
      }
      addAt(largest->place, Reason::addedForIsland);
    }
    body = Floating();
    body.isHeld = true;
  }

  // Takes candidates in the order of what they gain, which only falls as others are taken, so that
  // an earlier figure is a bound.
  template <class PlaceOf, class Take>
  void takeGreedily(std::size_t count, const Coverage& coverage, uint64_t least, PlaceOf placeOf,
                    Take take) {
    std::priority_queue<Gain> bounds;
    const auto offer = [&](std::size_t candidate) {
      const Place* const place = placeOf(candidate);
      if (!place) return;
      const uint64_t gain = coverage.gainOf(*place);
      if (gain >= least) bounds.push({gain, -static_cast<int64_t>(candidate)});
    };
    least = std::max<uint64_t>(least, 1);
    for (std::size_t i = 0; i < count; ++i) offer(i);
    while (!bounds.empty()) {
      const auto [bound, number] = bounds.top();
      bounds.pop();
      const auto candidate = static_cast<std::size_t>(-number);
      const Place* const place = placeOf(candidate);
      if (!place) continue;
      if (coverage.gainOf(*place) < bound) {
        offer(candidate);
      } else if (isSpaced(*place) && !take(candidate)) {
        return;
      }
    }
  }

  void keepAnalysed() {
    const std::vector<Site>& points = survey_.points();
    takeGreedily(
        points.size(), own_, pixelsOf(settings_.leastOwnArea),
        [&](std::size_t i) {
          return isKept_[i] == 0 && !dropReason_[i] ? &points[i].place : nullptr;
        },
        [&](std::size_t i) {
          keep(points[i], Reason::analysed, static_cast<uint32_t>(i));
          return true;
        });
  }

  void addPlaces() {
    const std::vector<OverhangSample>& samples = survey_.samples();
    const auto add = [&](std::size_t i) {
      addAt(samples[i].place, Reason::addedForOverhang);
      return true;
    };
    takeGreedily(
        samples.size(), far_, 1,
        [&](std::size_t i) {
          const bool isFar = !far_.isReached(static_cast<uint32_t>(i));
          return isFar ? &samples[i].place : nullptr;
        },
        add);
    const double wanted = settings_.share * static_cast<double>(near_.pixels());
    const auto isEnough = [&] { return static_cast<double>(near_.reachedPixels()) >= wanted; };
    if (isEnough()) return;
    takeGreedily(
        samples.size(), near_, pixelsOf(settings_.leastGap),
        [&](std::size_t i) {
          return survey_.isSealed(samples[i].place.space) ? nullptr : &samples[i].place;
        },
        [&](std::size_t i) { return add(i) && !isEnough(); });
  }

  // The nearest kept point of the same body within reach.
  std::optional<uint32_t> heirOf(const Place& place) {
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

  void mergeRest() {
    for (uint32_t i = 0; i < survey_.points().size(); ++i) {
      if (isKept_[i] != 0) continue;
      DroppedPoint dropped{i, dropReason_[i].value_or(DropReason::holdsLittle),
                           FinishedPoint::none};
      if (!dropReason_[i]) {
        if (const std::optional<uint32_t> heir = heirOf(survey_.points()[i].place)) {
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

  void sortPoints() {
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

  const Survey& survey_;
  const FinishSettings settings_;
  const Scale scale_;
  const uint32_t islandLayers_;
  Bodies bodies_;
  const PointGrid samples_;
  PointGrid kept_;
  Coverage own_;
  Coverage near_;
  Coverage far_;
  std::vector<uint8_t> isKept_;
  std::vector<std::optional<DropReason>> dropReason_;
  DisjointSets sets_;
  std::vector<Floating> floating_;  // by root
  Finished result_;
};

}  // namespace

FinishSettings FinishSettings::forSupportArea(double area) {
  FinishSettings settings;
  const double side = std::sqrt(area);
  settings.spacing = 0.4 * side;
  settings.ownReach = 0.7 * side;
  settings.leastOwnArea = 0.1 * area;
  settings.reach = 0.775 * side;
  settings.farReach = 1.29 * side;
  settings.leastGap = area / 300;
  return settings;
}

std::vector<Site> Finished::sites() const {
  std::vector<Site> sites;
  for (const FinishedPoint& point : points) sites.push_back(point.site);
  return sites;
}

Finished finish(const Survey& survey, const FinishSettings& settings) {
  return Finisher(survey, settings).finished();
}

}  // namespace stiltforge::hold
