#include "orient/cup_volume.h"

#include <cstddef>
#include <utility>

namespace stiltforge::orient {

namespace {

constexpr uint32_t outside = 0;

RunRows freeOf(const Slice& slice) {
  RunRows free;
  for (int y = 0; y < slice.material.height(); ++y) {
    int32_t at = 0;
    for (const Run& run : slice.material.row(y)) {
      free.add(at, run.begin);
      at = run.end;
    }
    free.add(at, slice.width);
    free.endRow();
  }
  return free;
}

}  // namespace

void CupVolume::add(const Slice& slice) {
  if (spaces_.size() == 0) spaces_.add();
  hold::Components free = hold::findComponents(freeOf(slice), hold::Contact::sides);
  std::vector<uint32_t> spaceOf(free.count, hold::Components::none);
  const auto join = [&](uint32_t component, uint32_t space) {
    uint32_t& known = spaceOf[component];
    known = known == hold::Components::none ? spaces_.root(space) : spaces_.unite(known, space);
  };
  const RunRows& rows = free.pixels;
  const auto height = static_cast<std::size_t>(rows.height());
  for (std::size_t y = 0; y < height; ++y) {
    const bool isBorder = y == 0 || y + 1 == height;
    for (uint32_t run = rows.rowStart(y); run < rows.rowStart(y + 1); ++run) {
      if (isBorder || rows[run].begin == 0 || rows[run].end == slice.width) {
        join(free.ofRun[run], outside);
      }
    }
  }
  hold::forEachShared(rows, free_.pixels, [&](uint32_t run, uint32_t lower, uint16_t, uint16_t) {
    join(free.ofRun[run], spaceOf_[free_.ofRun[lower]]);
  });
  for (uint32_t& space : spaceOf) {
    if (space == hold::Components::none) space = spaces_.add();
  }
  for (uint32_t run = 0; run < rows.runCount(); ++run) {
    if (spaces_.root(spaceOf[free.ofRun[run]]) != outside) pixels_ += rows[run].length();
  }
  free_ = std::move(free);
  spaceOf_ = std::move(spaceOf);
}

}  // namespace stiltforge::orient
