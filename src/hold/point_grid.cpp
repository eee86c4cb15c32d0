#include "hold/point_grid.h"

namespace stiltforge::hold {

namespace {

// Beyond so many cells a side they are made larger: memory must not follow the screen.
constexpr double mostCells = 1024;

// All that a layer may have.
constexpr double mostColumns = 65536;

// Columns, on each side: the same.
constexpr int widestHalf = 65535;

// Makes of a distance a reach that no rounding keeps it out of.
constexpr double roundingSlack = 1e-9;

}  // namespace

PointGrid::PointGrid(const Scale& scale, double cellSize, uint16_t width, uint16_t height)
    : scale_(scale),
      cellPixels_(std::min(
          std::max({cellSize / scale.pixelSize, width / mostCells, height / mostCells, 1.0}),
          mostColumns)),
      columns_(static_cast<int>(width / cellPixels_) + 1),
      rows_(static_cast<int>(height / cellPixels_) + 1),
      cells_(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_)) {}

void PointGrid::add(const Place& place) {
  enter(static_cast<uint32_t>(places_.size()), place);
  places_.push_back(place);
}

void PointGrid::move(uint32_t point, const Place& place) {
  for (Block& block : cellAt(places_[point])) {
    const auto end = block.point.begin() + static_cast<std::ptrdiff_t>(block.size);
    const auto found = std::find(block.point.begin(), end, point);
    if (found == end) continue;
    --block.size;
    *found = block.point[block.size];
    block.at[static_cast<std::size_t>(found - block.point.begin())] = block.at[block.size];
    break;
  }
  enter(point, place);
  places_[point] = place;
}

void PointGrid::enter(uint32_t point, const Place& place) {
  std::vector<Block>& cell = cellAt(place);
  const Corner at{place.x, place.y, place.layer};
  if (cell.empty() || cell.back().size == Block::room) {
    cell.emplace_back();
    cell.back().box = {at, at};
  }
  Block& block = cell.back();
  Corner& low = block.box.low;
  Corner& high = block.box.high;
  low = {std::min(low.x, at.x), std::min(low.y, at.y), std::min(low.layer, at.layer)};
  high = {std::max(high.x, at.x), std::max(high.y, at.y), std::max(high.layer, at.layer)};
  block.at[block.size] = at;
  block.point[block.size] = point;
  ++block.size;
}

PointGrid::Nearest PointGrid::nearestTo(const Place& place, uint32_t guess) const {
  Nearest best;
  const auto offer = [&](uint32_t point) {
    best.offer(point, scale_.squaredDistance(places_[point], place));
  };
  if (guess != Place::none) offer(guess);
  const double furthest = (columns_ + rows_) * cellPixels_ * scale_.pixelSize;
  for (double reach = cellPixels_ * scale_.pixelSize;; reach *= 2) {
    if (reach >= furthest) {
      for (uint32_t point = 0; point < places_.size(); ++point) offer(point);
      return best;
    }
    const double known = std::sqrt(best.squaredDistance) * (1 + roundingSlack);
    const bool isLast = known <= 2 * reach;
    forEachNear(place, isLast ? known : reach, offer);
    if (isLast || best.squaredDistance <= reach * reach) return best;
  }
}

Run PointGrid::reachedBy(uint32_t point, Run run, int y, uint32_t layer, double reach) const {
  const double squaredReach = reach * reach;
  const Place& p = places_[point];
  const int64_t rows = int64_t{p.y} - y;
  const int64_t layers = int64_t{p.layer} - layer;
  const auto isWithin = [&](int columns) {
    return scale_.squared(columns, rows, layers) <= squaredReach;
  };
  const double columns =
      std::sqrt(squaredReach - scale_.squared(0, rows, layers)) / scale_.pixelSize;
  auto half = static_cast<int>(std::min<double>(widestHalf, columns));
  while (half > 0 && !isWithin(half)) --half;
  while (half < widestHalf && isWithin(half + 1)) ++half;
  return {static_cast<uint16_t>(std::max<int>(run.begin, p.x - half)),
          static_cast<uint16_t>(std::min<int>(run.end, p.x + half + 1))};
}

}  // namespace stiltforge::hold
