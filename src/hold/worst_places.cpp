#include "hold/worst_places.h"

#include <algorithm>
#include <cmath>

#include "runtime/apart.h"

namespace stiltforge::hold {

namespace {

constexpr double roundingSlack = 1e-9;

// Boxes so small that most of them are never opened, so large that there are few.
constexpr double boxesPerReach = 4;
constexpr double leastBoxPixels = 8;
constexpr double leastBoxLayers = 4;
constexpr double mostBoxes = 512;  // on a side of the screen
constexpr double mostBoxLayers = 65536;

Place placeOf(const WorstPlace& worst) {
  Place place;
  place.layer = worst.layer;
  place.x = worst.x;
  place.y = worst.y;
  return place;
}

}  // namespace

void Gaps::add(const OverhangSample& sample) {
  grid_.add(sample.place);
  pixels_.push_back(sample.pixels);
}

bool Gaps::have(double leastPixels, const Place& place, double reach) const {
  double found = 0;
  grid_.anyNear(place, reach, [&](uint32_t gap) {
    found += pixels_[gap];
    return found >= leastPixels;
  });
  return found >= leastPixels;
}

WorstPlaces::WorstPlaces(const Survey& survey, const PointGrid& points,
                         const JudgeSettings& settings)
    : points_(points),
      settings_(settings),
      scale_(survey.scale()),
      leastPixels_(settings.leastWorstArea / scale_.pixelArea() * (1 - roundingSlack)) {
  const double side = settings.nearReach / boxesPerReach;
  const double longest = std::max(survey.width(), survey.height());
  boxPixels_ = static_cast<uint32_t>(std::clamp(side / scale_.pixelSize,
                                                std::max(leastBoxPixels, longest / mostBoxes),
                                                longest + leastBoxPixels));
  boxLayers_ =
      static_cast<uint32_t>(std::clamp(side / scale_.layerHeight, leastBoxLayers, mostBoxLayers));
  columns_ = survey.width() / boxPixels_ + 1;
  rows_ = survey.height() / boxPixels_ + 1;
}

void WorstPlaces::add(std::span<const Run> beyond, uint16_t y, uint32_t layer) {
  Box& box = boxHolding(beyond.front().begin, y, layer);
  box.high.x = std::max(box.high.x, static_cast<uint16_t>(beyond.back().end - 1));
  box.low.x = std::min(box.low.x, beyond.front().begin);
  box.high.y = std::max(box.high.y, y);
  box.low.y = std::min(box.low.y, y);
  box.high.layer = layer;
  box.stretches.push_back(static_cast<uint32_t>(stretches_.size()));
  const auto firstPiece = static_cast<uint32_t>(pieces_.size());
  pieces_.insert(pieces_.end(), beyond.begin(), beyond.end());
  stretches_.push_back({layer, y, firstPiece, static_cast<uint32_t>(pieces_.size())});
}

WorstPlaces::Box& WorstPlaces::boxHolding(uint16_t x, uint16_t y, uint32_t layer) {
  if (boxOfCell_.empty()) boxOfCell_.assign(std::size_t{columns_} * rows_, Place::none);
  const uint32_t slab = layer / boxLayers_;
  uint32_t& number = boxOfCell_[std::size_t{y / boxPixels_} * columns_ + x / boxPixels_];
  if (number == Place::none || boxes_[number].slab != slab) {
    number = static_cast<uint32_t>(boxes_.size());
    Box& box = boxes_.emplace_back();
    box.slab = slab;
    box.low.layer = layer;
    box.low.x = box.high.x = x;
    box.low.y = box.high.y = y;
  }
  return boxes_[number];
}

std::vector<WorstPlace> WorstPlaces::choose(const Gaps& gaps) {
  boundBoxes();
  const auto isBehind = [](const Candidate& a, const Candidate& b) { return a.isBehind(b); };
  std::vector<WorstPlace> listed;
  auto box = boxes_.begin();
  while (listed.size() < settings_.worstPlaces) {
    while (box != boxes_.end() &&
           (candidates_.empty() || box->bound >= candidates_.front().place.distance)) {
      if (mayHaveAny(*box, gaps, listed)) open(*box);
      ++box;
    }
    if (candidates_.empty()) break;
    std::pop_heap(candidates_.begin(), candidates_.end(), isBehind);
    const WorstPlace worst = candidates_.back().place;
    candidates_.pop_back();
    const Place place = placeOf(worst);
    const bool isNew = std::none_of(listed.begin(), listed.end(), [&](const WorstPlace& other) {
      return scale_.squaredDistance(place, placeOf(other)) <= squaredReach();
    });
    if (isNew && gaps.have(leastPixels_, place, settings_.nearReach)) listed.push_back(worst);
  }
  for (WorstPlace& place : listed) place.distance = std::sqrt(place.distance);
  return listed;
}

// Sorts them, too, the worst first.
STILTFORGE_APART void WorstPlaces::boundBoxes() {
  uint32_t near = Place::none;
  for (Box& box : boxes_) {
    box.middle.layer = box.low.layer + (box.high.layer - box.low.layer) / 2;
    box.middle.x = static_cast<uint16_t>((box.low.x + box.high.x) / 2);
    box.middle.y = static_cast<uint16_t>((box.low.y + box.high.y) / 2);
    // The middle is rounded down.
    box.radius = std::sqrt(scale_.squaredDistance(box.middle, box.high));
    const PointGrid::Nearest nearest = points_.nearestTo(box.middle, near);
    near = nearest.point;
    const double furthest = std::sqrt(nearest.squaredDistance) + box.radius;
    box.bound = furthest * furthest * (1 + roundingSlack);
  }
  std::sort(boxes_.begin(), boxes_.end(),
            [](const Box& a, const Box& b) { return a.bound > b.bound; });
}

STILTFORGE_APART bool WorstPlaces::mayHaveAny(const Box& box, const Gaps& gaps,
                                              std::span<const WorstPlace> listed) const {
  for (const WorstPlace& worst : listed) {
    const Place place = placeOf(worst);
    const auto furthest = [](int64_t at, int64_t low, int64_t high) {
      return std::max(std::abs(at - low), std::abs(at - high));
    };
    const double squared = scale_.squared(furthest(place.x, box.low.x, box.high.x),
                                          furthest(place.y, box.low.y, box.high.y),
                                          furthest(place.layer, box.low.layer, box.high.layer));
    if (squared <= squaredReach()) return false;
  }
  return gaps.have(leastPixels_, box.middle,
                   (settings_.nearReach + box.radius) * (1 + roundingSlack));
}

STILTFORGE_APART void WorstPlaces::open(const Box& box) {
  for (const uint32_t stretch : box.stretches) {
    candidates_.push_back({stretch, worstOf(stretches_[stretch])});
    std::push_heap(candidates_.begin(), candidates_.end(),
                   [](const Candidate& a, const Candidate& b) { return a.isBehind(b); });
  }
}

WorstPlace WorstPlaces::worstOf(const Stretch& stretch) {
  Measured worst;
  for (uint32_t i = stretch.firstPiece; i < stretch.endPiece; ++i) {
    const Run& run = pieces_[i];
    const Measured first = measured(run.begin, stretch, lastNearest_);
    const Measured last =
        run.length() == 1 ? first : measured(run.end - 1, stretch, first.nearest.point);
    lastNearest_ = last.nearest.point;
    const Measured found = worstBetween(first, last, stretch);
    if (i == stretch.firstPiece || found.isWorseThan(worst)) worst = found;
  }
  return {stretch.layer, worst.x, stretch.y, worst.nearest.squaredDistance};
}

// `near`: a point that may be the nearest.
WorstPlaces::Measured WorstPlaces::measured(int32_t x, const Stretch& stretch,
                                            uint32_t near) const {
  Place place;
  place.layer = stretch.layer;
  place.x = static_cast<uint16_t>(x);
  place.y = stretch.y;
  return {place.x, points_.nearestTo(place, near)};
}

// The worst of the pixels from `first` to `last`, both included. Between pixels that one point is
// nearest to none is further from it.
WorstPlaces::Measured WorstPlaces::worstBetween(const Measured& first, const Measured& last,
                                                const Stretch& stretch) const {
  if (last.x - first.x > 1 && first.nearest.point != last.nearest.point) {
    const Measured middle = measured((first.x + last.x) / 2, stretch, first.nearest.point);
    const Measured left = worstBetween(first, middle, stretch);
    const Measured right = worstBetween(middle, last, stretch);
    return right.isWorseThan(left) ? right : left;
  }
  return last.isWorseThan(first) ? last : first;
}

}  // namespace stiltforge::hold
