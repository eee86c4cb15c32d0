#include "hold/empty_space.h"

#include <span>
#include <utility>

namespace stiltforge::hold {

namespace {

constexpr uint32_t outside = 0;

// Calls fn(run) for the position of each run that ends at the border of the slice.
template <class Fn>
void forEachAtBorder(const RunRows& rows, int width, Fn&& fn) {
  const auto height = static_cast<std::size_t>(rows.height());
  for (std::size_t y = 0; y < height; ++y) {
    const bool isBorder = y == 0 || y + 1 == height;
    for (uint32_t run = rows.rowStart(y); run < rows.rowStart(y + 1); ++run) {
      if (isBorder || rows[run].begin == 0 || rows[run].end == width) fn(run);
    }
  }
}

}  // namespace

void EmptySpace::add(Components free, int width) {
  below_ = std::move(layer_);
  layer_.free = std::move(free);
  const bool liesOnPlate = std::exchange(isFirst_, false);
  layer_.spaceOf.assign(layer_.free.count, liesOnPlate ? outside : none);
  const auto join = [&](uint32_t component, uint32_t space) {
    uint32_t& known = layer_.spaceOf[component];
    known = known == none ? spaces_.root(space) : spaces_.unite(known, space);
  };
  forEachAtBorder(layer_.free.pixels, width,
                  [&](uint32_t run) { join(layer_.free.ofRun[run], outside); });
  forEachShared(layer_.free.pixels, below_.free.pixels,
                [&](uint32_t run, uint32_t lower, uint16_t, uint16_t) {
                  join(layer_.free.ofRun[run], below_.spaceOf[below_.free.ofRun[lower]]);
                });
  for (uint32_t& space : layer_.spaceOf) {
    if (space == none) space = spaces_.add();
  }
}

uint32_t EmptySpace::below(int x, int y) const {
  const uint32_t component = below_.free.at(x, y);
  return component == Components::none ? none : below_.spaceOf[component];
}

void EmptySpace::finish() {
  for (const uint32_t space : layer_.spaceOf) spaces_.unite(space, outside);
  layer_ = {};
  below_ = {};
  outside_.resize(spaces_.size());
  for (uint32_t space = 0; space < spaces_.size(); ++space) {
    outside_[space] = spaces_.root(space) == outside ? 1 : 0;
  }
}

}  // namespace stiltforge::hold
