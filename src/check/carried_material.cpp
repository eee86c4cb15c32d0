#include "check/carried_material.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "check/tiles.h"

namespace stiltforge::check {

namespace {

// Adds the run without the stretches that are left of it.
void addWithout(Run run, std::span<const Run> rest, RunRows& rows) {
  int32_t at = run.begin;
  for (const Run& hole : rest) {
    rows.add(at, hole.begin);
    at = hole.end;
  }
  rows.add(at, run.end);
}

// Whole pixels by which a total grows when `more` is added.
double grownBy(double& total, double more) {
  const double before = std::floor(total);
  total += more;
  return std::floor(total) - before;
}

}  // namespace

CarriedMaterial::CarriedMaterial(const CarrySettings& settings)
    : settings_(settings),
      step_(settings.step / settings.pixelWidth, settings.step / settings.pixelHeight) {}

// Over many layers the pixels of a growth keep its pace in each direction, with half a pixel for
// contours that are rounded to pixels.
Reach CarriedMaterial::growthReach() {
  const double columns = grownBy(grownColumns_, settings_.growth / settings_.pixelWidth);
  const double rows = grownBy(grownRows_, settings_.growth / settings_.pixelHeight);
  return {columns + 0.5, rows + 0.5};
}

RunRows CarriedMaterial::findSelfCarried(const hold::Components& regions,
                                         const std::vector<uint8_t>& carriesItself,
                                         const RunRows& points, const Reach& reach) {
  const RunRows& below = layer_.level(0);
  const auto all = [](const Run&, int) { return true; };
  RunRows carried;
  for (int y = 0; y < regions.pixels.height(); ++y) {
    uint32_t position = regions.pixels.rowStart(static_cast<std::size_t>(y));
    for (const Run& run : regions.pixels.row(y)) {
      if (carriesItself[regions.ofRun[position++]] != 0) {
        carried.add(run.begin, run.end);
        continue;
      }
      rest_.begin(run);
      rest_.takeReached(below, y, reach, all);
      rest_.takePixels(points.row(y));
      addWithout(run, rest_.rest(), carried);
    }
    carried.endRow();
  }
  return carried;
}

RunRows CarriedMaterial::findNextStep(const hold::Components& regions, const RunRows& nearer,
                                      const RunRows& below, const Reach& reach) {
  const auto all = [](const Run&, int) { return true; };
  const int columns = step_.columnsAt(0);
  const Tiles tiles(nearer, std::max(columns, step_.rows()));
  RunRows within;
  for (int y = 0; y < regions.pixels.height(); ++y) {
    uint32_t position = regions.pixels.rowStart(static_cast<std::size_t>(y));
    for (const Run& run : regions.pixels.row(y)) {
      const uint32_t region = regions.ofRun[position++];
      rest_.begin(run);
      rest_.takePixels(nearer.row(y));
      if (!rest_.empty()) rest_.takeReached(below, y, reach, all);
      if (!rest_.empty() && tiles.mayBeNear(run, y, columns, step_.rows())) {
        rest_.takeReached(nearer, y, step_, [&](const Run& other, int row) {
          return regions.at(other.begin, row) == region;
        });
      }
      addWithout(run, rest_.rest(), within);
    }
    within.endRow();
  }
  return within;
}

void CarriedMaterial::add(const hold::Components& regions,
                          const std::vector<uint8_t>& carriesItself, const RunRows& points) {
  const Reach reach = growthReach();
  Layer layer;
  layer.material = regions.pixels;
  RunRows within = findSelfCarried(regions, carriesItself, points, reach);
  while (within != layer.material) {
    layer.within.push_back(std::move(within));
    const auto steps = static_cast<uint32_t>(layer.within.size());
    if (steps > settings_.steps) break;
    within = findNextStep(regions, layer.within.back(), layer_.level(steps), reach);
  }
  layer_ = std::move(layer);
}

RunRows CarriedMaterial::beyond(uint32_t steps) const {
  if (steps >= layer_.within.size()) return {};
  const RunRows& within = layer_.within[steps];
  RunRows beyond;
  for (int y = 0; y < layer_.material.height(); ++y) {
    std::span<const Run> near = within.row(y);
    for (const Run& run : layer_.material.row(y)) {
      forEachUncovered(run, near, [&](int32_t begin, int32_t end) { beyond.add(begin, end); });
    }
    beyond.endRow();
  }
  return beyond;
}

}  // namespace stiltforge::check
