#include "hold/empty_space.h"

#include <span>
#include <utility>

namespace stiltforge::hold {

namespace {

constexpr uint32_t outside = 0;

// Calls fn(position, run, row) for each run.
template <class Fn>
void forEachRun(const RunRows& rows, Fn&& fn) {
  for (std::size_t y = 0; y < static_cast<std::size_t>(rows.height()); ++y) {
    for (uint32_t i = rows.rowStart(y); i < rows.rowStart(y + 1); ++i) fn(i, rows[i], y);
  }
}

}  // namespace

void EmptySpace::add(const RunRows& material) {
  std::swap(below_, layer_);
  const auto height = static_cast<std::size_t>(material.height());
  layer_.extent.assign(height, Run());
  RunRows gaps = std::move(layer_.gaps.pixels);
  gaps.clear();
  for (std::size_t y = 0; y < height; ++y) {
    const std::span<const Run> row = material.row(static_cast<int>(y));
    for (std::size_t i = 1; i < row.size(); ++i) gaps.add(row[i - 1].end, row[i].begin);
    gaps.endRow();
    if (!row.empty()) layer_.extent[y] = {row.front().begin, row.back().end};
  }
  layer_.gaps = findComponents(std::move(gaps), Contact::sides);
  const bool liesOnPlate = std::exchange(isFirst_, false);
  layer_.spaceOf.assign(layer_.gaps.count, liesOnPlate ? outside : none);
  if (liesOnPlate) return;

  const auto join = [&](uint32_t run, uint32_t space) {
    uint32_t& known = layer_.spaceOf[layer_.gaps.ofRun[run]];
    known = known == none ? spaces_.root(space) : spaces_.unite(known, space);
  };
  forEachRun(layer_.gaps.pixels, [&](uint32_t i, const Run& gap, std::size_t y) {
    const bool isAtBorder = y == 0 || y + 1 == height;
    if (isAtBorder || layer_.isOpen(gap, y - 1) || layer_.isOpen(gap, y + 1) ||
        below_.isOpen(gap, y)) {
      join(i, outside);
    }
  });
  forEachShared(layer_.gaps.pixels, below_.gaps.pixels,
                [&](uint32_t run, uint32_t lower, uint16_t, uint16_t) {
                  join(run, below_.spaceOf[below_.gaps.ofRun[lower]]);
                });
  for (uint32_t& space : layer_.spaceOf) {
    if (space == none) space = spaces_.add();
  }
  forEachRun(below_.gaps.pixels, [&](uint32_t i, const Run& gap, std::size_t y) {
    if (layer_.isOpen(gap, y)) spaces_.unite(below_.spaceOf[below_.gaps.ofRun[i]], outside);
  });
}

uint32_t EmptySpace::below(int x, int y) const {
  if (y < 0 || static_cast<std::size_t>(y) >= below_.extent.size()) return none;
  const Run& extent = below_.extent[static_cast<std::size_t>(y)];
  if (x < extent.begin || x >= extent.end) return outside;
  const uint32_t gap = below_.gaps.at(x, y);
  return gap == Components::none ? none : below_.spaceOf[gap];
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
